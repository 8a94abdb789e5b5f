"""A crowd of meters and quorvel-fleet run, for tests that look at it over HTTP."""

import base64
import http.client
import json
import os
import re
import signal
import subprocess
import tempfile
import time

PATIENCE_S = 60
PORT = 8830


def eventually(condition, patience_s=PATIENCE_S):
    """What the condition returns once that is true; fails after a minute, or as long as it is told."""
    end = time.monotonic() + patience_s
    while time.monotonic() < end:
        result = condition()
        if result:
            return result
        time.sleep(0.02)
    raise AssertionError("it has not come to pass")


def own_network(number):
    """The begin of addresses that no other test uses; a number is from 0 to 7."""
    place = os.getpid() * 8 + number
    return f"127.{100 + place // 240 % 100}.{place % 240}."


class Fleet:
    """The program with its meters. They end with it."""

    def __init__(self, programs, config, meters, crowd=(), network=0):
        """In the configuration, LISTEN and METER1, METER2... stand for addresses."""
        self.folder = tempfile.TemporaryDirectory()
        self.host = own_network(network) + "1"
        self.database = os.path.join(self.folder.name, "fleet.sqlite")
        self.base = own_network(network) + "2"
        self.programs = programs
        self.crowd = None
        if meters:
            self.start_crowd(meters, crowd)
        self.file = os.path.join(self.folder.name, "fleet.toml")
        self.configure(config)
        self.words = [f"{programs}/quorvel-fleet", "run", self.file]
        self.process = None
        self.start()

    def configure(self, config):
        """For its next start."""
        with open(self.file, "w", encoding="utf-8") as written:
            written.write(f'database = "{self.database}"\n')
            config = config.replace("LISTEN", f"{self.host}:{PORT}")
            written.write(re.sub(r"METER(\d+)", lambda found: self.address(int(found[1])), config))

    def start_crowd(self, meters, options=()):
        self.crowd = subprocess.Popen(
            [f"{self.programs}/quorvel-bench", "crowd", str(meters), "--base", self.base, *options],
            stdout=subprocess.DEVNULL,
        )

    def start(self):
        with open(os.path.join(self.folder.name, "errors"), "ab") as errors:
            self.process = subprocess.Popen(self.words, stderr=errors)

    def restart(self, number):
        """Ends it by a signal, and starts it again."""
        self.process.send_signal(number)
        self.process.wait()
        self.start()

    def address(self, meter):
        """Of a meter, counted from 1."""
        parts = [int(part) for part in self.base.split(".")]
        number = (parts[2] << 8) + parts[3] + meter - 1
        return f"{parts[0]}.{parts[1]}.{number >> 8}.{number & 255}"

    def errors(self):
        with open(os.path.join(self.folder.name, "errors"), encoding="utf-8") as errors:
            return errors.read()

    def wait_until_served(self):
        eventually(lambda: "serving" in self.errors() or self.process.poll() is not None)
        assert self.process.poll() is None, self.errors()

    def ask(self, path, headers=None, method="GET"):
        """The answer with its text."""
        connection = http.client.HTTPConnection(self.host, PORT, timeout=PATIENCE_S)
        try:
            connection.request(method, path, headers=headers or {})
            answer = connection.getresponse()
            answer.text = answer.read().decode()
            return answer
        finally:
            connection.close()

    def json(self, path):
        answer = self.ask(path)
        assert answer.status == 200, (path, answer.status, answer.text)
        return json.loads(answer.text)

    def clients(self):
        """How many connections the service has accepted and still holds."""
        with open("/proc/net/tcp", encoding="ascii") as table:
            rows = [line.split() for line in table][1:]
        accepted = {row[9] for row in rows if row[1].endswith(f":{PORT:04X}") and row[3] != "0A"}
        folder = f"/proc/{self.process.pid}/fd"
        count = 0
        for name in os.listdir(folder):
            try:
                count += os.readlink(f"{folder}/{name}")[len("socket:["):-1] in accepted
            except OSError:
                pass  # closed meanwhile
        return count

    def end_crowd(self):
        if self.crowd and self.crowd.poll() is None:
            self.crowd.send_signal(signal.SIGINT)
            self.crowd.wait()

    def end(self):
        """The exit status."""
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
        status = self.process.wait()
        self.end_crowd()
        return status

    def close(self):
        self.end()
        self.folder.cleanup()


def basic(password):
    return "Basic " + base64.b64encode(f"fleet:{password}".encode()).decode()
