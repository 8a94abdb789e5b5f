"""quorvel-fleet run with a crowd of meters and an export, and what its database says."""

import os
import sqlite3
import sys

sys.path.insert(0, os.path.dirname(os.path.realpath(__file__)) + "/../web")
from running_fleet import Fleet, eventually  # noqa: E402

FORWARD = "forward_W"


class ExportingFleet(Fleet):
    """Exports to port 8428 of a host; `target` is the rest of the url."""

    def __init__(self, programs, receiver, meters, network, batch=5000, user="",
                 target="/write?precision=ms", crowd=(), more="", every="20ms"):
        self.meters = meters
        head = (f'listen = "LISTEN"\nevery = "{every}"\n[export]\n'
                f'url = "http://{user}{receiver}:8428{target}"\nbatch = {batch}\n')
        listed = "".join(f'[[meter]]\naddress = "METER{i}"\n' for i in range(1, meters + 1))
        super().__init__(programs, head + listed + more, meters, crowd, network)
        self.wait_until_served()

    def query(self, text):
        database = sqlite3.connect(self.database, timeout=10)
        try:
            return database.execute(text).fetchall()
        finally:
            database.close()

    def number(self, text):
        return self.query(text)[0][0]

    def waiting(self):
        return self.number("SELECT count(*) FROM export_queue")

    def stored(self):
        """All stored readings as (meter, channel, time in ms, forward power)."""
        return {(meter, str(channel), time, forward)
                for meter, channel, time, forward in self.query(
                    f"SELECT meter, channel, time_ms, {FORWARD} "
                    "FROM raw JOIN sources ON source = id")}

    def are_all_measuring(self):
        try:
            meters = self.json("/api/meters")["meters"]
        except OSError:
            return False  # it was started just now
        return {meter["state"] for meter in meters} == {"measuring"}

    def settle(self):
        """No more readings come, and all are with the receiver."""
        eventually(self.are_all_measuring)
        gone = "SELECT count(*) FROM events WHERE kind = 'meter gone'"
        before = self.number(gone)
        self.end_crowd()
        # Once the meters are noticed to be gone, what was read is stored.
        eventually(lambda: self.number(gone) >= before + self.meters)
        eventually(lambda: self.waiting() == 0)
