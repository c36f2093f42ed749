#!/usr/bin/env bash
# Sets up, builds and runs the tests in virtual machines: tests/vm/test.sh [amd64|powerpc]... [--only TEXT]
set -euo pipefail
cd "$(dirname "$0")/../.."
processors=()
for word in "$@"; do
    [[ $word =~ ^(amd64|powerpc)$ ]] && processors+=("$word")
done
[ ${#processors[@]} -gt 0 ] || processors=(amd64 powerpc)
targets=(bin/{gpon,gponsh,gpon-sandbox,chassis-sim,simctl,ov_env_get,ov_env_put,ov_check_file}
    unit_{tipc,ov_ipc,hal,ov_heartbeat,ov_common,ov_platform_lib})

mapfile -t packages < <(sed 's/#.*//' third_party/linux/packages.txt | awk 'NF { print $1 }')
tools/setup.sh "${packages[@]}"
tools/build.sh dev "${targets[@]}" # the host's own programs serve the tests of the other processor too
if [[ " ${processors[*]} " = *' powerpc '* ]]; then
    tools/setup_target.sh
    tools/build.sh target "${targets[@]}"
fi
exec tests/vm/run.py "$@"
