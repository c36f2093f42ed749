#!/usr/bin/env bash
# Runs inside the sandbox: the simulated chassis, snmpd, the daemon, then the operator's shell, or with --demo the tour
# that types and checks itself. The sandbox ends what is left. What makes up the chassis runs in sessions of its own, where
# the keys that are pressed at the shell (Ctrl-C, Ctrl-Z, Ctrl-\) don't reach it.
#   tools/demo.sh                  the shell
#   tools/demo.sh --demo [TOUR]    the tour, or another one
set -euo pipefail
cd "$(dirname "$0")/.."
export PATH=$PWD/tools/demo/bin:$PATH
control=/var/run/chassis-sim.ctl
vty=/var/run/gpon.vty
agentx=/var/agentx/master

fail() { # LOG TEXT
    [ ! -e "$1" ] || tail -n 20 "$1" >&2
    printf '%s\n' "$2" >&2
    exit 1
}
wait_for() { # FILE PID WHAT LOG
    for _ in $(seq 2400); do # two minutes
        [ -e "$1" ] && return 0
        kill -0 "$2" 2>/dev/null || break
        sleep 0.05
    done
    fail "$4" "$3 didn't come up; see above."
}

# Managers may read with the community "public" and write with "private", from inside only.
start_snmpd() {
    mkdir -p /tmp/snmp/kept /var/lib/snmp/cert_indexes # the manager's tools would make the second one, with a word
    cat >/tmp/snmp/snmpd.conf <<'CONF'
agentAddress udp:127.0.0.1:161
rocommunity public 127.0.0.1
rwcommunity private 127.0.0.1
master agentx
agentXTimeout 15
agentXRetries 0
CONF
    # nothing of the machine's own configuration; what it keeps is a file of the same name, in a place of its own
    SNMPCONFPATH=/tmp/snmp SNMP_PERSISTENT_DIR=/tmp/snmp/kept MIBS='' \
        setsid /usr/sbin/snmpd -C -c /tmp/snmp/snmpd.conf -f -Lo >/tmp/snmp/snmpd.out 2>&1 &
    wait_for $agentx $! "snmpd" /tmp/snmp/snmpd.out
}

# Whether the shell is to be left for good. The end of the input is a yes: nobody is there to ask.
leave_wanted() {
    local answer=
    trap 'echo; return 1' INT
    read -r -p "This takes the chassis down. Leave? [y/N] " answer || {
        echo
        return 0
    }
    [[ $answer = [yY]* ]]
}

# An operator's shell on the terminal. Ctrl-\ means nothing; Ctrl-Z stops the shell alone; gponsh takes Ctrl-C.
keep_shell() {
    trap '' QUIT
    while :; do
        trap : INT
        gponsh || true
        ! leave_wanted || return 0
    done
}

# A tour may have a chassis of its own.
scenario=sim/scenarios/$(basename "${2:-demo}" .txt).scn
[ -e "$scenario" ] || scenario=sim/scenarios/demo.scn
mkdir -p /tmp/product
setsid chassis-sim --scenario "$scenario" >/tmp/chassis-sim.out 2>&1 &
wait_for $control $! "The simulated chassis" /tmp/chassis-sim.out
start_snmpd
setsid tools/demo/keep-daemon $vty >/tmp/gpon.out 2>&1 &
wait_for $vty $! "The daemon" /tmp/gpon.out
simctl wait timeout=120000 kind=note text=in-service >/dev/null ||
    fail /tmp/product/gpon.log "The line cards didn't come into service; see above."
# The daemon has been told of them; it knows them when it says so.
for _ in $(seq 2400); do # two minutes
    [ "$(gponsh -c 'show slot info' | grep -cE '^ +[12] +lc +27 +yes +yes')" -ne 2 ] || break
    sleep 0.05
done

case ${1:-} in
--demo)
    tools/demo/tour.py --play ${2:+--tour "$2"} || fail /tmp/product/gpon.log "The tour failed; above are the last lines of the daemon's log."
    ;;
*)
    if [ -t 0 ]; then
        echo "A QRX4100 with two line cards and twelve ONUs is up."
        tour
        keep_shell
    else
        gponsh
    fi
    ;;
esac
