#!/usr/bin/env bash
# Sets up, builds for the target and for this machine, and runs run.py: ./test --target [PART...]
set -euo pipefail
cd "$(dirname "$0")/../.."
tools/setup.sh
tools/setup_target.sh
tools/build.sh dev {platform,gpon,shell,sim,tests/target}/all
tools/build.sh target
exec /usr/bin/python3 -B tests/target/run.py "$@"
