"""USB sensors: every fault of their transfers at every kind of exchange of a measurement."""
import re

from machine import Failed
from stage import RECOVERY_S

# In the place of a reply; those of the messages themselves.
REPLY_FAULTS = "nakin stallin short empty badtag badid toolong cut babble noisein".split()
MESSAGE_FAULTS = "nakout stallout noiseout lost".split()
CLEAR_FAULTS = {"nakcontrol": "1", "stallclear": "1", "pendclear": "3"}

# Each measurement asks for these; the last one is a command.
MEASURING = ("*OPC?", "*STB?", "STAT:QUES:COND?", "FETC:FORW", "INIT")


def faults_of(exchange):
    return MESSAGE_FAULTS + (REPLY_FAULTS if "?" in exchange or exchange == "FETC:FORW" else [])


def recovers(stage, name, exchange, *more):
    """Aims a fault at an exchange, and tells how long readings stay away."""
    struck_s = stage.strike("usb1", name, f"on={exchange}")
    what = " and ".join([f"{name} at {exchange}", *more])
    if not reads_again(stage, what, struck_s):
        replug(stage)


def reads_again(stage, what, struck_s):
    """False if no readings come any more after a fault has struck."""
    try:
        took_s = stage.recovery_s("usb1", struck_s)
    except Failed:
        stage.picture(re.sub(r"[*?]", "", what).replace(":", " "))
        took_s = float("inf")
    stage.check(what, took_s < RECOVERY_S, f"readings after {took_s:.1f} s")
    stage.bench.usb("clear", "usb1")
    return took_s < float("inf")


def replug(stage):
    stage.bench.do("unplug", "usb1")
    stage.await_gone("usb1")
    stage.bench.do("plug", "usb1", "3162", "fwd=123.4")
    stage.comes_up("usb1")


def start(stage):
    stage.boot_with_meter()
    stage.bench.do("plug", "serial1", "5132", "fwd=42")
    stage.comes_up("serial1")
    stage.bench.do("plug", "usb1", "3162", "fwd=123.4")
    stage.comes_up("usb1")


def other_port_went_on(stage, before):
    bytes_now = stage.bytes_from("serial1")
    stage.check("the serial sensor went on all the time", bytes_now > before + 1000)
    stage.shows_power(1, 42)
    stage.shows_power(2, 123.4)
    stage.check("both powers are told in the end", True)


def usb_faults(stage):
    """Every fault at every exchange of a measurement."""
    start(stage)
    before = stage.bytes_from("serial1")
    for exchange in MEASURING:
        for name in faults_of(exchange):
            recovers(stage, name, exchange)
    for name, count in CLEAR_FAULTS.items():
        stage.bench.usb("fault", "usb1", name, count)
        recovers(stage, "nakin", "FETC:FORW", name)
    for name in ("pullin", "pullout"):
        stage.strike("usb1", name, "on=*OPC?")
        stage.await_gone("usb1")
        plugged_s = stage.uptime()
        stage.bench.do("plug", "usb1", "3162", "fwd=123.4")
        stage.comes_up("usb1")
        stage.check(f"{name}, then plugged in again", True, f"{stage.uptime() - plugged_s:.1f} s")
    other_port_went_on(stage, before)
