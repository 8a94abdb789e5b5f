"""Sensors that come and go."""
from machine import eventually
from stage import OK_KEY

CYCLES = 50
SENSORS = (("serial1", "5132"), ("usb1", "3162"), ("serial2", "5134"), ("usb2", "3163"))
KINDS = ("5132", "serial1", "serial2"), ("3162", "usb1", "usb2")


def plugging(stage):
    """50 times each in turn, two of one kind, a third one."""
    stage.boot_with_meter()
    descriptors = lambda: stage.machine.do("ls /proc/$(pidof QuorvelPowerMeterApp)/fd | wc -l").strip()
    come_and_go(stage, 0)
    before = descriptors()
    longest_s = max(come_and_go(stage, cycle) for cycle in range(1, CYCLES))
    stage.check(f"{CYCLES} times plugged, measured, unplugged", True, f"longest {longest_s:.1f} s")
    eventually(f"{before} descriptors", lambda: descriptors() == before)
    stage.check("its descriptors are as many as before", True, before)
    for model, first, second in KINDS:
        two_of_one_kind(stage, model, first, second)
    a_third_waits(stage)


def come_and_go(stage, cycle):
    """The machine's time from the plug to a power that is told."""
    port, model = SENSORS[cycle % len(SENSORS)]
    begun_s = stage.uptime()
    stage.bench.do("plug", port, model, f"fwd={10 + cycle}")
    measures(stage, 1, 10 + cycle)
    took_s = stage.uptime() - begun_s
    leaves(stage, 1, port)
    return took_s


def measures(stage, channel, power_W):
    """Waits until a channel tells a sensor's power; its channel dialog is answered."""

    def is_told():
        stage.tap(OK_KEY)
        told = stage.power(channel)
        return told is not None and abs(told - power_W) < power_W * 1e-4

    eventually(f"channel {channel} tells {power_W} W", is_told, pause_s=0.3)


def leaves(stage, channel, port):
    stage.bench.do("unplug", port)
    eventually(f"{port} has left", lambda: stage.power(channel) is None)
    stage.await_gone(port)


def two_of_one_kind(stage, model, first, second):
    stage.bench.do("plug", first, model, "fwd=21", "serial=111111111")
    measures(stage, 1, 21)
    stage.bench.do("plug", second, model, "fwd=22", "serial=222222222")
    measures(stage, 2, 22)
    stage.shows_power(1, 21)
    stage.picture(f"two {model}")
    told = [stage.ask(f"SYST:IDEN:SENS:SN? {channel}") for channel in (1, 2)]
    are_own = "111111111" in told[0] and "222222222" in told[1]
    stage.check(f"two {model} measure, each with its serial number", are_own, " ".join(told))
    leaves(stage, 1, first)
    stage.shows_power(2, 22)
    stage.check("one of them leaves, the other one goes on", True)
    leaves(stage, 2, second)


def a_third_waits(stage):
    stage.bench.do("plug", "usb1", "3162", "fwd=31")
    measures(stage, 1, 31)
    stage.bench.do("plug", "serial1", "5132", "fwd=32")
    measures(stage, 2, 32)
    stage.bench.do("plug", "serial2", "5134", "fwd=33")
    begun_s = stage.uptime()
    eventually("five seconds", lambda: stage.uptime() > begun_s + 5, pause_s=0.5)
    stage.shows_power(1, 31)
    stage.shows_power(2, 32)
    stage.check("a third sensor disturbs neither", True)
    stage.bench.do("unplug", "usb1")
    measures(stage, 1, 33)
    stage.check("it measures once one of the two has left", True)
    stage.picture("the third one")
