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
# The 32-bit target has no 64-bit atomics: they don't link there.
if git grep -nE 'atomic(_ref)?<(std::)?(u?int64_t|u?intmax_t|double|(unsigned )?long long|std::chrono)' -- gpon hal lib mono ov_gpon platform; then
    echo "64-bit atomics don't link on the product's processor" >&2
    exit 1
fi
