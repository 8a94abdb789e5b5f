"""The instrument's image on the emulated board: disks, display, touch screen and watchdog."""
import json
import socket
import subprocess

from machine import TREE, Boot, Failed

FOLDER = TREE + "/build/image"
# Of an emulated processor neither the clock nor its speculation is to be looked after, its ciphers are
# right, and to look up a device's interrupt in the firmware's program takes it a third of a second.
WORDS = (
    "root=/dev/vda ro quiet panic=5 tsc=unstable mitigations=off cryptomgr.notests acpi=noirq"
    " drm_kms_helper.fbdev_emulation=0"
)


def made_image():
    """Makes the image if anything has changed. The folder with its disks."""
    if subprocess.run([TREE + "/tools/make-image"], check=False).returncode != 0:
        raise SystemExit(2)
    return FOLDER


def boot_of_image(world, data, display):
    """With this file as the disk that outlives the power, and this display of the emulator."""
    hardware = ["-m", "512", "-display", *display]
    for name, disk in (("root", f"{FOLDER}/root.img,readonly=on"), ("data", data)):
        hardware += ["-drive", f"if=none,id={name},format=raw,file={disk}"]
        hardware += ["-device", f"virtio-blk-pci,drive={name}"]
    hardware += ["-device", "bochs-display,xres=1024,yres=768", "-device", "virtio-tablet-pci"]
    hardware += ["-device", "i6300esb", "-action", "watchdog=reset"]
    hardware += ["-qmp", f"unix:{world}/board.sock,server=on,wait=off"]
    return Boot(FOLDER + "/vmlinuz", FOLDER + "/initrd", WORDS, hardware)


class Board:
    """The emulated board as seen from outside: a finger on its screen."""

    def __init__(self, world):
        self.link = socket.socket(socket.AF_UNIX)
        self.link.connect(world + "/board.sock")
        self.answers = self.link.makefile("r")
        self.answers.readline()
        self.ask("qmp_capabilities", {})

    def receive(self):
        line = self.answers.readline()
        if not line:
            raise Failed("the emulator has ended")
        return json.loads(line)

    def ask(self, command, arguments):
        line = json.dumps({"execute": command, "arguments": arguments})
        self.link.sendall(line.encode())
        answer = self.receive()
        while "event" in answer:
            answer = self.receive()
        if "return" not in answer:
            raise Failed(f"{command}: {answer}")

    def tap(self, x, y):
        place = {"x": x * 0x7FFF // 1023, "y": y * 0x7FFF // 767}
        moved = [{"type": "abs", "data": {"axis": a, "value": v}} for a, v in place.items()]
        self.ask("input-send-event", {"events": moved})
        for is_down in (True, False):
            button = {"type": "btn", "data": {"button": "left", "down": is_down}}
            self.ask("input-send-event", {"events": [button]})

    def end(self):
        self.answers.close()
        self.link.close()
