#!/usr/bin/env bash
# clang-format and clang-tidy over the C++ files changed since main's previous commit, or over all: tools/lint.sh [--all]
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "${1:-}" = --all ]; then
    mapfile -t files < <(git ls-files '*.cpp' '*.h')
else
    mapfile -t files < <({ git diff --name-only HEAD~1; git ls-files -o --exclude-standard; } | grep -E '\.(cpp|h)$' | sort -u)
fi
[ "${#files[@]}" -gt 0 ] || exit 0
clang-format --dry-run -Werror "${files[@]}"
sources=$(printf '%s\n' "${files[@]}" | grep '\.cpp$' || true)
[ -z "$sources" ] || printf '%s\n' "$sources" | xargs -P2 -n4 clang-tidy -p build/dev --quiet
# What time it is the daemon asks of ov_clock.h, and timers and alarms go through kavo_timer.h, so that tests can set
# the time. Excepted is what ov_clock.h says.
if git grep -nE '\btime\((nullptr|NULL|0|&)|_clock::now\(|clock_gettime\(|gettimeofday\(' -- gpon hal lib mono ov_gpon |
    grep -vE '^lib/lib_system/(ov_platform_lib/ov_clock\.cpp|common/(crash(Handler|Sections)|ov_product|ov_msg_queue)\.cpp):'; then
    echo "ask ov_clock.h for the time" >&2
    exit 1
fi
if git grep -nE '\b(thread_add_timer(_msec)?|snmp_alarm_(un)?register(_hr)?)\(' -- gpon hal lib mono ov_gpon |
    grep -vE '^lib/(lib_kavo/kavo_timer\.h|snmplib/agentx\.cpp):'; then
    echo "arm timers and alarms through kavo_timer.h and agentx.h" >&2
    exit 1
fi
# The 32-bit target has no 64-bit atomics: they don't link there.
if git grep -nE 'atomic(_ref)?<(std::)?(u?int64_t|u?intmax_t|double|(unsigned )?long long|std::chrono)' -- gpon hal lib mono ov_gpon platform; then
    echo "64-bit atomics don't link on the product's processor" >&2
    exit 1
fi
