#!/bin/bash
# Builds the meter's remote control with an installed SCPI library and runs its tests. "lacking" takes
# the extensions out of the installed library first: then the configuration says what is missing, and
# the commands work as far as they can.
# Usage: build-meter.sh CMAKE BUILD whole|lacking SOURCE FOLDER CMAKE-OPTION...
set -euo pipefail
cmake=$1 build=$2 library=$3 source=$4 folder=$5
shift 5

export CCACHE_SLOPPINESS=pch_defines,time_macros # as in tools/build

lack_extensions() {
    local include=$folder/prefix/include/scpi
    sed -i '/"scpi\/options.h"/d' "$include/scpi.h"
    rm "$include/options.h"
    # Found by its header and library, too.
    rm "$(find "$folder/prefix" -name libscpi.pc)"
    objcopy --localize-symbol=SCPI_EventClear "$(find "$folder/prefix" -name libscpi.a)"
}

expect() {
    grep -q "$1" "$folder/configured" || {
        echo "the configuration does not say: $1" >&2
        cat "$folder/configured" >&2
        exit 1
    }
}

# The prefix stays where nothing in it is altered: what has not changed is not built again.
[ "$library" = whole ] || rm -rf "$folder/prefix"
mkdir -p "$folder"
"$cmake" --install "$build" --component scpi --prefix "$folder/prefix" >"$folder/installed"
[ "$library" = whole ] || lack_extensions

"$cmake" -S "$source" -B "$folder/build" -DQUORVEL_SCPI=system \
    -DCMAKE_PREFIX_PATH="$folder/prefix" "$@" >"$folder/configured" 2>&1 || {
    cat "$folder/configured" >&2
    exit 1
}
tests=.
if [ "$library" = whole ]; then
    expect "SCPI parser library: libscpi .* in $folder/prefix"
    if grep "The installed SCPI library" "$folder/configured"; then
        echo "the configuration misses what is there" >&2
        exit 1
    fi
else
    expect "SCPI parser library: $folder/prefix.*libscpi.a"
    expect "has no SCPI_SetOptions"
    expect "does not define SCPI_EventClear"
    tests='ScpiCommands\.(ClearTheStatus|AnswerTheCommonQueries)'
fi
"$cmake" --build "$folder/build" --target unit_remote --parallel 2
ctest --test-dir "$folder/build/tests/unit/remote" -R "$tests" -j2 --output-on-failure \
    --no-tests=error
