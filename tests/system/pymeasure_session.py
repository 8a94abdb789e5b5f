#!/usr/bin/python3
"""A session with the meter by way of its PyMeasure instrument; prints what is not as it must be, for
the test that started it. A 3162 of 100 W forward and 1 W reflected is on channel 1.
Usage: pymeasure_session.py FOLDER-OF-THE-EXAMPLE HOST PORT"""

import sys
import time

sys.dont_write_bytecode = True
LIMIT_S = 30


def expect(name, got, wanted):
    if got != wanted:
        print(f"{name}: {got!r}, not {wanted!r}")


def expect_error(name, read, beginning):
    try:
        print(f"{name}: {read()!r}, not an error")
    except quorvel_8830k.MeterError as error:
        expect(name, str(error)[: len(beginning)], beginning)


def await_value(name, read, wanted):
    """Waits for a value that the meter has not measured yet."""
    end = time.monotonic() + LIMIT_S
    while read() != wanted and time.monotonic() < end:
        time.sleep(0.1)
    expect(name, read(), wanted)


def session(meter):
    channel = meter.channels[1]
    expect("model", channel.sensor_model, "3162")
    expect("serial number", channel.sensor_serial_number, "77012")
    expect("meter", meter.serial_number, "20260001")
    expect("forward power", channel.forward_power, 100.0)
    expect("reflected power", channel.reflected_power, 1.0)
    expect("VSWR", round(channel.vswr, 4), 1.2222)
    expect("frequency", round(channel.frequency), 13560000)
    expect("temperature", channel.temperature, 36.5)
    expect("pulse mode", meter.pulse_mode, False)
    expect_error("duty cycle of no pulse", lambda: channel.duty_cycle, "-100")
    expect_error("power of no sensor", lambda: meter.channels[2].forward_power, "-220")
    expect("errors", meter.check_errors(), [])
    expect("picture", meter.screenshot()[:4], b"\x89PNG")
    await_value("graph", lambda: channel.history[-1:], [100.0])
    meter.pulse_mode = True
    expect("pulse mode", meter.pulse_mode, True)
    await_value("duty cycle", lambda: channel.duty_cycle, 25.0)
    expect("period", round(channel.period, 9), 0.001)
    expect("repetition rate", channel.repetition_rate, 1000.0)
    expect("pulse width", round(channel.pulse_width, 9), 0.00025)
    expect("mean of the gate", channel.gate_mean, 400.0)
    expect("maximum of the gate", channel.gate_maximum, 420.0)
    expect("minimum of the gate", channel.gate_minimum, 380.0)
    expect_error("states of a sensor for gates", lambda: channel.state_power(1), "-100")
    meter.write("BOGUS")
    expect("errors", meter.check_errors(), ['-113,"Undefined header;BOGUS"'])


sys.path.insert(0, sys.argv[1])
import quorvel_8830k  # noqa: E402

session(quorvel_8830k.Quorvel8830K(f"TCPIP::{sys.argv[2]}::{sys.argv[3]}::SOCKET"))
