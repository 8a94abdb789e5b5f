"""Debian's Prometheus with the packaged configuration, for tests."""

import http.client
import json
import os
import subprocess
import tempfile

PACKAGED = os.path.realpath(f"{os.path.dirname(os.path.realpath(__file__))}/../../../packaging/fleet/prometheus")
PORT = 9090


def packaged(name):
    with open(f"{PACKAGED}/{name}", encoding="utf-8") as file:
        return file.read()


class Prometheus:
    """Gathers each second from a service that listens at a host, until the end of a `with`."""

    def __init__(self, host, rules):
        self.host = host
        self.folder = tempfile.TemporaryDirectory()
        config = packaged("prometheus.yml").replace("127.0.0.1", host).replace("5s", "1s")
        self.write("prometheus.yml", config)
        self.write("alerts.yml", rules)
        self.process = None

    def write(self, name, text):
        with open(f"{self.folder.name}/{name}", "w", encoding="utf-8") as file:
            file.write(text)

    def __enter__(self):
        folder = self.folder.name
        self.process = subprocess.Popen(
            ["prometheus", f"--config.file={folder}/prometheus.yml",
             f"--storage.tsdb.path={folder}/data", f"--web.listen-address={self.host}:{PORT}"],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        self.folder.cleanup()

    def ask(self, question):
        """What it answers; {"result": [], "alerts": []} while it is starting."""
        connection = http.client.HTTPConnection(self.host, PORT, timeout=60)
        try:
            connection.request("GET", f"/api/v1/{question}")
            answer = connection.getresponse()
            text = answer.read()
            return json.loads(text)["data"] if answer.status == 200 else {"result": [], "alerts": []}
        except OSError:
            return {"result": [], "alerts": []}
        finally:
            connection.close()

    def firing(self):
        """Alerts that fire, as (labels, annotations)."""
        return [(alert["labels"], alert["annotations"]) for alert in self.ask("alerts")["alerts"]
                if alert["state"] == "firing"]
