"""The short run."""
import errno

from machine import eventually
from stage import OK_KEY, RECOVERY_S


def short(stage):
    """A sensor of each kind, a stalled transfer, switching off."""
    stage.boot()
    machine = stage.machine
    stage.report(
        f"the machine is up after {machine.boot_s:.0f} s ({machine.up_s:.1f} s of its own,"
        f" {machine.processor_s():.0f} s of a processor)"
    )
    stage.start_meter()
    stage.reference.do("wait", "noConnection.title", "No Sensor Detected", "60s")
    stage.looks_like_reference("no sensor")
    serial_sensor_is_found(stage)
    usb_sensor_is_found(stage)
    stalled_reply_is_recovered(stage)
    pulled_sensor_leaves_the_screen(stage)
    power_button_switches_off(stage)


def serial_sensor_is_found(stage):
    sensor = ("serial1", "5132", "fwd=42", "rfl=2")
    for bench in (stage.reference, stage.bench):
        bench.do("plug", *sensor)
    stage.reference.do("wait", "sensorSettingsDialogTitleStr", "Tessel", "60s")
    stage.looks_like_reference("channel dialog")
    stage.reference.do("tap", OK_KEY)
    stage.tap(OK_KEY)
    stage.reference.do("wait", "single.fwd.value", "42.00", "60s")
    stage.looks_like_reference("serial sensor")
    stage.shows_power(1, 42)
    stage.check("a remote client is told the serial sensor's power", True)
    uart = stage.machine.do("grep ^1: /proc/tty/driver/serial")
    speed = stage.machine.do("stty -F /dev/ttyS1 speed").strip()
    stage.check("it came over ttyS1 of a 16550A at 9600 baud", "16550A" in uart and speed == "9600")


def usb_sensor_is_found(stage):
    for bench in (stage.reference, stage.bench):
        bench.do("plug", "usb1", "3162", "fwd=123.4", "rfl=5.6")
    stage.reference.do("wait", "lower.fwd.value", "123.40", "60s")
    stage.looks_like_reference("both sensors")
    stage.shows_power(2, 123.4)
    driver = stage.machine.do("readlink -f /sys/class/usbmisc/usbtmc0/device/driver").strip()
    stage.check("a remote client is told the USB sensor's power", True)
    stage.check("it came over the driver usbtmc", driver.endswith("/usbtmc"), driver)


def stalled_reply_is_recovered(stage):
    stage.machine.do("echo 'func usbtmc_read +p' >/proc/dynamic_debug/control")
    serial_before = stage.bench.do("log", "serial1", "--last", "1")
    for exchange in ("FETC", "*OPC?"):
        struck_s = stage.strike("usb1", "stallin", f"on={exchange}")
        took_s = stage.recovery_s("usb1", struck_s)
        stage.check(
            f"a stalled reply to {exchange} is recovered", took_s < RECOVERY_S, f"{took_s:.1f} s"
        )
    stage.machine.do("echo 'func usbtmc_read -p' >/proc/dynamic_debug/control")
    told = stage.machine.do("dmesg").count(f"retval({2**32 - errno.EPIPE})")
    stage.check("the kernel's driver told EPIPE of each", told == 2, f"{told} times")
    serial_after = stage.bench.do("log", "serial1", "--last", "1")
    stage.check("the serial sensor went on meanwhile", serial_before != serial_after)
    stage.bench.do("set", "usb1", "fwd=77")
    stage.shows_power(2, 77)
    stage.check("a new value is shown afterwards", True)


def pulled_sensor_leaves_the_screen(stage):
    for bench in (stage.reference, stage.bench):
        bench.do("unplug", "usb1")
    stage.reference.do("wait", "single.fwd.value", "42.00", "60s")
    stage.looks_like_reference("pulled")
    stage.machine.do("! ls /dev/usbtmc0")
    stage.check("its device node has gone", True)


def switch_off(stage):
    stage.bench.do("switch")
    eventually("switched off", lambda: stage.machine.process.poll() is not None)


def power_button_switches_off(stage):
    switch_off(stage)
    told = stage.bench.file("commands")
    stage.check("the power button switches off", "shutdown" in told, told.strip())
