"""The scenarios by their names, and carrying one out."""
import time

from command_port import command_port
from image_run import image
from lan import lan
from machine import Failed
from short_run import short
from stage import Stage
from usb_sensors import usb_faults

ALL = {
    "short": short,
    "usb-faults": usb_faults,
    "command-port": command_port,
    "lan": lan,
    "image": image,
}
WITH_REFERENCE = {"short", "image"}


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
