#!/usr/bin/env bash
# What building for the target takes, beyond tools/setup.sh, which must have run: the cross compiler, the libraries for it
# and libfrr. Silent when there is nothing to do.
set -euo pipefail
cd "$(dirname "$0")/.."
mapfile -t packages < <(sed 's/#.*//' third_party/powerpc/packages.txt | awk 'NF { print $1 }')
tools/setup.sh "${packages[@]}"
third_party/powerpc/build.sh
third_party/frr/build.sh --target
