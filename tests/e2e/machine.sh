#!/bin/bash
# Runs a command in a throw-away machine made by bubblewrap.
#
#   machine.sh ROOT [BUBBLEWRAP-OPTION ...] -- COMMAND [ARGUMENT ...]
#
# The folder ROOT is "/" of the machine: what the command leaves in /Library, /Applications, /Users and so on stays there
# for the next run. The machine has its own System V IPC, processes, network and host name, its own /proc, /dev and
# /tmp, an environment that holds only what the options set, and /usr of this system, read-only. In it the command is
# root: with all the rights of the caller when that is root, else as the only user of a user namespace. It starts in "/".
# Paths in the options are absolute.
#
# Ends with the command's status, or with 69 and one sentence when bubblewrap cannot make a machine here.
set -euo pipefail
umask 022

no_machine() {
    printf 'No machine can be made here: %s\n' "$1" >&2
    exit 69
}

usage() {
    printf 'usage: machine.sh ROOT [BUBBLEWRAP-OPTION ...] -- COMMAND [ARGUMENT ...]\n' >&2
    exit 64
}

[[ $# -ge 3 ]] || usage
command -v bwrap >/dev/null || no_machine "bubblewrap (bwrap) is not installed."

mkdir -p "$1"
root=$(cd "$1" && pwd)
cd /
shift
options=()
while [[ $# -gt 0 && $1 != -- ]]; do
    options+=("$1")
    shift
done
[[ $# -ge 2 ]] || usage
shift

# A file of the machine that the caller has not made: its content is read from standard input.
supply() {
    [[ -e $root$1 ]] || cat >"$root$1"
}

mkdir -p "$root"/{dev,etc,opt,proc,run,tmp,usr,var/root}
supply /etc/passwd <<<'root:x:0:0:System Administrator:/var/root:/bin/sh'
supply /etc/group <<<'wheel:x:0:'
supply /etc/nsswitch.conf <<<$'passwd: files\ngroup: files'

machine=(--bind "$root" / --ro-bind /usr /usr --proc /proc --dev /dev --perms 1777 --tmpfs /tmp
         --ro-bind-try /etc/ld.so.cache /etc/ld.so.cache
         --unshare-ipc --unshare-pid --unshare-net --unshare-uts --hostname machine
         --cap-add ALL --die-with-parent --clearenv --setenv PATH /usr/bin:/bin)
for folder in /bin /sbin /lib*; do
    if [[ -L $folder ]]; then
        ln -sfn "$(readlink "$folder")" "$root$folder"
    else
        machine+=(--ro-bind "$folder" "$folder")
    fi
done
[[ $EUID -eq 0 ]] || machine+=(--unshare-user --uid 0 --gid 0)

if ! complaint=$(bwrap "${machine[@]}" -- /bin/true 2>&1 </dev/null); then
    no_machine "bubblewrap says \"${complaint//$'\n'/ }\"."
fi
exec bwrap "${machine[@]}" "${options[@]}" -- "$@"
