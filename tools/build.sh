#!/usr/bin/env bash
# Configures and builds a preset (default dev): tools/build.sh [PRESET [TARGET...]]. Prints nothing when all is
# well; the compiler's output when it isn't.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-dev}
shift || true
dir=build/$preset
log=$dir/build.log

# On a terminal the step that ninja is at; otherwise nothing.
show_progress() {
    if [ -t 2 ]; then
        awk -v name="$preset" '/^\[[0-9]+\/[0-9]+\]/ { printf "\rBuilding (%s) %s \033[K", name, $1 >"/dev/stderr" }'
        printf '\r\033[K' >&2
    else
        cat >/dev/null
    fi
}

# What ninja would do it would do in the place that was configured, not here.
forget_other_place() {
    local place
    place=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$dir/CMakeCache.txt" 2>/dev/null) || return 0
    if [ -n "$place" ] && ! [ "$place" -ef . ]; then
        echo "This tree was copied or moved: $dir builds $place, so it is made anew." >&2
        rm -rf "$dir"
    fi
}

forget_other_place
mkdir -p "$dir"
[ -f "$dir/build.ninja" ] ||
    echo "Building (preset $preset) for the first time: this takes some minutes." >&2
# What a preset says is read only then.
if [ ! -f "$dir/build.ninja" ] || [ CMakePresets.json -nt "$dir/build.ninja" ]; then
    if ! cmake --preset "$preset" >"$log" 2>&1; then
        cat "$log" >&2
        exit 1
    fi
fi
if ! ninja -C "$dir" "$@" 2>&1 | tee "$log" | show_progress; then
    grep -v -e '^\[[0-9]*/[0-9]*\] ' -e '^ninja: Entering' -e '^: && ' -e '^/usr/bin/cmake -E env' "$log" >&2 || true
    exit 1
fi
