#!/bin/bash
# Reads the forward power of both channels of a meter over TCP, with the program lxi (Debian package
# lxi-tools):
#
#     $ ./read_power.sh 192.168.1.50
#     channel 1: 25 W
#     channel 2: -220,"Parameter error;No sensor connected on the channel"
set -euo pipefail

if [ $# -lt 1 ]; then
    echo "usage: $0 HOST [PORT]" >&2
    exit 2
fi
host=$1
port=${2:-5025}

# Sends a line and prints its reply without the line's end.
ask() {
    local reply
    reply=$(lxi scpi --raw --address "$host" --port "$port" --timeout 8 "$1")
    echo "${reply%$'\r'}"
}

for channel in 1 2; do
    # A query that fails answers nothing, so a second one on the same line asks for the error: the
    # reply is the power and "no error", or the error alone. *CLS forgets the errors of earlier lines.
    if ! reply=$(ask "*CLS;:MEAS:AVER? $channel;:SYST:ERR?") || [ -z "$reply" ]; then
        echo "$host does not answer" >&2
        exit 1
    fi
    case $reply in
    *';0,"No error"') echo "channel $channel: ${reply%%;*} W" ;;
    *) echo "channel $channel: $reply" ;;
    esac
done
