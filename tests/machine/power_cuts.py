"""Power cuts while settings and pulse configurations are stored."""
import json
import os
import random
import re
import subprocess
import time
from dataclasses import dataclass

from host_root import boot_of_host_root
from machine import Machine, eventually

CUTS = int(os.environ.get("QUORVEL_MACHINE_CUTS", "50"))
DISK_MB = 128
FOLDER = "/etc/QuorvelPowerMeterApp"
SETTINGS = FOLDER + "/QuorvelApplicationSettings.conf"
PULSE = FOLDER + "/QuorvelPulseSensor.conf"
LONGEST_STORM_S = 2.0


@dataclass
class FileSystem:
    name: str
    make_options: tuple
    mount_options: str


EXT4 = FileSystem("ext4", ("-q", "-F"), "defaults")
# Otherwise it forgets for up to a minute that a file has been renamed.
F2FS = FileSystem("f2fs", ("-q", "-f"), "fsync_mode=strict")


class Stored:
    """What of one kind is stored: the number on the disk, and what may stand there after a cut."""

    def __init__(self, name, number_of):
        self.name, self.number_of = name, number_of
        self.found = 0
        """0 is that of the presets, and of no file."""
        self.allowed = {0}

    def stored_until(self, first, told):
        """`told` is the last number whose storing has ended, None if none has."""
        if told is None:
            self.allowed = {self.found, first}
        else:
            self.allowed = {told, told + 1, told - 1 if told > first else self.found}

    def look(self, text):
        """What is wrong with the file, empty if nothing is."""
        try:
            self.found = self.number_of(text) if text else 0
        except ValueError as error:
            return f"{self.name}: {error}: {text[-200:]!r}"
        if self.found not in self.allowed:
            return f"{self.name}: {self.found} on the disk, not one of {sorted(self.allowed)}"
        return ""


def number_of_settings(text):
    """Its last line stands in a whole file only."""
    is_whole = re.fullmatch(r"(\S+ \S+\n)+sensorPulseMode [01]\n", text)
    number = re.search(r"^matchMeasurementType (\d+)\n", text, re.M)
    if not is_whole or not number:
        raise ValueError("not a whole file of settings")
    return int(number[1])


def number_of_pulse(text):
    return int(json.loads(text)["freqValue"])


class Cuts:
    """One disk, the same through all cuts."""

    def __init__(self, stage, file_system, scratch):
        self.stage, self.file_system, self.scratch = stage, file_system, scratch
        self.storms = [Stored("settings", number_of_settings), Stored("pulse", number_of_pulse)]
        self.disk = stage.bench.folder + "/disk.img"
        with open(self.disk, "wb") as image:
            image.truncate(DISK_MB * 2**20)
        maker = [f"mkfs.{file_system.name}", *file_system.make_options, self.disk]
        path = {**os.environ, "PATH": os.environ["PATH"] + ":/usr/sbin:/sbin"}
        subprocess.run(maker, env=path, stdout=subprocess.DEVNULL, check=True)

    def boot(self):
        words = f"machine_disk={self.file_system.name} machine_mount={self.file_system.mount_options}"
        boot = boot_of_host_root(self.stage.ready, "storm-init", words)
        # The emulator's end is the power's: what the machine has written is in this file by then.
        boot.hardware += ["-drive", f"file={self.disk},if=virtio,format=raw,cache=unsafe"]
        self.stage.machine = Machine(self.stage.bench, boot)
        self.stage.machine.await_boot()

    def look(self):
        """What is wrong on the disk."""
        wrong = []
        for stored, path in zip(self.storms, (SETTINGS, PULSE)):
            wrong.append(stored.look(self.stage.machine.do(f"cat {path} 2>/dev/null || true")))
        left = self.stage.machine.do(f"ls {FOLDER} | grep -c '[.]new[.]' || true")
        if int(left) > len(self.storms):
            wrong.append(f"{left.strip()} files are left of earlier cuts")
        return "; ".join(filter(None, wrong))

    def storm(self, first):
        """Cuts the power at a random moment of a storm. How many have been stored."""
        log = self.stage.bench.world + "/storm.log"
        open(log, "w", encoding="ascii").close()
        program = f"{self.stage.build}/bin/settings-storm {FOLDER} {first} {self.scratch}"
        self.stage.machine.do(f"mkdir -p /run/scratch; {program} >>/world/storm.log 2>&1 &")
        is_stored = lambda: re.search(r"^\w+ \d+$", self.stage.bench.file("storm.log"), re.M)
        eventually("something is stored", is_stored)
        time.sleep(random.uniform(0, LONGEST_STORM_S))
        self.stage.machine.cut_power()
        told = self.stage.bench.file("storm.log")
        for stored in self.storms:
            numbers = re.findall(rf"^{stored.name} (\d+)\n", told, re.M)
            stored.stored_until(first, int(numbers[-1]) if numbers else None)
        return told.count("\n")


def cut(stage, file_system, cuts, scratch=""):
    """What was wrong after which cut."""
    seed = random.randrange(2**32)
    random.seed(seed)
    disk = Cuts(stage, file_system, scratch)
    wrong = []
    stored = 0
    first = 1
    for number in range(cuts + 1):
        disk.boot()
        found = disk.look()
        if found:
            wrong.append(f"cut {number}: {found}")
        if number == cuts:
            break
        stored += disk.storm(first)
        first += 100000
    stage.report(f"{cuts} cuts in {stored} times of storing, seed {seed}")
    return wrong


def holds(stage, file_system, cuts):
    wrong = cut(stage, file_system, cuts)
    for line in wrong:
        stage.report(line)
    what = f"after each of {cuts} power cuts both files on {file_system.name}"
    detail = f"{len(wrong)} times not" if wrong else ""
    stage.check(f"{what} are the last or the one before", not wrong, detail)


def power_cuts(stage):
    """On ext4, and on f2fs."""
    holds(stage, EXT4, CUTS)
    stage.machine.cut_power()
    holds(stage, F2FS, max(1, CUTS // 5))


def power_cuts_in_place(stage):
    """That the check can fail: files that are simply overwritten do not pass it."""
    wrong = cut(stage, EXT4, 3, "/run/scratch")
    stage.check("files that are overwritten in place do not outlive a power cut", bool(wrong))
