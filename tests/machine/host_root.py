"""A machine whose root is this one's, read-only, with a file system in memory over it."""
import os
import subprocess

from machine import Boot, shared_folder

HERE = os.path.dirname(os.path.realpath(__file__))


def prepared():
    """The folder with kernel and first root file system."""
    run = subprocess.run([HERE + "/prepare"], stdout=subprocess.PIPE, text=True, check=False)
    if run.returncode != 0:
        raise SystemExit(run.returncode)
    return run.stdout.strip()


def boot_of_host_root(ready, init="init", more_words=""):
    words = (
        "panic=-1 mitigations=off tsc=unstable"
        f" machine_init={HERE}/guest/{init} machine_kernel={ready} {more_words}"
    )
    hardware = "-m 1536 -no-reboot -display none".split() + shared_folder("host", "/", "readonly=on")
    return Boot(ready + "/vmlinuz", ready + "/initrd", words, hardware)
