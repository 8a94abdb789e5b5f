"""The emulated machine, and the bench around it.

A light bench plays the sensors, the command port's cable and the supply in a world of its own, with
an idle program in the place of the meter. The machine's serial ports are that world's terminals, its
USB sensors come from it by way of quorvel-bench-usb, and what its board has no hardware for it sees as
the world's files. The meter runs in the machine, without the bench's preload library. What the machine
boots is up to who starts it: the programs of this host (tests/machine), or the instrument's image."""
import contextlib
import os
import re
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import threading
import time
import tty
from dataclasses import dataclass

HERE = os.path.dirname(os.path.realpath(__file__))
TREE = os.path.dirname(os.path.dirname(HERE))
# What ends a run that has failed: an emulated processor is slow, and may have to wait for others.
BOOT_LIMIT_S = 480
LIMIT_S = 240


class Failed(Exception):
    """A check that does not hold."""


def eventually(what, condition, limit_s=LIMIT_S, pause_s=0.1):
    """Waits until the condition is true, and returns its value."""
    end = time.monotonic() + limit_s
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise Failed(f"not within {limit_s} s: {what}")
        time.sleep(pause_s)


def shared_folder(tag, path, *more):
    """The emulator's options for a folder of this machine that the emulated one can mount."""
    share = ["local", "path=" + path, "mount_tag=" + tag, "security_model=none", "multidevs=remap"]
    return ["-virtfs", ",".join([*share, *more])]


class Bench:
    """A light bench without a program, and what carries its USB sensors to the machine. The bench's
    commands find one that is not private without being told where its world is."""

    def __init__(self, build, is_private=True):
        self.tool = f"{build}/bin/quorvel-bench"
        self.folder = tempfile.mkdtemp(prefix="quorvel-machine-")
        self.world = self.folder + "/world"
        run = "run --window --quiet --port auto --program /bin/busybox".split()
        if is_private:
            run += ["--world", self.world]
        self.usb_log = open(self.folder + "/usb.log", "w", encoding="latin-1")
        self.processes = []
        try:
            self.start([*run, "--", "sleep", "1000000"], is_private)
        except BaseException:
            self.end()
            raise

    def start(self, run, is_private):
        display = {**os.environ, "DISPLAY": ":0"}
        self.processes.append(subprocess.Popen([self.tool, *run], env=display))
        if not is_private:
            self.world = eventually("a bench", self.own_world)
        eventually("a bench", lambda: os.path.exists(self.world + "/daemon.sock"))
        usb = [self.tool + "-usb", self.world]
        self.processes.append(subprocess.Popen(usb, stdout=self.usb_log))
        eventually("USB", lambda: os.path.exists(self.world + "/usb-faults.sock"))

    def own_world(self):
        """Of the benches that run, the world of the one whose program is this one's child."""
        run = subprocess.run([self.tool, "list"], stdout=subprocess.PIPE, text=True, check=True)
        for world, program in re.findall(r"^..(\S+) port=.* program=(\d+)", run.stdout, re.M):
            with contextlib.suppress(OSError), open(f"/proc/{program}/status") as status:
                if f"\nPPid:\t{self.processes[0].pid}\n" in status.read():
                    return world
        return None

    def do(self, *words):
        command = [self.tool, "--world", self.world, *words]
        run = subprocess.run(command, stdout=subprocess.PIPE, text=True, check=False)
        if run.returncode != 0:
            raise Failed(f"the bench refuses: {' '.join(words)}")
        return run.stdout

    def usb(self, *words):
        """Tells the USB side, and returns (readings so far, faults that wait)."""
        with socket.socket(socket.AF_UNIX) as link:
            link.connect(self.world + "/usb-faults.sock")
            link.sendall(" ".join(words).encode())
            answer = link.makefile().read()
        found = re.match(r"ok readings=(\d+) waiting=(.*)\n", answer)
        if not found:
            raise Failed(f"{words}: {answer}")
        return int(found[1]), found[2]

    def file(self, name):
        try:
            with open(f"{self.world}/{name}", encoding="latin-1") as opened:
                return opened.read()
        except FileNotFoundError:
            return ""

    def end(self):
        for process in self.processes:
            process.send_signal(signal.SIGTERM)
            process.wait()
        self.usb_log.close()
        shutil.rmtree(self.folder)


@dataclass
class Boot:
    """What a machine starts with."""

    kernel: str
    initrd: str
    words: str
    """For the kernel."""
    hardware: list
    """Options of the emulator: memory, root, what is on the board besides ports and network."""


class Machine:
    """One run of the machine, from its power on."""

    def __init__(self, bench, boot):
        self.bench = bench
        self.started = time.monotonic()
        self.asking = threading.Lock()
        world = bench.world
        self.console = world + "/console.log"
        self.process = subprocess.Popen(
            ["qemu-system-x86_64", *self.options(boot)], stdin=subprocess.DEVNULL
        )
        try:
            self.control_link = self.connect(world + "/control.sock")
            self.control = self.control_link.makefile("rwb")
            self.monitor = self.connect(world + "/monitor.sock").makefile("rwb")
            self.ask_monitor("")
            threading.Thread(target=self.follow_power_switch, daemon=True).start()
            self.find_ports()
        except BaseException:
            self.cut_power()
            raise

    def options(self, boot):
        world = self.bench.world
        # An instruction is 4 ns of the machine's time, however long the host takes for it.
        options = "-accel tcg,thread=single -icount shift=2,sleep=on -cpu max -smp 1"
        options += " -M pc,i8042=off -nodefaults"
        result = [*options.split(), "-kernel", boot.kernel, "-initrd", boot.initrd]
        result += ["-append", "console=ttyS0 8250.nr_uarts=8 net.ifnames=0 " + boot.words]
        result += boot.hardware + shared_folder("world", world)
        result += self.serial_ports(world) + self.usb_ports(world) + self.channels(world)
        return result

    @staticmethod
    def serial_ports(world):
        result = ["-chardev", f"file,id=c0,path={world}/console.log"]
        result += ["-device", "isa-serial,chardev=c0,index=0"]
        for number in (1, 2, 4):
            result += ["-chardev", f"serial,id=c{number},path={world}/root/dev/ttyS{number}"]
            # The first four are those of the ISA bus, as the kernel counts.
            kind = "pci-serial" if number == 4 else "isa-serial"
            index = "" if number == 4 else f",index={number}"
            result += ["-device", f"{kind},chardev=c{number}{index}"]
        return result

    @staticmethod
    def usb_ports(world):
        result = ["-device", "qemu-xhci,id=usb"]
        for number in (1, 2):
            path = f"{world}/machine-usb{number}.sock"
            result += ["-chardev", f"socket,id=u{number},path={path},server=on,wait=off"]
            result += ["-device", f"usb-redir,chardev=u{number},bus=usb.0"]
        return result

    @staticmethod
    def channels(world):
        socket_options = "server=on,wait=off"
        forward = "hostfwd=tcp:127.0.0.1:0-:5025,hostfwd=tcp:127.0.0.1:0-:6000"
        return [
            *("-device", "virtio-serial"),
            *("-chardev", f"socket,id=control,path={world}/control.sock,{socket_options}"),
            *("-device", "virtserialport,chardev=control,name=control"),
            *("-netdev", f"user,id=lan,restrict=on,{forward}"),
            *("-device", "virtio-net-pci,netdev=lan,id=nic", "-device", "virtio-rng-pci"),
            *("-monitor", f"unix:{world}/monitor.sock,{socket_options}"),
        ]

    def connect(self, path):
        link = socket.socket(socket.AF_UNIX)
        # Its file is there a moment before it listens.
        listens = lambda: link.connect_ex(path) == 0
        eventually("the emulator", lambda: listens() or self.process.poll() is not None)
        if self.process.poll() is not None:
            raise Failed("the emulator has ended")
        return link

    def ask_monitor(self, command):
        """A command for the emulator; its answer."""
        prompt = b"(qemu) "
        answer = b""
        with self.asking:
            if command:
                self.monitor.write(command.encode() + b"\n")
                self.monitor.flush()
            while not answer.endswith(prompt):
                byte = self.monitor.read(1)
                if not byte:
                    raise Failed("the emulator has ended")
                answer += byte
        return answer[: -len(prompt)].decode("latin-1")

    def do(self, line):
        """Carries out a line in the machine, as root; what it prints."""
        self.control.write(line.encode() + b"\n")
        self.control.flush()
        answer = b""
        while True:
            part = self.control.readline()
            if not part:
                raise Failed(f"the machine has gone: {line}")
            text, mark, status = part.rpartition(b"\x01")
            answer += text if mark else part
            if mark:
                break
        if status != b"0\n":
            raise Failed(f"in the machine: {line}: {answer.decode('latin-1')}")
        return answer.decode("latin-1")

    def find_ports(self):
        """Where the machine's TCP ports are on this machine's loopback."""
        forward = r"TCP\[HOST_FORWARD\] +\d+ +[\d.]+ +(\d+) +[\d.]+ +(\d+)"
        forwards = re.findall(forward, self.ask_monitor("info usernet"))
        ports = {guest: int(host) for host, guest in forwards}
        self.scpi_port, self.x_port = ports["5025"], ports["6000"]
        with open(self.bench.world + "/display", "w", encoding="ascii") as display:
            display.write(f"127.0.0.1:{self.x_port - 6000}\n")

    def await_boot(self):
        """Waits until lines are carried out in the machine."""
        self.control_link.settimeout(BOOT_LIMIT_S)
        self.up_s = self.uptime()
        self.boot_s = time.monotonic() - self.started
        self.control_link.settimeout(LIMIT_S)

    def follow_power_switch(self):
        """The bench's power switch is the machine's power button."""
        event = struct.Struct("qqHHi")
        pressed = (1, 116, 1)  # a key, that of the power, goes down
        try:
            switch = os.open(self.bench.world + "/root/dev/input/event0", os.O_RDONLY | os.O_NOCTTY)
            tty.setraw(switch)
            with open(switch, "rb", buffering=0) as events:
                while part := events.read(event.size):
                    if len(part) == event.size and event.unpack(part)[2:] == pressed:
                        self.ask_monitor("system_powerdown")
        except (OSError, Failed):
            pass  # the bench, or the machine, has ended

    def uptime(self):
        """The machine's time: an emulated processor's second may be longer than this one's."""
        return float(self.do("cut -d' ' -f1 /proc/uptime"))

    def processor_s(self):
        """Processor time of this machine that the emulation has taken so far."""
        with open(f"/proc/{self.process.pid}/stat", encoding="ascii") as stat:
            fields = stat.read().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def picture(self, file):
        self.bench.do("screenshot", file)

    def scpi(self):
        return Scpi(self.scpi_port)

    def cut_power(self):
        self.process.kill()
        self.process.wait()
        for name in ("control.sock", "monitor.sock", "machine-usb1.sock", "machine-usb2.sock"):
            if os.path.exists(f"{self.bench.world}/{name}"):
                os.unlink(f"{self.bench.world}/{name}")


class Scpi:
    """A remote client."""

    def __init__(self, port, limit_s=LIMIT_S):
        self.link = socket.create_connection(("127.0.0.1", port), timeout=limit_s)
        self.answers = self.link.makefile("rb")

    def send(self, line):
        self.link.sendall(line.encode() + b"\n")

    def ask(self, line):
        self.send(line)
        answer = self.answers.readline()
        if not answer.endswith(b"\n"):
            raise Failed(f"{line}: hung up")
        return answer.decode("latin-1").strip()

    def end(self):
        self.answers.close()
        self.link.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.end()
