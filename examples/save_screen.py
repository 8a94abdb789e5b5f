#!/usr/bin/python3
"""Saves what a meter's screen shows as a PNG file, over TCP, with PyVISA (Debian packages
python3-pyvisa and python3-pyvisa-py):

    $ ./save_screen.py 192.168.1.50 screen.png
"""

import sys

import pyvisa

TIMEOUT_MS = 8000


def save_screen(host, port, file):
    meter = pyvisa.ResourceManager("@py").open_resource(
        f"TCPIP::{host}::{port}::SOCKET",
        read_termination="\r\n",
        write_termination="\n",
        timeout=TIMEOUT_MS,
    )
    png = meter.query_binary_values("HCOP:SDUM:DATA?", datatype="B", container=bytes)
    meter.close()
    with open(file, "wb") as picture:
        picture.write(png)


def main(arguments):
    if len(arguments) < 2:
        print(f"usage: {sys.argv[0]} HOST FILE [PORT]", file=sys.stderr)
        return 2
    host, file = arguments[:2]
    try:
        save_screen(host, arguments[2] if len(arguments) > 2 else "5025", file)
    except (OSError, ValueError, pyvisa.Error):
        print(f"{host} sends no picture", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
