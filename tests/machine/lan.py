"""The network: clients that vanish, addresses that change, a thousand connections."""
import re
import time

from command_port import CommandPort
from machine import eventually

GIVEN_UP_S = 40
"""A client that has vanished is given up within 30 s; the counting takes a moment."""


def lan(stage):
    """A thousand connections, a client that vanishes, another address, the LAN dialog's Apply."""
    stage.boot_with_meter()
    stage.reference.do("wait", "noConnection.title", "No Sensor Detected", "60s")
    a_thousand_connections(stage)
    a_client_vanishes(stage)
    the_address_changes(stage)
    the_dialog_restarts_the_network(stage)


def a_thousand_connections(stage):
    before = stage.machine.do("ls /proc/$(pidof QuorvelPowerMeterApp)/fd | wc -l").strip()
    begun = time.monotonic()
    told = sum(stage.ask("*IDN?").startswith("QUORVEL") for _ in range(1000))
    took_s = time.monotonic() - begun
    stage.check("1,000 connections are served", told == 1000, f"{told} in {took_s:.0f} s")
    same = lambda: stage.machine.do("ls /proc/$(pidof QuorvelPowerMeterApp)/fd | wc -l").strip() == before
    eventually(f"{before} descriptors", same)
    stage.check("its descriptors are as many as before", True, before)


def connections(stage):
    return stage.machine.do("ss -Htn state established '( sport = :5025 )'").strip()


def a_client_vanishes(stage):
    client = stage.machine.scpi()
    client.ask("*IDN?")
    stage.machine.ask_monitor("set_link nic off")
    begun_s = stage.uptime()
    eventually("the client is given up", lambda: not connections(stage), 5 * GIVEN_UP_S, 0.5)
    took_s = stage.uptime() - begun_s
    stage.machine.ask_monitor("set_link nic on")
    stage.check("a client that vanishes is given up", took_s < GIVEN_UP_S, f"{took_s:.0f} s")
    client.end()
    eventually("another one is served", stage.is_answering)
    stage.check("another one is served", True)


def the_address_changes(stage):
    client = stage.machine.scpi()
    client.ask("*IDN?")
    stage.machine.do("ip addr del 10.0.2.15/24 dev eth0; ip addr add 10.0.2.77/24 dev eth0")
    begun_s = stage.uptime()
    eventually("the client is given up", lambda: not connections(stage), 5 * GIVEN_UP_S, 0.5)
    took_s = stage.uptime() - begun_s
    is_soon = took_s < GIVEN_UP_S
    stage.check("a client of an address that has gone is given up", is_soon, f"{took_s:.0f} s")
    client.end()
    port = CommandPort(stage)
    told = lambda: "10.0.2.77" in port.ask("SYST:COMM:LAN:ADDR?\n")
    eventually("the new address is told", told)
    stage.check("the new address is told on the command port", True)
    port.end()
    stage.machine.do("ip addr del 10.0.2.77/24 dev eth0; ip addr add 10.0.2.15/24 dev eth0")
    eventually("the old address serves again", stage.is_answering)


def touch(stage, *widgets):
    """On the machine, where the light bench has them; there, too."""
    for widget in widgets:
        point = stage.reference.point_of(widget)
        stage.reference.do("tap", point)
        stage.tap(point)
        time.sleep(0.5)


def addresses(stage):
    return set(re.findall(r"inet ([\d.]+)/", stage.machine.do("ip -4 -o addr show dev eth0")))


def the_dialog_restarts_the_network(stage):
    """Static, with another address; and back to what DHCP gives."""
    keys = ["numKeypadButton" + {".": "Period"}.get(key, key) for key in "10.0.2.40"]
    touch(stage, "ethernetButton", "ethInfoDialog_configure", "ethSettingsRadioButton2")
    touch(stage, "ethSettingsEntryAddress", *keys)
    stage.picture("static address")
    touch(stage, "ethSettingsDialog_apply")
    eventually("the network has the dialog's address", lambda: "10.0.2.40" in addresses(stage))
    kept = stage.machine.do("cat /etc/network/interfaces")
    is_kept = "iface eth0 inet static\n    address 10.0.2.40\n" in kept
    stage.check("Apply restarts the network with the dialog's address, and keeps it", is_kept)
    port = CommandPort(stage)
    told = lambda: "10.0.2.40" in port.ask("SYST:COMM:LAN:ADDR?\n")
    eventually("the dialog's address is told", told)
    port.send("SYST:COMM:LAN:DHCP ON;:SYST:COMM:LAN:REST\n")
    has_its_own = lambda: addresses(stage) == {"10.0.2.15", "192.168.2.1"}
    eventually("the network has DHCP's address", has_its_own)
    eventually("remote control", stage.is_answering)
    stage.check("and over the command port back to DHCP", True)
    port.end()
