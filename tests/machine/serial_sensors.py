"""Serial sensors: what goes wrong on their line."""
from machine import Failed, eventually
from plugging import measures
from stage import RECOVERY_S

FAULTS = "silence short wrongsync chatter slow hostile noise break".split()
FAULTY_S = 8
"""How long a fault lasts, in the machine's time."""
BREAKS = 20


def serial_faults(stage):
    """Every fault of the line, real breaks, a cable that is pulled in the midst of a reply."""
    stage.boot_with_meter()
    stage.bench.do("plug", "serial1", "5132", "fwd=42")
    measures(stage, 1, 42)
    stage.bench.do("plug", "usb1", "3162", "fwd=123.4")
    measures(stage, 2, 123.4)
    begun_s, before = stage.uptime(), stage.readings()
    for number, name in enumerate(FAULTS):
        stage.bench.do("fault", "serial1", name)
        passes(stage, FAULTY_S)
        stage.picture(name)
        stage.bench.do("fault", "serial1", "none")
        recovers(stage, name, 50 + number)
    for _ in range(BREAKS):
        stage.machine.ask_monitor("chardev-send-break c1")
        passes(stage, 0.2)
    recovers(stage, f"{BREAKS} breaks on the line", 70)
    pulled_in_a_reply(stage)
    per_s = (stage.readings() - before) / (stage.uptime() - begun_s)
    stage.check("the USB sensor went on all the time", per_s > 1, f"{per_s:.1f} readings a second")
    stage.shows_power(2, 123.4)


def passes(stage, time_s):
    begun_s = stage.uptime()
    eventually(f"{time_s} s pass", lambda: stage.uptime() >= begun_s + time_s)


def recovers(stage, what, power_W):
    """After the fault has gone a new power is told."""
    stage.bench.do("set", "serial1", f"fwd={power_W}")
    begun_s = stage.uptime()
    try:
        measures(stage, 1, power_W)
        took_s = stage.uptime() - begun_s
    except Failed:
        stage.picture(what + " for good")
        took_s = float("inf")
    stage.check(what, took_s < RECOVERY_S, f"measures after {took_s:.1f} s")


def pulled_in_a_reply(stage):
    stage.bench.do("fault", "serial1", "cut")
    eventually("serial1 is pulled", lambda: "serial1: no sensor" in stage.bench.do("status"))
    eventually("its power has gone", lambda: stage.power(1) is None)
    stage.bench.do("plug", "serial1", "5132", "fwd=80")
    recovers(stage, "pulled in the midst of a reply, and plugged in again", 81)
