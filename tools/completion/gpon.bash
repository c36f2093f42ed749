# Bash completion of gpon's programs: options, files, and what can be asked of a daemon or a chassis that runs.
# shellcheck shell=bash

# _gpon_words WORD...: those that begin with what stands at the cursor.
_gpon_words() {
    mapfile -t COMPREPLY < <(compgen -W "$*" -- "${COMP_WORDS[COMP_CWORD]}")
}

_gpon_files() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "${COMP_WORDS[COMP_CWORD]}")
}

# _gpon_value OPTION: the value of -x VALUE that was typed already.
_gpon_value() {
    local i
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${COMP_WORDS[i]} in "$1" | "$2") printf '%s\n' "${COMP_WORDS[i + 1]}" ;; esac
    done
}

# An operator's line in quotation marks: the words up to the first that isn't a keyword.
_gpon_lines() {
    local socket typed=${COMP_WORDS[COMP_CWORD]#[\"\']}
    socket=$(_gpon_value -s --socket)
    local IFS=$'\n'
    # shellcheck disable=SC2016 # awk's own
    mapfile -t COMPREPLY < <(compgen -W "$(gponsh ${socket:+-s$IFS"$socket"} -c list 2>/dev/null </dev/null |
        awk '{ line = ""; for (i = 1; i <= NF && $i ~ /^[a-z0-9_-]+$/; i++) line = line (line == "" ? "" : " ") $i
               if (line != "" && !seen[line]++) print line }')" -- "$typed")
}

_gpon_gpon() {
    _gpon_words -d --daemon --help --version
}

_gpon_gponsh() {
    case ${COMP_WORDS[COMP_CWORD - 1]} in
    -s | --socket | -f | --file) _gpon_files ;;
    -c | --command) _gpon_lines ;;
    *) _gpon_words -s --socket -c --command -f --file --apply --check -h --help ;;
    esac
}

_gpon_chassis_sim() {
    case ${COMP_WORDS[COMP_CWORD - 1]} in
    --scenario)
        _gpon_files
        mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -G "/usr/share/gpon/scenarios/${COMP_WORDS[COMP_CWORD]}*.scn")
        ;;
    --control | --capture) _gpon_files ;;
    --carrier) _gpon_words unix tipc ;;
    --byte-order) _gpon_words big little ;;
    *) _gpon_words --scenario --control --carrier --byte-order --capture --check --help ;;
    esac
}

# The commands of the chassis that runs, else those that any has.
_gpon_simctl_commands() {
    local control asked
    control=$(_gpon_value --control)
    asked=$(simctl ${control:+--control "$control"} help 2>/dev/null | sed -n 's/^\([a-z][a-z-]*\).*/\1/p')
    printf '%s\n' "${asked:-help records count wait mark note clear-records controller hostname connections event types
        frame raw replay stages connect-async close fault fault-names faults clear-faults card show card-types
        card-board card-records card-fault card-fault-names card-faults clear-card-faults card-event card-frame card-raw
        onu uni phone sip-server poe upgrade optics traffic errors fibre compare status env env-unset product-facts
        mono-ready monitor heartbeats delay quit}"
}

_gpon_simctl() {
    local first=1
    [ "${COMP_WORDS[1]-}" != --control ] || first=3
    if [ "${COMP_WORDS[COMP_CWORD - 1]}" = --control ]; then
        _gpon_files
    elif [ "$COMP_CWORD" -le $first ]; then
        # shellcheck disable=SC2046 # a word each
        _gpon_words --control --help $(_gpon_simctl_commands)
    elif [ "${COMP_WORDS[first]}" = help ]; then
        # shellcheck disable=SC2046
        _gpon_words $(_gpon_simctl_commands)
    fi
}

_gpon_sandbox() {
    case ${COMP_WORDS[COMP_CWORD - 1]} in
    --bind | --pid-file) _gpon_files ;;
    --enter) mapfile -t COMPREPLY < <(pgrep -x gpon-sandbox) ;;
    *)
        _gpon_words --bind --pid-file --hold --enter --help --
        [ "${#COMPREPLY[@]}" -gt 0 ] || mapfile -t COMPREPLY < <(compgen -c -- "${COMP_WORDS[COMP_CWORD]}")
        ;;
    esac
}

_gpon_support() {
    case ${COMP_WORDS[COMP_CWORD - 1]} in
    --output | --log | --socket) _gpon_files ;;
    *) _gpon_words --output --log --socket --wait --blanked --help ;;
    esac
}

_gpon_exporter() {
    case ${COMP_WORDS[COMP_CWORD - 1]} in
    --listen) _gpon_words 127.0.0.1:9747 unix: ;;
    --vty) _gpon_files ;;
    *) _gpon_words -h --help --listen --vty --timeout --onus --once ;;
    esac
}

complete -F _gpon_gpon gpon
complete -F _gpon_support gpon-support
complete -F _gpon_exporter gpon-exporter
complete -F _gpon_gponsh gponsh
complete -F _gpon_chassis_sim chassis-sim
complete -F _gpon_simctl simctl
complete -o default -F _gpon_sandbox gpon-sandbox
