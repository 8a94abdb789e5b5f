"""The instrument's image: from power on to its first screen, a sensor on each port, and a meter that hangs."""
import re
import shutil

from image import Board, boot_of_image, made_image
from machine import BOOT_LIMIT_S, Machine, eventually
from short_run import (
    pulled_sensor_leaves_the_screen,
    serial_sensor_is_found,
    switch_off,
    usb_sensor_is_found,
)
from stage import RECOVERY_S

UNIT = "quorvel-power-meter.service"


def image(stage):
    """The image from power on to power off."""
    power_on(stage)
    first_screen(stage)
    root_is_read_only(stage)
    network_restarts(stage)
    serial_sensor_is_found(stage)
    usb_sensor_is_found(stage)
    pulled_sensor_leaves_the_screen(stage)
    other_ports_measure(stage)
    driver_that_never_returns(stage)
    program_that_stands_still(stage)
    switch_off(stage)
    stage.check("the power switch switches off", True)


def power_on(stage):
    data = stage.bench.folder + "/data.img"
    shutil.copyfile(made_image() + "/data.img", data)
    world = stage.bench.world
    stage.machine = Machine(stage.bench, boot_of_image(world, data, ["none"]))
    stage.board = Board(world)
    stage.machine.await_boot()


def unit(stage, field):
    return stage.machine.do(f"systemctl show -P {field} {UNIT}").strip()


def await_meter(stage):
    eventually("the meter's unit", lambda: unit(stage, "ActiveState") == "active", BOOT_LIMIT_S, 1)


def first_screen(stage):
    await_meter(stage)
    up_s = int(unit(stage, "ActiveEnterTimestampMonotonic")) / 1e6
    stage.report(f"the meter is up {up_s:.1f} s after the kernel's first moment")
    stage.machine.do("systemctl is-system-running --wait || true")
    for name in ("time", "blame", f"critical-chain {UNIT}"):
        with open(f"{stage.results}/boot-{name.split()[0]}", "w", encoding="utf-8") as file:
            file.write(stage.machine.do("systemd-analyze --no-pager " + name))
    stage.reference.do("wait", "noConnection.title", "No Sensor Detected", "60s")
    if not stage.looks_like_reference("no sensor"):
        return
    shown = stage.results + "/no sensor-display.png"
    stage.machine.ask_monitor(f'screendump "{shown}" -f png')
    same = stage.differs_from_reference("no sensor", shown)
    stage.check("the display shows it, too", same == 0, f"{same} pixels differ")


def root_is_read_only(stage):
    places = "/usr /etc /var/lib /opt"
    tried = stage.machine.do(f"for f in {places}; do touch $f/x 2>/dev/null && echo $f; done; true")
    stage.check("the root is read-only", tried == "", tried.strip())
    kept = "/etc/QuorvelPowerMeterApp /etc/network /root"
    stage.machine.do(f"for f in {kept}; do echo kept >$f/kept || exit 1; done")
    stage.check("settings can be written", True)
    failed = stage.machine.do("systemctl list-units --failed --no-legend --plain")
    stage.check("no unit has failed", failed == "", failed.strip())


def network_restarts(stage):
    stage.machine.do("/etc/init.d/network restart")
    told = stage.machine.do("ip -4 -o addr show dev eth0")
    addresses = sorted(re.findall(r"inet ([\d.]+)/", told))
    held = addresses == ["10.0.2.15", "192.168.2.1"]
    stage.check("after a restart of the network it has its addresses", held, " ".join(addresses))
    eventually("remote control", stage.is_answering)


def other_ports_measure(stage):
    stage.bench.do("unplug", "serial1")
    eventually("serial1 is gone", lambda: stage.power(1) is None)
    for port, model, power_W in (("serial2", "5134", 17), ("usb2", "3163", 56.7)):
        stage.bench.do("plug", port, model, f"fwd={power_W}", "rfl=1")
        took_s = stage.comes_up(port)
        stage.check(f"a sensor on {port} measures", True, f"{took_s:.1f} s")
        stage.picture(port)


def starts_again(stage, what, begun_s, before):
    """The service manager's doing, with all threads' traces in the crash log."""
    again = lambda: int(unit(stage, "NRestarts")) > before and unit(stage, "SubState") == "running"
    eventually(f"{what}: the meter starts again", again, BOOT_LIMIT_S, 0.5)
    took_s = stage.uptime() - begun_s
    stage.check(f"{what}: the meter is up again", took_s < RECOVERY_S, f"{took_s:.1f} s")
    log = stage.machine.do("cat /tmp/crashlog.txt; : >/tmp/crashlog.txt")
    threads = ("gtkThread", "hwPolling", "batteryThread", "sensorSerial2", "sensorUsb2", "scpiTcp")
    missing = " ".join(thread for thread in threads if thread not in log)
    stage.check(f"{what}: the crash log has the threads' traces", missing == "", missing)
    eventually("remote control", stage.is_answering)


def driver_that_never_returns(stage):
    """The charger's file is one whose opening nobody ends."""
    before, begun_s = int(unit(stage, "NRestarts")), stage.uptime()
    file = "/sys/devices/virtual/battery_charger/ltc4162/chargerState_raw"
    stage.machine.do(f"mkfifo /run/never && mount --bind /run/never {file}")
    eventually("the meter is missed", lambda: unit(stage, "SubState") != "running", pause_s=0.2)
    stage.machine.do(f"umount -l {file}")
    starts_again(stage, "a driver that never returns", begun_s, before)


def program_that_stands_still(stage):
    before, begun_s = int(unit(stage, "NRestarts")), stage.uptime()
    stage.machine.do("kill -STOP $(pidof QuorvelPowerMeterApp)")
    starts_again(stage, "a program that stands still", begun_s, before)
