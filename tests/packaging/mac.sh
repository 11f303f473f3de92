#!/bin/bash
# Stands in for a Mac's command by whose name it is called. It lies in a folder bin; beside that folder it records each
# call as a line of calls, and looks for what the test wants of it:
#
#   fail-NAME    the command called NAME prints this and ends with status 1
#   print-NAME   what the command called NAME prints
#
# `cmake` has names of its own: cmake-version, cmake-configure-tool, cmake-configure-tests, cmake-build-tool and
# cmake-build-tests. A build leaves the programs that were put into built/.
set -euo pipefail
PATH=/usr/bin:/bin

name=${0##*/}
place=$(cd "$(dirname "$0")/.." && pwd)
last=${!#}
{
    printf '%s' "$name"
    printf ' <%s>' "$@"
    echo
} >>"$place/calls"

folder_of_build() {
    while [[ $1 != -B ]]; do shift; done
    printf '%s' "${2##*/}"
}

case $name in
cmake)
    case $1 in
    --version) name=cmake-version ;;
    --build) name=cmake-build-${last##*/} ;;
    *) name=cmake-configure-$(folder_of_build "$@") ;;
    esac
    ;;
codesign) name=codesign$1 ;;
esac
if [[ -e $place/fail-$name ]]; then
    cat "$place/fail-$name"
    exit 1
fi
if [[ $name == cmake-build-tool ]]; then
    mkdir -p "$last/bin"
    cp -p "$place"/built/* "$last/bin"
fi
[[ ! -e $place/print-$name ]] || cat "$place/print-$name"
