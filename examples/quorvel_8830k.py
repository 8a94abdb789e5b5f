#!/usr/bin/python3
"""The meter as an instrument of PyMeasure (Debian package python3-pymeasure), for measurements that
are written in Python:

    meter = Quorvel8830K("TCPIP::192.168.1.50::5025::SOCKET")
    meter.channels[1].forward_power     # 25.0, in W
    meter.channels[1].vswr              # 1.32

As a program it prints the readings of both channels:

    $ ./quorvel_8830k.py 192.168.1.50
    channel 1: 5132 513200417, 25 W forward, 0.482 W reflected, VSWR 1.32
    channel 2: -220,"Parameter error;No sensor connected on the channel"
"""

import argparse
import math
import sys

import pyvisa
from pymeasure.instruments import Instrument

TIMEOUT_MS = 8000
NO_ERROR = '0,"No error"'


class MeterError(Exception):
    """The meter refuses a query: its error's number and text."""


def ratio(forward, reflected):
    """Standing-wave ratio of two powers; nan without forward power or with as much reflected."""
    if not 0 <= reflected < forward:
        return math.nan
    share = math.sqrt(reflected / forward)
    return (1 + share) / (1 - share)


class Channel:
    """One of the meter's two channels, with the sensor that it has.

    A value that the sensor does not have at the moment is nan. Without a sensor, or with one that
    cannot have such a value, reading it raises MeterError.
    """

    def __init__(self, meter, number):
        self.meter = meter
        self.number = number

    def values(self, command, **_):
        """What PyMeasure's measurements read: the answer for this channel."""
        return [float(self.meter.query(f"{command} {self.number}"))]

    def text(self, command):
        return self.meter.query(f"{command} {self.number}").strip()

    @property
    def sensor_model(self):
        """The sensor's model, a text."""
        return self.text("SYST:IDEN:SENS?")

    @property
    def sensor_serial_number(self):
        """The sensor's serial number, a text."""
        return self.text("SYST:IDEN:SENS:SN?")

    @property
    def sensor_firmware(self):
        """The sensor's firmware, a text."""
        return self.text("SYST:IDEN:SENS:FWR?")

    forward_power = Instrument.measurement("MEAS:AVER?", "Forward power in W.")
    reflected_power = Instrument.measurement("MEAS:REFL:AVER?", "Reflected power in W.")
    frequency = Instrument.measurement(
        "MEAS:FREQ?", "Frequency in Hz.", get_process=lambda frequency_MHz: frequency_MHz * 1e6
    )
    temperature = Instrument.measurement("MEAS:TEMP?", "The sensor's temperature in °C.")

    # In the meter's pulse mode, with a sensor for pulses.
    duty_cycle = Instrument.measurement("MEAS:DCYC?", "Duty cycle in %.")
    period = Instrument.measurement(
        "MEAS:PER?", "Period in s.", get_process=lambda period_us: period_us / 1e6
    )
    repetition_rate = Instrument.measurement("MEAS:PRF?", "Repetition rate in Hz.")
    pulse_width = Instrument.measurement(
        "MEAS:WIDT?", "Width of the pulses in s.", get_process=lambda width_us: width_us / 1e6
    )
    gate_mean = Instrument.measurement("MEAS:GATE?", "Mean power in the gate, in W.")
    gate_maximum = Instrument.measurement("MEAS:GATE:MAX?", "Greatest power in the gate, in W.")
    gate_minimum = Instrument.measurement("MEAS:GATE:MIN?", "Least power in the gate, in W.")

    def state_power(self, state):
        """Mean, greatest and least power in W of a pulse's state, 1 to 4."""
        queries = (f"MEAS:STAT{state}?", f"MEAS:STAT{state}:MAX?", f"MEAS:STAT{state}:MIN?")
        return tuple(self.values(query)[0] for query in queries)

    @property
    def vswr(self):
        """Standing-wave ratio, nan without forward power or with as much reflected."""
        return ratio(self.forward_power, self.reflected_power)

    @property
    def history(self):
        """The samples of the channel's graph in W, the oldest first."""
        if int(self.values("TRAC:POIN?")[0]) == 0:
            return []
        connection = self.meter.adapter.connection
        return connection.query_binary_values(f"TRAC:DATA? {self.number}", datatype="f")


class Quorvel8830K(Instrument):
    """The Quorvel 8830K RF power meter, over TCP. It serves one client at a time."""

    def __init__(self, resource, **options):
        settings = {"visa_library": "@py", "timeout": TIMEOUT_MS}
        settings |= {"read_termination": "\r\n", "write_termination": "\n"}
        super().__init__(resource, "Quorvel 8830K", **(settings | options))
        self.channels = {number: Channel(self, number) for number in (1, 2)}

    def query(self, line):
        """A query's answer.

        One that fails answers nothing, so a second one on the same line asks for the error: what
        comes is the answer and "no error", or the error alone. *CLS forgets earlier errors.
        """
        reply = self.ask(f"*CLS;:{line};:SYST:ERR?").strip()
        if not reply.endswith(";" + NO_ERROR):
            raise MeterError(reply)
        return reply.removesuffix(";" + NO_ERROR)

    def values(self, command, **_):
        return [float(self.query(command))]

    def check_errors(self):
        """The errors that the meter has kept, the oldest first; it forgets them."""
        errors = []
        while (error := self.ask("SYST:ERR?").strip()) != NO_ERROR:
            errors.append(error)
        return errors

    serial_number = property(lambda self: self.query("SYST:IDEN:SN?"), doc="A text.")
    firmware = property(lambda self: self.query("SYST:IDEN:FWR?"), doc="A text.")
    pulse_mode = Instrument.control(
        "SYST:PULS?",
        "SYST:PULS %d",
        "Whether the meter is in pulse mode, in which pulse sensors have more values.",
        set_process=bool,
        get_process=bool,
    )

    def screenshot(self):
        """What the screen shows, the bytes of a PNG file."""
        connection = self.adapter.connection
        return connection.query_binary_values("HCOP:SDUM:DATA?", datatype="B", container=bytes)


def describe(channel):
    try:
        return (
            f"{channel.sensor_model} {channel.sensor_serial_number},"
            f" {channel.forward_power:g} W forward, {channel.reflected_power:g} W reflected,"
            f" VSWR {channel.vswr:.2f}"
        )
    except MeterError as error:
        return str(error)


def main():
    parser = argparse.ArgumentParser(description="Prints the readings of both channels.")
    parser.add_argument("host")
    parser.add_argument("port", nargs="?", default="5025")
    meant = parser.parse_args()
    try:
        meter = Quorvel8830K(f"TCPIP::{meant.host}::{meant.port}::SOCKET")
        for channel in meter.channels.values():
            print(f"channel {channel.number}: {describe(channel)}")
    except (OSError, pyvisa.Error):
        sys.exit(f"{meant.host} does not answer")


if __name__ == "__main__":
    main()
