#!/usr/bin/env bash
# clang-format and clang-tidy over the C++ files changed since main's previous commit, or over all: tools/lint.sh [--all]
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "${1:-}" = --all ]; then
    mapfile -t files < <(git ls-files '*.cpp' '*.h')
else
    mapfile -t files < <({ git diff --name-only HEAD~1; git ls-files -o --exclude-standard; } | grep -E '\.(cpp|h)$' | sort -u)
fi
[ "${#files[@]}" -gt 0 ] || exit 0
clang-format --dry-run -Werror "${files[@]}"
sources=$(printf '%s\n' "${files[@]}" | grep '\.cpp$' || true)
[ -z "$sources" ] || printf '%s\n' "$sources" | xargs -P2 -n4 clang-tidy -p build/dev --quiet
