#!/bin/bash
# Installs the SCPI library into a folder of its own and builds its example with what is there.
# Usage: build-example.sh CMAKE BUILD EXAMPLE CC CXX
set -euo pipefail
cmake=$1 build=$2 example=$3 cc=$4 cxx=$5

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
"$cmake" --install "$build" --component scpi --prefix "$folder/first" >"$folder/log"
# The installed tree does not depend on its place.
mv "$folder/first" "$folder/moved"
PKG_CONFIG_PATH=$(dirname "$(find "$folder/moved" -name libscpi.pc)")
export PKG_CONFIG_PATH
read -ra flags < <(pkg-config --cflags --libs libscpi)

# answers NAME COMPILER...: what the example's comment says.
answers() {
    local name=$1 answer
    shift
    "$@" "$example" -x none "${flags[@]}" -o "$folder/$name"
    answer=$(printf 'CONF:RANG 500 mV;RANG?;:MEAS:VOLT?\nBOGUS;:SYST:ERR?\n' | "$folder/$name")
    if [ "${answer//$'\r'/}" != $'0.5;0.1234\n-113,"Undefined header;BOGUS;"' ]; then
        echo "$name answers: $answer" >&2
        return 1
    fi
}
answers c99 "$cc" -std=c99 -Wall -Wextra -Werror -x c
answers c++ "$cxx" -std=c++20 -Wall -Wextra -Werror -x c++
echo "built in C and in C++ with: ${flags[*]}"
