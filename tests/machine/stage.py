"""What every scenario has: a bench, the machine with the meter on it, what both look like, and a
place for what is left of the run."""
import contextlib
import os
import re
import shutil
import time

from host_root import boot_of_host_root
from machine import LIMIT_S, TREE, Bench, Failed, Machine, eventually
from reference import Reference, differing, pixels

OK_KEY = "512,558"
"""The channel dialog's."""
RECOVERY_S = 30
"""What a fault that has gone may cost, in the machine's time."""


class Stage:
    def __init__(self, name, build, ready, has_reference):
        self.name, self.build, self.ready = name, build, ready
        self.results = f"{TREE}/build/machine/results/{name}"
        shutil.rmtree(self.results, ignore_errors=True)
        os.makedirs(self.results)
        self.machine = None
        self.board = None
        self.failures = 0
        self.started = time.monotonic()
        self.bench = Bench(build)
        try:
            self.reference = Reference(build) if has_reference else None
        except BaseException:
            self.bench.end()
            raise

    def report(self, text):
        print(f"{self.name} {time.monotonic() - self.started:6.1f} s  {text}", flush=True)

    def check(self, what, condition, detail=""):
        """A line for what must hold."""
        self.report(f"{'passed' if condition else 'FAILED'}: {what}{detail and f' ({detail})'}")
        self.failures += 0 if condition else 1
        return condition

    # The machine.

    def boot(self):
        self.machine = Machine(self.bench, boot_of_host_root(self.ready))
        self.machine.await_boot()
        return self.machine

    def start_meter(self):
        meter = self.build + "/bin/QuorvelPowerMeterApp"
        self.machine.do(meter + " >>/world/meter.log 2>&1 &")

    def boot_with_meter(self):
        self.boot()
        self.start_meter()
        eventually("remote control", self.is_answering)

    def is_answering(self):
        try:
            with self.machine.scpi() as client:
                return client.ask("*IDN?").startswith("QUORVEL-TECHNOLOGIES,8830K,")
        except (Failed, OSError):
            return False

    def tap(self, point):
        """With a finger, where the machine has a touch screen."""
        if self.board:
            self.board.tap(*map(int, point.split(",")))
        else:
            self.bench.do("tap", point)

    def uptime(self):
        return self.machine.uptime()

    def ask(self, line):
        with self.machine.scpi() as client:
            return client.ask(line)

    def power(self, channel):
        """Forward power that a remote client is told, None while there is none."""
        with self.machine.scpi() as client:
            client.send("*CLS")
            answer = client.ask(f"MEAS:AVER? {channel};:SYST:ERR:COUN?")
        found = re.match(r"([-+.\dEe]+);0$", answer)
        return float(found[1]) if found else None

    def shows_power(self, channel, expected, limit_s=LIMIT_S):
        def is_told():
            told = self.power(channel)
            return told is not None and abs(told - expected) < expected * 1e-4

        eventually(f"channel {channel} tells {expected} W", is_told, limit_s)

    def bytes_from(self, port):
        """How many bytes a sensor has sent."""
        line = re.search(rf"^{port}: .* sent=(\d+)", self.bench.do("status"), re.M)
        return int(line[1])

    def comes_up(self, port):
        """Waits until the sensor that was plugged in is measuring, channel dialog included. How
        long it took, in the machine's time."""
        begun_s = self.uptime()
        begun = self.readings_of(port)

        def is_measuring():
            self.tap(OK_KEY)
            return self.readings_of(port) >= begun + 2

        eventually(f"{port} measures", is_measuring, pause_s=0.5)
        return self.uptime() - begun_s

    def readings_of(self, port):
        if port.startswith("usb"):
            return self.readings(port)
        return len(re.findall(r"-> [0-9a-f ]*46 ", self.bench.do("log", port)))

    def await_gone(self, port):
        """Waits until the meter, too, knows that a USB sensor has been pulled."""
        eventually(f"{port} is gone", self.usb_is_as_plugged)

    def usb_is_as_plugged(self):
        """The kernel has the devices that are plugged in, and the meter holds no other one."""
        plugged = len(re.findall(r"^usb\d: (?!no sensor)", self.bench.do("status"), re.M))
        known, held = self.machine.do(
            "cat /sys/bus/usb/devices/*/idVendor | grep -c 1209;"
            " ls -l /proc/$(pidof QuorvelPowerMeterApp)/fd | grep -c 'usbtmc.*deleted' || true"
        ).split()
        return int(known) == plugged and held == "0"

    # Pictures.

    def picture(self, name):
        file = f"{self.results}/{name}.png"
        self.machine.picture(file)
        return file

    def picture_of_failure(self):
        if self.machine and self.machine.process.poll() is None:
            with contextlib.suppress(Failed):  # its screen may be what has failed
                self.picture("failed")

    def differs_from_reference(self, name, picture):
        """Number of pixels."""
        return differing(pixels(picture), pixels(f"{self.results}/{name}-light-bench.png"))

    def looks_like_reference(self, name):
        """The machine's screen becomes what the light bench shows."""
        self.reference.picture(f"{self.results}/{name}-light-bench.png")
        differences = []

        def is_same():
            differences.append(self.differs_from_reference(name, self.picture(name)))
            return differences[-1] == 0

        try:
            eventually(f"the screen of {name}", is_same, LIMIT_S, 0.5)
        except Failed:
            return self.check(f"screen '{name}'", False, f"{differences[-1]} pixels differ")
        return self.check(f"screen '{name}' is the light bench's, pixel by pixel", True)

    # Faults of USB.

    def readings(self, port="usb1"):
        return self.bench.usb("state", port)[0]

    def strike(self, port, *fault):
        """Sets a fault and waits until it has struck. The machine's time then."""
        self.bench.usb("fault", port, *fault)
        return self.struck_s(port, fault[0])

    def struck_s(self, port, name):
        """Waits until a fault has struck. The machine's time then."""
        has_struck = lambda: name not in self.bench.usb("state", port)[1].split()
        eventually(f"{name} strikes", has_struck, pause_s=0.02)
        return self.uptime()

    def recovery_s(self, port, struck_s, more=2):
        """The machine's time from a fault until readings come again."""
        before = self.readings(port)
        eventually("readings again", lambda: self.readings(port) >= before + more)
        return self.uptime() - struck_s

    # The end.

    def keep(self):
        """Logs, beside the pictures."""
        for file in ("console.log", "messages", "meter.log", "commands", "xvfb.log"):
            if self.bench.file(file):
                shutil.copy(f"{self.bench.world}/{file}", self.results)
        shutil.copy(self.bench.folder + "/usb.log", self.results)
        for port in ("serial1", "serial2", "usb1", "usb2"):
            with open(f"{self.results}/{port}.log", "w", encoding="latin-1") as log:
                log.write(self.bench.do("log", port))

    def end(self):
        """Whatever fails on the way: the last that was started ends first."""
        with contextlib.ExitStack() as ends:
            ends.callback(self.bench.end)
            if self.machine:
                ends.callback(self.machine.cut_power)
            if self.board:
                ends.callback(self.board.end)
            if self.reference:
                ends.callback(self.reference.end)
            self.keep()
