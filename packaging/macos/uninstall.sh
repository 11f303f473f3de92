#!/bin/sh
# Undoes the package's install: runs the hook's removal, then removes what the package installed and its receipt.
# Run it as root. It needs no arguments, can be run again after an interruption, and removes nothing else: the folder it
# lies in goes only when it is empty, and the folders above stay.
set -eu
PATH=/usr/bin:/bin:/usr/sbin:/sbin
export PATH

folder="/Library/Application Support/Korvane/HCDCustomHook"
tool=$folder/HCDCustomHook
receipt=com.korvane.hcdcustomhook

fail() {
    printf 'uninstall.sh: %s\n' "$1" >&2
    exit 1
}

run_hook() {
    if [ ! -f "$tool" ] || [ ! -x "$tool" ]; then
        fail "$tool is not an executable program; nothing was removed."
    fi
    "$tool" || fail "$tool did not complete, it ended with status $?; nothing was removed."
}

forget_receipt() {
    pkgutil --pkg-info "$receipt" >/dev/null 2>&1 || return 0
    pkgutil --forget "$receipt" >/dev/null ||
        fail "The receipt $receipt could not be forgotten; run this script again."
}

[ "$(id -u)" -eq 0 ] || fail "Only root can remove HCDCustomHook; run this script with sudo."

# Without the tool an earlier run came at least as far as removing it, after the hook had done its part.
[ ! -e "$tool" ] || run_hook
rm -f "$tool"
forget_receipt
rm -f "$folder/uninstall.sh"
rmdir "$folder" 2>/dev/null || true
