#!/bin/bash
# Saves what a meter's screen shows as a PNG file, over TCP, with the program nc (Debian package
# netcat-openbsd):
#
#     $ ./save_screen.sh 192.168.1.50 screen.png
set -euo pipefail

if [ $# -lt 2 ]; then
    echo "usage: $0 HOST FILE [PORT]" >&2
    exit 2
fi
host=$1
file=$2
port=${3:-5025}

# The reply is a block: #, the number of digits of its size, its size, its bytes. A query that fails
# answers nothing, so a second one on the same line asks for the error, which then comes alone.
save() {
    local start size
    start=$(head -c 2)
    case $start in
    '#'[1-9])
        size=$(head -c "${start#?}")
        head -c "$size" >"$file"
        cat >/dev/null # what is left: that there was no error
        [ "$(wc -c <"$file")" -eq "$size" ]
        ;;
    ?*)
        echo "$host: $start$(head -n 1)" >&2
        return 1
        ;;
    *)
        return 1
        ;;
    esac
}

if ! printf '*CLS;:HCOP:SDUM:DATA?;:SYST:ERR?\n' | timeout 20 nc -N "$host" "$port" | save; then
    echo "$host sends no picture" >&2
    exit 1
fi
