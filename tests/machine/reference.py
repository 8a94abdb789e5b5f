"""The same meter on the light bench: what the machine's screen has to look like."""
import re
import subprocess
import tempfile

from machine import Failed


def pixels(picture):
    """A picture's pixels, three bytes each."""
    words = ["convert", picture, "-depth", "8", "rgb:-"]
    return subprocess.run(words, stdout=subprocess.PIPE, check=True).stdout


def differing(first, second):
    """Number of pixels that differ."""
    if first == second:
        return 0
    if len(first) != len(second):
        return max(len(first), len(second)) // 3
    return sum(first[at : at + 3] != second[at : at + 3] for at in range(0, len(first), 3))


class Reference:
    """A meter on a light bench, told the same as the machine's."""

    def __init__(self, build):
        self.tool = build + "/bin/quorvel-bench"
        self.folder = tempfile.TemporaryDirectory(prefix="quorvel-reference-")
        self.world = self.folder.name + "/world"
        words = "run --headless --quiet --port auto --world".split()
        self.process = subprocess.Popen([self.tool, *words, self.world])

    def do(self, *words):
        command = [self.tool, "--world", self.world, *words]
        run = subprocess.run(command, stdout=subprocess.PIPE, text=True, check=False)
        if run.returncode != 0:
            raise Failed(f"the light bench refuses: {' '.join(words)}")
        return run.stdout

    def point_of(self, widget):
        """Where a widget is touched, as "X,Y"."""
        found = re.search(rf"[ =]{widget}(?: id=\S+)? (\d+),(\d+) (\d+)x(\d+) ", self.do("screen"))
        if not found:
            raise Failed(f"the light bench shows no {widget}")
        left, top, width, height = map(int, found.groups())
        return f"{left + width // 2},{top + height // 2}"

    def picture(self, file):
        self.do("screenshot", file)

    def end(self):
        self.process.terminate()
        self.process.wait()
        self.folder.cleanup()
