#!/usr/bin/env bash
# What the tests have run of the product, from the counts that the programs of the coverage preset wrote: lines and
# branches per file and in all. ./test --coverage builds, runs all tests and calls this.
#   tools/coverage.sh [ARG]...   ARGs go to gcovr (--html-details FILE, --filter gpon/, ...)
#   tools/coverage.sh --forget   takes the counts of earlier runs away
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "${1:-}" = --forget ]; then
    find build/coverage -name '*.gcda' -delete
    exit 0
fi
if ! command -v gcovr >/dev/null; then
    echo "tools/coverage.sh needs gcovr (on Debian: apt-get install gcovr)." >&2
    exit 1
fi
[ $# -gt 0 ] || set -- --sort-percentage --txt -
# Both figures without what the compiler makes up: exceptions that may leave a call, code that nothing reaches.
common=(--root . --object-directory build/coverage -j 2 --exclude-throw-branches --exclude-unreachable-branches
    --filter '(gpon|hal|lib|mono|ov_gpon|platform|shell|sim)/')
gcovr "${common[@]}" --json-summary build/coverage/summary.json "$@" build/coverage
/usr/bin/python3 - <<'END'
import json
total = json.load(open("build/coverage/summary.json"))
print("lines {line_percent} %, branches {branch_percent} %".format(**total))
END
