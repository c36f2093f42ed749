#!/usr/bin/env bash
# Configures and builds a preset (default dev): tools/build.sh [PRESET [TARGET...]]. Prints nothing when all is
# well; the compiler's output when it isn't.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-dev}
shift || true
dir=build/$preset
mkdir -p "$dir"
log=$dir/build.log

if [ ! -f "$dir/build.ninja" ] && ! cmake --preset "$preset" >"$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi
[ -t 2 ] && printf 'Building (%s) ...\r' "$preset" >&2
if ! ninja -C "$dir" "$@" >"$log" 2>&1; then
    grep -v -e '^\[[0-9]*/[0-9]*\] ' -e '^ninja: Entering' -e '^: && ' -e '^/usr/bin/cmake -E env' "$log" >&2 || true
    exit 1
fi
[ -t 2 ] && printf '\033[K' >&2
exit 0
