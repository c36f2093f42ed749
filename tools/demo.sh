#!/usr/bin/env bash
# Runs inside the sandbox: the simulated chassis, the daemon, the shell. The sandbox ends what is left.
set -euo pipefail
cd "$(dirname "$0")/.."

fail() {
    printf '%s\n' "$*" >&2
    exit 1
}
wait_for() { # FILE PID WHAT LOG
    for _ in $(seq 200); do
        [ -e "$1" ] && return 0
        kill -0 "$2" 2>/dev/null || break
        sleep 0.05
    done
    tail -n 20 "$4" >&2
    fail "$3 didn't come up; see above."
}

mkdir -p /tmp/product
chassis-sim --scenario sim/scenarios/single-board.scn >/tmp/chassis-sim.out 2>&1 &
wait_for /var/run/chassis-sim.ctl $! "The simulated chassis" /tmp/chassis-sim.out
gpon >/tmp/gpon.out 2>&1 &
wait_for /var/run/gpon.vty $! "The daemon" /tmp/gpon.out

if [ -t 0 ]; then
    cat <<'TXT'
A single-board QRX4100 is up. Type "show slot info" or "show mib table"; "exit" takes it down.
From another terminal: ./run --exec simctl help, ./run --exec cat /tmp/product/gpon.log
TXT
fi
gponsh
