#!/usr/bin/python3
"""Reads the forward power of both channels of a meter over TCP, with PyVISA (Debian packages
python3-pyvisa and python3-pyvisa-py):

    $ ./read_power.py 192.168.1.50
    channel 1: 25 W
    channel 2: -220,"Parameter error;No sensor connected on the channel"
"""

import sys

import pyvisa

TIMEOUT_MS = 8000
NO_ERROR = ';0,"No error"'


def connect(host, port):
    """The meter as a VISA resource: lines over a plain socket."""
    return pyvisa.ResourceManager("@py").open_resource(
        f"TCPIP::{host}::{port}::SOCKET",
        read_termination="\r\n",
        write_termination="\n",
        timeout=TIMEOUT_MS,
    )


def read_power(meter, channel):
    """What there is to say of a channel: its power, or the error that the meter gives.

    A query that fails answers nothing, so a second one on the same line asks for the error: the
    reply is the power and "no error", or the error alone. *CLS forgets the errors of earlier lines.
    """
    reply = meter.query(f"*CLS;:MEAS:AVER? {channel};:SYST:ERR?")
    return reply.removesuffix(NO_ERROR) + " W" if reply.endswith(NO_ERROR) else reply


def main(arguments):
    if not arguments:
        print(f"usage: {sys.argv[0]} HOST [PORT]", file=sys.stderr)
        return 2
    host = arguments[0]
    try:
        meter = connect(host, arguments[1] if len(arguments) > 1 else "5025")
        for channel in (1, 2):
            print(f"channel {channel}: {read_power(meter, channel)}")
        meter.close()
    except (OSError, pyvisa.Error):
        print(f"{host} does not answer", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
