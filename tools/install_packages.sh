#!/usr/bin/env bash
# Installs packages, as root, without a service of theirs left running or enabled: tools/install_packages.sh PACKAGE...
# The one that has a service is snmpd: the sandboxes run it with a configuration of their own.
set -euo pipefail
policy=/usr/sbin/policy-rc.d # asked by every package before it starts a service
kept=$policy.kept-by-gpon
mark="of gpon's setup"

refuse_start() {
    release_start # of a run that was killed
    [ ! -e $policy ] || mv $policy $kept
    printf '#!/bin/sh\n# %s\ncase " $* " in *" snmpd "* | *" snmpd.service "*) exit 101 ;; esac\n' "$mark" >$policy
    printf '[ ! -x %s ] || exec %s "$@"\n' $kept $kept >>$policy
    chmod 755 $policy
}

release_start() {
    if grep -qs "$mark" $policy; then
        rm $policy
    fi
    [ ! -e $kept ] || mv $kept $policy
}

# A new service is enabled by its installation.
disable_service() {
    if command -v systemctl >/dev/null; then
        systemctl disable snmpd.service
    elif command -v update-rc.d >/dev/null; then
        update-rc.d snmpd disable
    fi
}

case " $* " in
*" snmpd "*)
    trap release_start EXIT
    refuse_start
    ;;
esac
apt-get update
DEBIAN_FRONTEND=noninteractive apt-get -o APT::Keep-Downloaded-Packages=false install -y --no-install-recommends "$@"
case " $* " in
*" snmpd "*) disable_service ;;
esac
