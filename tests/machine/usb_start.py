"""A USB sensor's start: faults of its transfers at each kind of exchange until it measures."""
import re

from usb_sensors import MESSAGE_FAULTS, other_port_went_on, reads_again, replug, start

# In the place of a reply; what else a read may bring is tried at the exchanges of a measurement.
REPLY_FAULTS = "nakin stallin empty cut noisein".split()

# One of each kind that a start has: reset, identity, plug-and-play file, what is set already, error
# queue, setting.
STARTING = (
    "*RST",
    "SYST:IDEN:MOD?",
    "PNP:FILE:SIZE?",
    "PNP:FILE:BLOC:NUMB",
    "PNP:FILE:BLOC:DATA?",
    "CALC:STAT1:ENAB?",
    "SYST:ERR:COUN?",
    "SENS:PER 0",
)


def exchanges_of_start(stage):
    """What the sensor was told between the plug and its first measurement."""
    with open(stage.bench.folder + "/usb.log", encoding="latin-1") as log:
        started = log.read().rpartition(" usb1 plugged\n")[2]
    return re.findall(r" usb1 -> W(.*)", started.partition("WFETC")[0])


def fails_at(stage, name, exchange):
    """A fault at an exchange of the next start: how long it takes to measure all the same."""
    stage.bench.do("unplug", "usb1")
    stage.await_gone("usb1")
    stage.bench.usb("fault", "usb1", name, f"on={exchange}")
    stage.bench.do("plug", "usb1", "3162", "fwd=123.4")
    reads_again(stage, f"{name} at {exchange}", stage.struck_s("usb1", name))


def usb_start_faults(stage):
    """The exchanges of a start, with faults of the message and of the reply."""
    start(stage)
    before = stage.bytes_from("serial1")
    told = exchanges_of_start(stage)
    missing = [one for one in STARTING if not any(message.startswith(one) for message in told)]
    stage.check("a start has these exchanges", not missing, "; ".join(missing))
    for exchange in STARTING:
        for name in MESSAGE_FAULTS + (REPLY_FAULTS if "?" in exchange else []):
            fails_at(stage, name, exchange)
    replug(stage)
    other_port_went_on(stage, before)
