#!/usr/bin/env bash
# Formats the sources; with --check only says which are not formatted, and fails if any is not. Versions of clang-format
# differ in what they make of the same style, so one version is named.
set -euo pipefail

list=$(git ls-files --cached --others --exclude-standard -- '*.cpp' '*.h' '*.mm' '*.m')
mapfile -t sources <<<"${list:?There are no sources.}"
case ${1-} in
--check) clang-format-19 --dry-run --Werror "${sources[@]}" && echo "${#sources[@]} files are formatted" ;;
'') clang-format-19 -i "${sources[@]}" ;;
*)
    echo "usage: ./dev format [--check]" >&2
    exit 2
    ;;
esac
