#!/usr/bin/env bash
# Installs the Debian packages that the given purposes need and that are missing. Quick when none is. Debian 12 and 13 have
# packages of all these names.
set -euo pipefail
# shellcheck source=tools/common.sh
. tools/common.sh

declare -A packages=(
    [build]="g++ cmake ninja-build pkg-config libxml2-dev libplist-dev libsystemd-dev"
    [run]="bubblewrap"
    [test]="libgtest-dev libgmock-dev ccache"
    [foundation]="gobjc++ libgnustep-base-dev make"
    [clang]="clang"
    [machines]="g++-12-multilib g++-aarch64-linux-gnu qemu-user googletest clang libc++-dev libc++abi-dev ccache"
    [consumer]="bubblewrap clang g++-12-multilib"
    [bare]="debootstrap git"
    [instructions]="bubblewrap valgrind"
    [bench]="libspdlog-dev liblog4cplus-dev gnuplot-nox bsdextrautils"
    [format]="git clang-format-19"
    [tidy]="git clang clang-tidy shellcheck"
)

missing=()
for purpose in "$@"; do
    for package in ${packages[$purpose]}; do
        state=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
        [[ $state == installed* ]] || missing+=("$package")
    done
done
[ ${#missing[@]} -eq 0 ] && exit 0

# The lists have a lock too, which a new system's daily update holds for a while, and apt-get does not wait for it.
update_lists() {
    local tries output
    for ((tries = 0; tries < 30; tries++)); do
        ! output=$("${as_root[@]}" apt-get update 2>&1) || return 0
        [[ $output == *"Could not get lock"* ]] || break
        sleep 10
    done
    printf '%s\n' "$output"
    return 1
}

command="apt-get install --no-install-recommends ${missing[*]}"
as_root=()
if [ "$(id -u)" -ne 0 ]; then
    type -P sudo >/dev/null || fail "Packages are missing and there is no sudo: as root, run $command, then try again."
    as_root=(sudo)
fi
echo "Installing ${missing[*]}" >&2
[ ${#as_root[@]} -eq 0 ] || sudo true ||
    fail "Packages are missing and sudo does not let you install them: as root, run $command, then try again."
log=build/install.log
rm -f "$log"
{
    update_lists &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300 install -y \
            --no-install-recommends "${missing[@]}"
} </dev/null 2>&1 | tee "$log" | tick_lines Installing || {
    ! disk_is_full "$log" || fail "$disk_full"
    grep -E '^(E|Err|W):' "$log" | head -n 5 >&2 || true
    fail "The packages cannot be installed: check the network and /etc/apt, then try again (all that apt-get says is in $log)."
}
