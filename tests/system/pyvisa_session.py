#!/usr/bin/python3
"""A session with the meter over PyVISA and a plain socket; prints what it meets, for the test that
started it. Usage: pyvisa_session.py HOST PORT"""

import sys

import pyvisa


def main(host, port):
    meter = pyvisa.ResourceManager("@py").open_resource(
        f"TCPIP::{host}::{port}::SOCKET",
        read_termination="\r\n",
        write_termination="\n",
        timeout=8000,
    )
    maker, model = meter.query("*IDN?").split(",")[:2]
    print(f"identity: {maker} {model}")
    print(f"power: {float(meter.query('MEAS:AVER?'))}")
    meter.write("SYST:PULS ON")
    print(f"pulse mode: {meter.query_ascii_values('SYST:PULS?', converter='d')}")
    replies = [meter.query("*OPC?") for _ in range(100)]
    print(f"a hundred replies: {replies.count('1')}")
    meter.timeout = 500
    try:
        meter.query("MEAS:AVER? 3")
    except pyvisa.VisaIOError as error:
        print(f"failed query: {error.abbreviation}")
    meter.timeout = 8000
    print(f"error: {meter.query('SYST:ERR?')}")
    print(f"queue: {meter.query('SYST:ERR?')}")
    meter.close()


main(*sys.argv[1:])
