#!/bin/bash
# Runs the built tool with the given arguments in a throw-away machine and shows what it left there. The machine's disk
# is build/machine and is kept from run to run. It has the application installed, and a cache that is filled again
# before each run, as the application does when it is used.
#
# With HCD_FILL_LOG=1 in the environment of this script, the log is first filled up to the size at which the tool
# starts it again. The tool's own environment holds nothing of that.
#
# Ends with the tool's status, or with 69 and one sentence when no machine can be made here or the tool cannot be started.
set -euo pipefail

export LC_ALL=C.UTF-8 # bash complains about a locale that the system does not have
cd "$(dirname "$0")/.."
# shellcheck source=tools/common.sh
. tools/common.sh
project=$PWD
tool=$project/build/release/bin/HCDCustomHook
disk=$project/build/machine
home=/Users/operator
log_folder=$home/Library/Logs/Halcyra/HCD
log=$log_folder/HCD.log
log_limit=10485760
manifest="/Library/Application Support/Korvane/Ostrel/specifiers/halcyra.xml"
product="/Applications/Utilities/Korvane Halcyra"
cache=$product/CEF

# Puts standard input at a place on the machine's disk that has nothing yet.
seed() {
    [[ ! -e $disk$1 ]] || return 0
    mkdir -p "$(dirname "$disk$1")"
    cat >"$disk$1"
}

install_application() {
    local application=$product/HCD/Halcyra.app/Contents
    seed "$application/Info.plist" <<'PLIST'
<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
    <key>CFBundleExecutable</key>
    <string>Halcyra</string>
    <key>CFBundleIdentifier</key>
    <string>com.korvane.halcyra</string>
    <key>CFBundleName</key>
    <string>Halcyra</string>
    <key>CFBundlePackageType</key>
    <string>APPL</string>
    <key>CFBundleShortVersionString</key>
    <string>4.3.0</string>
    <key>CFBundleVersion</key>
    <string>4.3.0.256</string>
</dict>
</plist>
PLIST
    seed "$application/MacOS/Halcyra" <<<$'#!/bin/sh\nexit 0'
    chmod 755 "$disk$application/MacOS/Halcyra"
}

fill_cache() {
    seed "$cache/Cache/index" <<<index
    seed "$cache/Cache/data_0" <<<pages
    seed "$cache/GPUCache/index" <<<index
    seed "$cache/Local Storage/leveldb/CURRENT" <<<MANIFEST-000001
    seed "$cache/Cookies" <<<cookies
}

# Whole lines up to the limit, the last one as long as it takes.
fill_log() {
    local line="11/16/26 04:41:28:007 | [INFO] |  | HCD | HCDCustomHook |  |  |  | 4711 | An earlier record"
    seed "$log" </dev/null
    chmod 666 "$disk$log"
    local missing=$((log_limit - $(stat -c %s "$disk$log")))
    local lines=$((missing / (${#line} + 1) - 1))
    [[ $lines -ge 0 ]] || return 0
    head -n "$lines" < <(yes "$line") >>"$disk$log"
    printf '%s%*s\n' "$line" $((missing - (lines + 1) * (${#line} + 1))) '' >>"$disk$log"
}

prepare_disk() {
    mkdir -p "$disk"/Library "$disk$home"
    seed /etc/passwd <<<"root:x:0:0:System Administrator:$home:/bin/sh"
    install_application
    fill_cache
    [[ ${HCD_FILL_LOG-} != 1 ]] || fill_log
}

# What the tool prints goes to descriptor 3, so that it is not mixed with what the machine says.
run_tool() {
    # shellcheck disable=SC2016 # the machine's shell expands them
    "$project/tests/e2e/machine.sh" "$disk" --ro-bind "$tool" /opt/hcd/HCDCustomHook --setenv HOME "$home" \
        --ro-bind-try /etc/localtime /etc/localtime -- /bin/sh -c 'exec "$0" "$@" >&3 2>&3 3>&-' \
        /opt/hcd/HCDCustomHook "$@"
}

no_run() { # no_run SENTENCE
    printf '%s\n' "$1" >&2
    exit 69
}

# Ends the script unless the tool itself ran. The machine says nothing then; its shell ends with 126 or 127 otherwise.
check_run() { # check_run STATUS COMPLAINTS PRINTED
    local advice="let users make namespaces (sysctl user.max_user_namespaces; in a container --privileged)."
    [[ $EUID -eq 0 ]] || advice="run it as root, or $advice"
    [[ $1 -ne 69 || -z $2 ]] || no_run "${2%.}; $advice"
    [[ -z $2 ]] || no_run "The machine could not run the tool: ${2%.}; $advice"
    [[ $1 -ne 126 && $1 -ne 127 ]] || no_run "The tool cannot be started: ${3##*: }; ./dev clean removes what was built."
}

state() {
    local manifest_state=none cache_state=gone
    [[ ! -e $disk$manifest ]] || manifest_state=there
    [[ ! -e $disk$cache ]] || cache_state="there, $(find "$disk$cache" -type f | wc -l) files"
    printf 'manifest: %s; cache folder CEF: %s\n' "$manifest_state" "$cache_state"
}

show_tree() {
    printf '\n== What is in /Applications, /Library and /Users\n'
    (cd "$disk" && find Applications Library Users -type d -printf '%M /%p/\n' -o -printf '%M /%p\n') |
        tr / '\001' | LC_ALL=C sort -k 2 | tr '\001' /
}

show_log_folder() {
    printf '\n== The log folder: %s\n' "$log_folder"
    [[ ! -d $disk$log_folder ]] ||
        find "$disk$log_folder" -type f -printf '%10s bytes  %P\n' | LC_ALL=C sort -k 3
}

# Shows at most the last 40 lines of a file.
show_file() {
    printf '\n== %s: %s\n' "$1" "$2"
    if [[ ! -f $disk$2 ]]; then
        echo "(there is none)"
        return
    fi
    tail -n 40 "$disk$2"
    [[ -z $(tail -c 1 "$disk$2") ]] || echo
}

show_run() {
    printf 'Command      HCDCustomHook%s\n' "${1:+ $1}"
    printf 'Machine      %s (kept between runs)\n' "$disk"
    printf 'Before       %s\n' "$2"
    printf 'After        %s\n' "$3"
    printf 'Exit status  %d\n' "$4"
    printf 'Printed      %s\n' "${5:-nothing}"
}

mkdir -p build/machine 2>/dev/null || true
need_writable build/machine
prepare_disk
before=$(state)
status=0
complaints=$(run_tool "$@" 2>&1 3>build/printed) || status=$?
printed=$(<build/printed)
check_run "$status" "${complaints//$'\n'/ }" "$printed"
show_run "$*" "$before" "$(state)" "$status" "$printed"
show_tree
show_file "The manifest" "$manifest"
show_log_folder
show_file "The log" "$log"
exit "$status"
