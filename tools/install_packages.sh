#!/usr/bin/env bash
# Installs packages, as root, without a service of theirs left running or enabled: tools/install_packages.sh PACKAGE...
# Those that have one are snmpd, snmptrapd and tftpd-hpa: the sandboxes run them with configurations of their own.
set -euo pipefail
policy=/usr/sbin/policy-rc.d # asked by every package before it starts a service
kept=$policy.kept-by-gpon
mark="of gpon's setup"
services=()
for package in "$@"; do
    case $package in snmpd | snmptrapd | tftpd-hpa) services+=("$package") ;; esac
done

refuse_start() {
    release_start # of a run that was killed
    [ ! -e $policy ] || mv $policy $kept
    printf '#!/bin/sh\n# %s\n' "$mark" >$policy
    for service in "${services[@]}"; do
        printf 'case " $* " in *" %s "* | *" %s."*) exit 101 ;; esac\n' "$service" "$service" >>$policy
    done
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
disable_services() {
    for service in "${services[@]}"; do
        if command -v systemctl >/dev/null; then
            systemctl disable "$service.service"
            [ "$service" != snmptrapd ] || systemctl disable snmptrapd.socket
        elif command -v update-rc.d >/dev/null; then
            update-rc.d "$service" disable
        fi
    done
}

if [ "${#services[@]}" -gt 0 ]; then
    trap release_start EXIT
    refuse_start
fi
apt-get update
DEBIAN_FRONTEND=noninteractive apt-get -o APT::Keep-Downloaded-Packages=false install -y --no-install-recommends "$@"
disable_services
