#!/usr/bin/env bash
# clang-tidy on every source that the clang preset compiles, and shellcheck on every script. Any finding fails.
set -euo pipefail

list=$(git ls-files --cached --others --exclude-standard -- '*.cpp')
mapfile -t sources < <(
    while read -r source; do
        ! grep -qF "/$source\"" build/clang/compile_commands.json || echo "$source"
    done <<<"${list:?There are no sources.}"
)
[ ${#sources[@]} -gt 0 ] || { echo "The clang preset compiles nothing." >&2; exit 1; }
printf '%s\0' "${sources[@]}" |
    xargs -0 -n 1 -P "$(nproc)" clang-tidy -p build/clang --quiet --warnings-as-errors='*' 2>/dev/null
list=$(git ls-files --cached --others --exclude-standard -- dev .ci/run '*.sh' 'packaging/macos/scripts/*')
mapfile -t scripts <<<"${list:?There are no scripts.}"
shellcheck "${scripts[@]}"
echo "${#sources[@]} sources and ${#scripts[@]} scripts have no finding"
