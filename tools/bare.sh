#!/usr/bin/env bash
# Tries the committed state on machines that have nothing yet: minimal Debian systems with git and sudo, made by
# debootstrap. Each suite is tried as root and as a user with sudo, each time on a new copy of the suite's base.
# With `run` only the README's first command is tried.
# usage: tools/bare.sh [bookworm|trixie] [run]
#
# build/bare/SUITE holds the base, the packages that were downloaded (they are kept), the logs, and a machine that failed.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
project=$PWD
folder=$project/build/bare
mirror=http://deb.debian.org/debian
user=newcomer
suites=(bookworm trixie)
commands=("./dev run --install=1" "./dev run" "./dev test")
# All mounts and processes vanish with the command that made them, and the command ends with this script.
apart=(setpriv --pdeathsig KILL unshare --mount --pid --ipc --uts --fork --kill-child --mount-proc)
results=()
logs=() # of what failed

trap 'exit 130' INT

for argument in "$@"; do
    case $argument in
    bookworm | trixie) suites=("$argument") ;;
    run) commands=("./dev run --install=1") ;;
    *)
        echo "usage: ./dev bare [bookworm|trixie] [run]" >&2
        exit 2
        ;;
    esac
done
if [ "$(id -u)" -ne 0 ]; then
    echo "Only root can make a bare machine; try: sudo ./dev bare $*" >&2
    exit 1
fi

# Makes the suite's base unless it is there. The user may become root without a password. dpkg need not wait for the disk.
make_base() {
    [ ! -d "$base" ] || return 0
    rm -rf "$base.new" &&
        "${apart[@]}" debootstrap --variant=minbase --include=git,sudo "$suite" "$base.new" "$mirror" &&
        rm "$base.new"/var/cache/apt/archives/*.deb &&
        chroot "$base.new" useradd --uid 61234 --create-home --shell /bin/bash "$user" &&
        echo "$user ALL=(ALL) NOPASSWD: ALL" >"$base.new/etc/sudoers.d/$user" &&
        echo force-unsafe-io >"$base.new/etc/dpkg/dpkg.cfg.d/bare" &&
        echo "127.0.0.1 localhost bare" >"$base.new/etc/hosts" &&
        mv "$base.new" "$base"
}

# make_machine HOME: a new machine with a clone of the project in HOME.
make_machine() {
    rm -rf "$machine" &&
        cp --archive --reflink=auto "$base" "$machine" &&
        cp --dereference /etc/resolv.conf "$machine/etc/resolv.conf" &&
        git clone --quiet --no-local --depth=1 -- "$project" "$machine$1/HCDCustomHook" &&
        chown --recursive --reference="$machine$1" "$machine$1/HCDCustomHook"
}

# enter MACHINE PACKAGES USER COMMAND: runs COMMAND as a login of USER. The machine becomes the root of the mount
# namespace: in a changed root (chroot) the kernel allows no user namespaces, which bubblewrap needs.
enter() {
    set -euo pipefail
    mount --bind "$1" "$1"
    cd "$1"
    hostname bare
    mount --bind "$2" var/cache/apt/archives
    mount --types proc proc proc
    mount --types devpts --options newinstance,ptmxmode=666 devpts dev/pts
    mount --types tmpfs --options mode=1777 tmpfs dev/shm
    pivot_root . mnt
    cd /
    umount --lazy /mnt
    su --login "$3" --command "$4" || exit $? # this shell stays, to reap what others leave
}

in_machine() { # in_machine USER COMMAND
    "${apart[@]}" bash -c "$(declare -f enter); enter \"\$@\"" bash "$machine" "$packages" "$@"
}

# The tool ends with 0 on every completed run, so what it did is looked for in what ./dev run shows.
declare -A shows=(
    ["./dev run --install=1"]='^After +manifest: there; cache folder CEF: gone$'
    ["./dev run"]='^After +manifest: none;'
    ["./dev test"]='^[0-9]+ passed, 0 failed, [0-9]+ skipped$'
)

run_in_machine() { # run_in_machine COMMAND
    in_machine "$who" "cd HCDCustomHook && $1" | tee "$machine.output"
    grep -qE "${shows[$1]}" "$machine.output"
    rm "$machine.output"
}

# step NAME COMMAND...: runs COMMAND with its output in a log, notes the result, and shows it with the duration.
step() {
    local name=$1 start=$SECONDS status=0 line
    log=$folder/$suite/$who-${name//[^a-z0-9]/}.log
    shift
    printf '%-9s %-9s %-22s ' "$suite" "$who" "$name"
    result=passed
    "$@" >"$log" 2>&1 </dev/null || status=$?
    [ "$status" -eq 0 ] || result=failed
    line=$(printf '%s %3d:%02d' "$result" $(((SECONDS - start) / 60)) $(((SECONDS - start) % 60)))
    echo "$line"
    results+=("$(printf '%-9s %-9s %-22s %s' "$suite" "$who" "$name" "$line")")
    [ "$status" -eq 0 ] || logs+=("$log")
}

# try_as USER HOME: every command in one new machine, which is kept if one fails.
try_as() {
    local failed=${#logs[@]} command
    who=$1
    machine=$folder/$suite/$who
    step "new machine" make_machine "$2"
    [ "$result" = passed ] || return 0
    for command in "${commands[@]}"; do
        step "$command" run_in_machine "$command"
    done
    if [ "${#logs[@]}" -eq "$failed" ]; then
        rm -rf "$machine" & # takes half a minute on some disks
    fi
}

try_suite() {
    suite=$1
    base=$folder/$suite/base
    packages=$folder/$suite/packages
    mkdir -p "$packages/partial"
    who=root
    step base make_base
    [ "$result" = passed ] || return 0
    try_as root /root
    try_as "$user" "/home/$user"
}

tell() {
    echo
    printf '%s\n' "${results[@]}"
    for log in "${logs[@]}"; do
        printf '\nThe end of %s:\n' "$log"
        tail -n 20 "$log"
    done
    [ ${#logs[@]} -eq 0 ] || { echo "${#logs[@]} of ${#results[@]} steps failed." >&2; exit 1; }
}

mkdir -p "$folder"
chmod 700 "$folder" # the bases have programs that give rights, and are never brought up to date
export GIT_CONFIG_COUNT=1 GIT_CONFIG_KEY_0=safe.directory GIT_CONFIG_VALUE_0=$project # root may clone a user's project
[ -z "${SUDO_UID-}" ] || chown "$SUDO_UID" build
exec 9>"$folder/lock"
flock --nonblock 9 || { echo "Another ./dev bare is at work here; wait for it or end it." >&2; exit 1; }
tools/setup.sh bare
git log -1 --format='Trying %h: %s. Changes that are not committed are left out.'
for suite in "${suites[@]}"; do
    try_suite "$suite"
done
wait
tell
