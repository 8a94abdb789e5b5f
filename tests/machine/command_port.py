"""The command port: SCPI on a real 16550A."""
import itertools
import os
import select
import time
import tty
from dataclasses import dataclass

from machine import LIMIT_S, Failed, eventually
from plugging import measures

SPEEDS = (300, 600, 1200, 2400, 4800, 9600)
FORMATS = tuple(itertools.product((7, 8), ("n", "e", "o"), (1, 2)))


class CommandPort:
    """The far end of its cable."""

    def __init__(self, stage):
        self.fd = os.open(stage.bench.world + "/command-port", os.O_RDWR | os.O_NOCTTY)
        tty.setraw(self.fd)

    def send(self, text):
        os.write(self.fd, text.encode())

    def ask(self, text, limit_s=LIMIT_S):
        """A line, and the line that comes back."""
        self.send(text)
        answer = b""
        end = time.monotonic() + limit_s
        while not answer.endswith(b"\n"):
            left_s = end - time.monotonic()
            if left_s <= 0 or not select.select([self.fd], [], [], left_s)[0]:
                raise Failed(f"{text!r}: {answer!r} is not a line within {limit_s} s")
            answer += os.read(self.fd, 256)
        return answer.decode("latin-1").strip()

    def drain(self):
        while select.select([self.fd], [], [], 1)[0]:
            os.read(self.fd, 4096)

    def end(self):
        os.close(self.fd)


@dataclass
class Protocol:
    """What the command port speaks."""

    name: str
    question: str
    answer: str
    over_tcp: object = None
    """Whose TCP takes the settings, which the protocol itself does not."""

    def send(self, port, line):
        if not self.over_tcp:
            port.send(line)
            return
        with self.over_tcp.machine.scpi() as client:
            client.send(line.strip())
            client.ask("*OPC?")


def line_of(stage):
    """What the kernel has set: speed, and words for the format."""
    words = stage.machine.do("stty -F /dev/ttyS4 -a").replace(";", " ").split()
    parity = "n" if "-parenb" in words else "o" if "parodd" in words else "e"
    size = 7 if "cs7" in words else 8
    return int(words[1]), (size, parity, 2 if "cstopb" in words else 1)


def settings_line(speed, form):
    """One line: what comes in behind a line, before its commands are carried out, is thrown away on
    the command port. Without a question: that would make questions of them all."""
    size, parity, stops = form
    words = f"BAUD {speed}", f"LENGTH {size}", f"PAR {parity}", f"STOP {stops}", "REST"
    return ";:".join("SYST:COMM:RS232:" + word for word in words)


def try_line(stage, port, speed, form, protocol):
    protocol.send(port, settings_line(speed, form) + "\n")
    is_set = lambda: line_of(stage) == (speed, form)
    eventually(f"the kernel has {speed} baud, {form}", is_set)
    begun_s = stage.uptime()
    answer = port.ask(protocol.question)
    took_s = stage.uptime() - begun_s
    line = f"{speed} baud, {form[0]}{form[1].upper()}{form[2]}"
    is_right = answer.startswith(protocol.answer)
    stage.check(f"{protocol.name} at {line}, as the kernel has it", is_right, f"{took_s:.2f} s")


def try_lines(stage, port, protocol):
    for speed in SPEEDS:
        try_line(stage, port, speed, (8, "n", 1), protocol)
    for form in FORMATS:
        try_line(stage, port, 9600, form, protocol)
    try_line(stage, port, 9600, (8, "n", 1), protocol)


def older_protocol(stage):
    """The older meter's protocol at every speed and in every format."""
    kept = stage.bench.world + "/root/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf"
    with open(kept, "w", encoding="ascii") as settings:
        settings.write("useLegacyRS232Commands 1\n")
    stage.boot_with_meter()
    stage.bench.do("plug", "serial1", "5132", "fwd=25", "rfl=0.5")
    measures(stage, 1, 25)
    port = CommandPort(stage)
    answer = port.ask("U0")
    stage.check("the older protocol answers", answer == "6610  FCRYYPYYTT1XF", answer)
    over_tcp = Protocol("the older protocol", "ENT", "NFC   25.00   W", stage)
    try_lines(stage, port, over_tcp)
    answers = [port.ask("RCENT"), port.ask("FCENT")]
    expected = ["NRC   .5000   W", "NFC   25.00   W"]
    stage.check("reflected and forward power are told", answers == expected, str(answers))
    stage.machine.ask_monitor("chardev-send-break c4")
    time.sleep(1)
    answer = port.ask("ENT")
    stage.check("after a break it answers", answer == expected[1], answer)
    port.end()


def command_port(stage):
    """SCPI at every speed and in every format, breaks, lines that are none."""
    stage.boot_with_meter()
    port = CommandPort(stage)
    begins = "QUORVEL-TECHNOLOGIES,8830K,"
    stage.check("SCPI answers", port.ask("*IDN?\n").startswith(begins))
    try_lines(stage, port, Protocol("SCPI", "*IDN?\n", begins))
    port.ask("*CLS;*OPC?\n")
    stage.check("no error is left", port.ask("SYST:ERR?\n").startswith('0,'))
    breaks(stage, port, begins)
    port.send("x" * 5000 + "\n")
    time.sleep(1)
    error = port.ask("SYST:ERR?\n")
    stage.check("5000 characters in a line are an error", not error.startswith("0,"), error)
    port.ask("*CLS;*OPC?\n")
    answers = [port.ask("*IDN?\n") for _ in range(40)]
    are_right = all(answer.startswith(begins) for answer in answers)
    stage.check("40 queries in a row have 40 answers", are_right)
    port.end()


def breaks(stage, port, begins):
    stage.machine.ask_monitor("chardev-send-break c4")
    time.sleep(1)
    port.send("\n")
    port.drain()
    stage.check("after a break it answers", port.ask("*IDN?\n").startswith(begins))
    port.send("*I")
    time.sleep(1)
    stage.machine.ask_monitor("chardev-send-break c4")
    time.sleep(1)
    port.send("DN?\n")
    port.drain()
    port.ask("*CLS;*OPC?\n")
    stage.check("and after one within a command", port.ask("*IDN?\n").startswith(begins))
