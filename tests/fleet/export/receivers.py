"""Receivers of the line protocol: one that does as it is told, and VictoriaMetrics."""

import gzip
import http.client
import http.server
import json
import re
import signal
import subprocess
import threading


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
    """Takes batches; `answer(lines, count)` is the status of each, or None for hanging up."""

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
            if status is None or 200 <= status < 300:
                self.lines += lines
        if status is None:
            request.close_connection = True
            return
        text = b"why" if status >= 300 else b""
        request.send_response(status)
        request.send_header("Content-Length", str(len(text)))
        request.end_headers()
        request.wfile.write(text)

    def stop(self):
        if self.server:
            self.server.shutdown()
            self.server.server_close()
            self.server = None


class VictoriaMetrics:
    """Debian's, with its data in a folder. What comes twice, as after a lost answer, it keeps once."""

    def __init__(self, host, folder):
        self.address = f"{host}:8428"
        self.words = [
            "victoria-metrics", f"-httpListenAddr={self.address}", f"-storageDataPath={folder}",
            "-retentionPeriod=100y", "-dedup.minScrapeInterval=1ms",
            "-search.latencyOffset=0s", "-loggerLevel=ERROR", "-memory.allowedBytes=100000000",
        ]
        self.process = None

    def start(self):
        self.process = subprocess.Popen(
            self.words, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def stop(self):
        if self.process:
            self.process.send_signal(signal.SIGINT)
            self.process.wait()
            self.process = None

    def ask(self, path):
        connection = http.client.HTTPConnection(self.address, timeout=60)
        try:
            connection.request("GET", path)
            answer = connection.getresponse()
            return answer.read().decode() if answer.status == 200 else None
        except OSError:
            return None
        finally:
            connection.close()

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
