#!/usr/bin/env bash
# Runs all benchmarks and prints one table of their figures beside what is wanted of them.
#
#   bench/all.sh [NAME...]        (GPON_BUILD_DIR chooses the build, build/release if unset; NAME: some of them only)
#
# What each printed stays in bench-results of the build directory. The whole takes three quarters of an hour on two quiet
# cores; the first run makes the table files of the full chassis, two minutes more.
set -uo pipefail
repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export GPON_BUILD_DIR=${GPON_BUILD_DIR:-$repo/build/release}
export PYTHONDONTWRITEBYTECODE=1
results=$GPON_BUILD_DIR/bench-results
programs=$GPON_BUILD_DIR/bench
mkdir -p "$results"

# name, then the command; a program of the benches without a log.
benches=(
    "ptree $programs/ptree_bench --table --benchmark_min_time=0.02 --benchmark_repetitions=5"
    "mib_access $programs/mib_access_bench --table --benchmark_min_time=0.03 --benchmark_repetitions=9"
    "table_file $programs/table_file_bench"
    "table_module $programs/table_module_bench"
    "startup $repo/bench/startup.py 10"
    "snmp_walk $repo/bench/snmp_walk.py --turns 3 --cores one"
    "ipc $programs/ipc_bench --benchmark_counters_tabular=true"
    "hal $programs/hal_bench"
    "event_flood $repo/bench/event_flood.py 3"
    "gponsh $repo/bench/gponsh.py"
    "alarm $programs/alarm_bench"
    "alarm_storm $repo/bench/alarm_storm.py"
    "onu_state $programs/onu_state_bench"
    "provision $programs/provision_bench --cores 1 14"
    "remote $programs/remote_bench 14"
    "qinq $programs/qinq_bench 14"
    "qos $programs/qos_bench 14"
    "batch $programs/batch_bench 8"
    "learn $programs/learn_bench"
    "pm $programs/pm_bench 14"
    "restore_load $repo/bench/restore_load.py 1 14"
    "stopped_card $repo/bench/stopped_card.py"
    "replay_config $repo/bench/replay_config.py"
    "write_terminal $repo/bench/write_terminal.py"
    "home_card $repo/bench/home_card.py"
    "full_chassis $repo/bench/full_chassis.py"
)

wanted() {
    local name
    for name in "${@:2}"; do
        [ "$name" != "$1" ] || return 0
    done
    [ $# -eq 1 ]
}

for bench in "${benches[@]}"; do
    read -r name command <<<"$bench"
    wanted "$name" "$@" || continue
    echo "$name ..." >&2
    log=()
    [[ $command != "$programs"/* ]] || log=(env OV_LOG_FILE=/dev/null)
    status=0
    # shellcheck disable=SC2086 # the command's words
    "${log[@]}" timeout 3000 $command >"$results/$name.txt" 2>"$results/$name.err" || status=$?
    if [ "$status" -ne 0 ]; then
        echo "failed with $status: the end of $results/$name.err says" | tee -a "$results/$name.txt" >&2
        tail -3 "$results/$name.err" >&2
    fi
done
python3 "$repo/bench/all_table.py" "$results"
