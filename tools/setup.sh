#!/usr/bin/env bash
# Installs the Debian packages that the given purposes need and that are missing. Quick when none is. Debian 12 and 13 have
# packages of all these names.
set -euo pipefail

declare -A packages=(
    [build]="g++ cmake ninja-build pkg-config libxml2-dev libplist-dev libsystemd-dev"
    [run]="bubblewrap"
    [test]="libgtest-dev libgmock-dev"
    [foundation]="gobjc++ libgnustep-base-dev make"
    [machines]="g++-12-multilib g++-aarch64-linux-gnu qemu-user googletest clang libc++-dev libc++abi-dev"
    [consumer]="bubblewrap clang g++-12-multilib"
    [bare]="debootstrap git"
    [bench]=""
    [check]="git clang clang-format-19 clang-tidy shellcheck"
)

missing=()
for purpose in "$@"; do
    for package in ${packages[$purpose]}; do
        state=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
        [ "$state" = installed ] || missing+=("$package")
    done
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "These packages are missing: ${missing[*]}. Install them as root, or install sudo, and try again." >&2
        exit 1
    fi
    as_root=(sudo)
fi
echo "Installing ${missing[*]}" >&2
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
    "${missing[@]}" >/dev/null
