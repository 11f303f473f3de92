#!/bin/bash
# Stands in for the one of Apple's commands by whose name it is called. It lies in a folder bin; beside that folder it
# records each call as a line of calls, and looks for what the test wants of it:
#
#   architectures     what lipo prints; when it is missing, lipo refuses the file
#   fail-NAME         the command called NAME leaves half of its output and ends with status 1
#   fail-cmake-STEP   cmake ends with status 1 at the step -S, which configures, or --build
#   interrupt-NAME    the same, and its caller gets the signal TERM
#
# A component package is an archive of payload/ and scripts/, a product archive one of distribution.xml and components/.
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

# The value of an option of this call.
value() {
    local option=$1
    shift
    while [[ $1 != "$option" ]]; do shift; done
    printf '%s' "$2"
}

archive() {
    local content
    content=$(mktemp -d)
    while [[ $# -gt 0 ]]; do
        cp -Rp "$2" "$content/$1"
        shift 2
    done
    tar -cf "$last" -C "$content" .
    rm -r "$content"
    echo "$name: Wrote package to $last"
}

if [[ -e $place/fail-$name || -e $place/interrupt-$name ]]; then
    printf 'half' >"$last"
    [[ ! -e $place/interrupt-$name ]] || kill -TERM "$PPID"
    exit 1
fi
[[ $name != cmake || ! -e $place/fail-cmake-$1 ]] || exit 1
case $name in
pkgbuild) archive payload "$(value --root "$@")" scripts "$(value --scripts "$@")" ;;
productbuild)
    archive distribution.xml "$(value --distribution "$@")" components "$(value --package-path "$@")"
    ;;
codesign) printf 'signed' >>"$last" ;;
lipo) cat "$place/architectures" ;;
cmake) [[ $1 != --build ]] || install -D -m 755 <(printf 'the built tool') "$2/bin/HCDCustomHook" ;;
esac
