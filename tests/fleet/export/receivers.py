"""Receivers of the line protocol: one that does as it is told, VictoriaMetrics and InfluxDB."""

import gzip
import http.client
import http.server
import json
import os
import re
import signal
import subprocess
import threading
import time
import urllib.parse

# What a receiver may do instead of answering with a status; the lines are taken.
HANG_UP = None
HALF_ANSWER = "half"  # and hang up
SLOW_ANSWER = "slow"  # but success
SLOWNESS_S = 3


def unescape(text):
    return re.sub(r"\\([,= ])", r"\1", text)


def parse(line):
    """A line as (tags, fields, time)."""
    series, fields, time = re.match(r"((?:\\.|[^ \\])+) (\S+) (\d+)$", line).groups()
    name, *tags = re.split(r"(?<!\\),", series)
    assert name == "quorvel", line
    pairs = (re.split(r"(?<!\\)=", tag, maxsplit=1) for tag in tags)
    values = (field.split("=") for field in fields.split(","))
    return ({key: unescape(value) for key, value in pairs},
            {key: float(value) for key, value in values}, int(time))


class Receiver:
    """Takes batches; `answer(lines, count)` is the status of each, or one of those above."""

    def __init__(self, host, answer=lambda lines, count: 204):
        self.host = host
        self.lines = []  # that were taken, as often as they came
        self.batches = []  # number of lines in each request
        self.headers = None
        self.target = None
        self.lock = threading.Lock()
        self.answer = answer
        self.port = 8428
        self.server = None
        self.start()

    def start(self):
        receiver = self

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_POST(self):
                receiver.take(self)

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer((self.host, self.port), Handler)
        self.server.handle_error = lambda *_: None  # of clients that are killed
        self.server.daemon_threads = True
        threading.Thread(target=self.server.serve_forever, args=(0.05,)).start()

    def take(self, request):
        body = request.rfile.read(int(request.headers["Content-Length"]))
        lines = gzip.decompress(body).decode().splitlines()
        with self.lock:
            if not self.server:  # stopped: connections that were open are worth nothing
                request.close_connection = True
                return
            self.headers, self.target = request.headers, request.path
            self.batches.append(len(lines))
            status = self.answer(lines, len(self.batches))
            is_kept = status in (HANG_UP, HALF_ANSWER, SLOW_ANSWER) or 200 <= status < 300
            if is_kept:
                self.lines += lines
        if status == HALF_ANSWER:
            request.wfile.write(b"HTTP/1.1 204 No Content\r\nContent-Le")
        if status in (HANG_UP, HALF_ANSWER):
            request.close_connection = True
            return
        if status == SLOW_ANSWER:
            time.sleep(SLOWNESS_S)
            status = 204
        text = b"" if is_kept else b"why"
        request.send_response(status)
        request.send_header("Content-Length", str(len(text)))
        request.end_headers()
        request.wfile.write(text)

    def stop(self):
        if self.server:
            self.server.shutdown()
            self.server.server_close()
            self.server = None


class RealReceiver:
    """A real receiver, with its data in a folder; `words` start it."""

    target = ""  # where readings are written to

    def __init__(self, host, words):
        self.address = f"{host}:8428"
        self.words = words
        self.process = None

    def start(self):
        self.process = subprocess.Popen(
            self.words, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def stop(self):
        if self.process:
            self.process.send_signal(signal.SIGINT)
            self.process.wait()
            self.process = None

    def ask(self, path, method="GET"):
        """Its answer, None where it is not there."""
        connection = http.client.HTTPConnection(self.address, timeout=60)
        try:
            connection.request(method, path)
            answer = connection.getresponse()
            return answer.read().decode() if answer.status == 200 else None
        except OSError:
            return None
        finally:
            connection.close()


class VictoriaMetrics(RealReceiver):
    """What comes twice, as after a lost answer, it keeps once."""

    target = "/write?precision=ms"

    def __init__(self, host, folder):
        super().__init__(host, [
            "victoria-metrics", f"-httpListenAddr={host}:8428", f"-storageDataPath={folder}",
            "-retentionPeriod=100y", "-dedup.minScrapeInterval=1ms",
            "-search.latencyOffset=0s", "-loggerLevel=ERROR", "-memory.allowedBytes=100000000",
        ])

    def readings(self):
        """All forward powers as (meter, channel, time, value), each as often as it is there."""
        self.ask("/internal/force_flush")
        told = self.ask("/api/v1/export?match[]=quorvel_forward_W") or ""
        found = []
        for row in map(json.loads, told.splitlines()):
            labels = row["metric"]
            found += [(labels["meter"], labels["channel"], time, value)
                      for time, value in zip(row["timestamps"], row["values"])]
        return found


class InfluxDB(RealReceiver):
    """Of two readings with the same tags and time it keeps the later one."""

    target = "/write?db=fleet&precision=ms"

    def __init__(self, host, folder):
        file = os.path.join(folder, "influxdb.conf")
        with open(file, "w", encoding="ascii") as written:
            written.write(
                f'reporting-disabled = true\nbind-address = "{host}:8088"\n'
                f'[meta]\ndir = "{folder}/meta"\n[monitor]\nstore-enabled = false\n'
                f'[data]\ndir = "{folder}/data"\nwal-dir = "{folder}/wal"\n'
                f'[http]\nbind-address = "{host}:8428"\nlog-enabled = false\n')
        super().__init__(host, ["influxd", "-config", file])

    def query(self, text, method="GET"):
        words = urllib.parse.urlencode({"db": "fleet", "epoch": "ms", "q": text})
        return self.ask("/query?" + words, method)

    def start(self):
        super().start()
        end = time.monotonic() + 60
        while self.query("CREATE DATABASE fleet", "POST") is None and time.monotonic() < end:
            time.sleep(0.05)

    def readings(self):
        """As above."""
        told = self.query("SELECT forward_W FROM quorvel GROUP BY meter, channel") or '{"results":[]}'
        return [(series["tags"]["meter"], series["tags"]["channel"], time, value)
                for result in json.loads(told)["results"] for series in result.get("series", [])
                for time, value in series["values"]]
