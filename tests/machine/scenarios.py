"""The scenarios by their names, and carrying one out."""
import time

from command_port import command_port, older_protocol
from image_run import image
from lan import lan
from machine import Failed
from plugging import plugging
from power_cuts import power_cuts, power_cuts_in_place
from serial_sensors import serial_faults
from short_run import short
from stage import Stage
from usb_sensors import usb_faults
from usb_start import usb_start_faults

ALL = {
    "short": short,
    "plugging": plugging,
    "usb-faults": usb_faults,
    "usb-start-faults": usb_start_faults,
    "serial-faults": serial_faults,
    "command-port": command_port,
    "older-protocol": older_protocol,
    "lan": lan,
    "power-cuts": power_cuts,
    "power-cuts-in-place": power_cuts_in_place,
    "image": image,
}
WITH_REFERENCE = {"short", "lan", "image"}


def run(name, build, ready):
    """True if all of it held."""
    stage = Stage(name, build, ready, name in WITH_REFERENCE)
    try:
        ALL[name](stage)
    except (Failed, OSError) as failure:
        stage.check("the scenario goes through", False, repr(failure))
        stage.picture_of_failure()
    finally:
        stage.end()
    stage.report(f"took {time.monotonic() - stage.started:.0f} s")
    return stage.failures == 0
