#!/bin/sh
# The first run on a Mac: builds the tool and the tests, runs the tests, asks the system whether this project's
# assumptions about it hold, looks at what the tool is made of, and prints a table of it all.
#
#   first-run.sh [--really-install]
#
# The tool acts on the machine it runs on, so it is run only with --really-install: once for an install and once for the
# removal, as root. Nothing is run when there is a manifest or a cache folder that would be lost.
#
# Works in build/first-run. Ends with status 0 when everything that ran passed.
set -u

project=$(cd "$(dirname "$0")/../.." && pwd)
work=$project/build/first-run
tool=$work/tool/bin/HCDCustomHook
root=${FIRST_RUN_ROOT-} # where the tests of this script have their /Library
manifest="$root/Library/Application Support/Korvane/Ostrel/specifiers/halcyra.xml"
cache="$root/Applications/Utilities/Korvane Halcyra/CEF"
table=
status=0

really_install=no
case $# in
0) ;;
*)
    if [ $# -ne 1 ] || [ "$1" != --really-install ]; then
        echo 'usage: first-run.sh [--really-install]' >&2
        exit 64
    fi
    really_install=yes
    ;;
esac

# row STEP RESULT WHAT-TO-LOOK-AT
row() {
    line=$(printf '%-14s %-8s %s' "$1" "$2" "$3")
    table="$table$line
"
    [ "$2" != failed ] || status=1
}

finish() {
    printf '\n%-14s %-8s %s\n' step result 'what to look at'
    printf '%s' "$table"
    exit "$status"
}

# stop STEP WHAT-TO-LOOK-AT: without this step the others make no sense.
stop() {
    row "$1" failed "$2"
    finish
}

is_there() { command -v "$1" >/dev/null 2>&1; }

# logged NAME COMMAND...: runs the command; what it prints goes into a file.
logged() {
    log=$work/$1.log
    shift
    "$@" >"$log" 2>&1
}

is_new_enough() {
    version=$(cmake --version | sed -n 's/^cmake version \([0-9]*\)\.\([0-9]*\).*/\1 \2/p')
    major=${version% *}
    minor=${version#* }
    [ -n "$version" ] && { [ "$major" -gt 3 ] || { [ "$major" -eq 3 ] && [ "$minor" -ge 25 ]; }; }
}

check_tools() {
    [ "$(uname -s)" = Darwin ] || stop tools 'This is no Mac.'
    xcrun --find clang++ >/dev/null 2>&1 ||
        stop tools 'There is no compiler; get the command line tools with: xcode-select --install'
    is_there cmake || stop tools 'There is no cmake; get it with: brew install cmake'
    is_new_enough || stop tools 'cmake is older than 3.25; get a newer one with: brew upgrade cmake'
    if is_there ninja; then
        generator=Ninja
    elif is_there make; then
        generator='Unix Makefiles'
    else
        stop tools 'There is neither ninja nor make; get one with: brew install ninja'
    fi
    row tools passed "$generator"
}

# Both architectures when the compiler and its libraries can do both, else this machine's own.
choose_architectures() {
    architectures='arm64;x86_64'
    printf 'int main() {}\n' >"$work/probe.cpp"
    logged probe xcrun clang++ -arch arm64 -arch x86_64 "$work/probe.cpp" -o "$work/probe" ||
        architectures=$(uname -m)
}

# configure FOLDER ARCHITECTURES TESTS
configure() {
    logged "configure-$1" cmake -S "$project" -B "$work/$1" -G "$generator" -DCMAKE_BUILD_TYPE=Release \
        "-DCMAKE_OSX_ARCHITECTURES=$2" "-DHCD_BUILD_TESTS=$3"
}

build_tool() {
    configure tool "$architectures" OFF || stop configure "$log"
    row configure passed "$architectures"
    logged build-tool cmake --build "$work/tool" || stop build "$log"
    row build passed "$tool"
}

is_of_the_system() {
    case $1 in
    /System/Library/Frameworks/* | /usr/lib/libc++.* | /usr/lib/libc++abi.* | /usr/lib/libobjc.* | /usr/lib/libSystem.*) ;;
    *) return 1 ;;
    esac
}

check_libraries() {
    logged libraries otool -L "$tool" || {
        row libraries failed "$log"
        return
    }
    sed -n 's/^[[:blank:]][[:blank:]]*\(.*\) (compatibility.*/\1/p' "$log" >"$work/libraries.txt"
    [ -s "$work/libraries.txt" ] || {
        row libraries failed "$log"
        return
    }
    while read -r library; do
        is_of_the_system "$library" || {
            row libraries failed "$library is not part of the system"
            return
        }
    done <"$work/libraries.txt"
    row libraries passed 'the system and libc++ only'
}

check_architectures() {
    if ! found=$(lipo -archs "$tool" 2>&1); then
        row architectures failed "$found"
        return
    fi
    for architecture in $(printf '%s' "$architectures" | tr ';' ' '); do
        case " $found " in
        *" $architecture "*) ;;
        *)
            row architectures failed "$architecture is missing: $found"
            return
            ;;
        esac
    done
    row architectures passed "$found"
}

check_signature() {
    if ! logged signature codesign -d "$tool"; then
        row signature 'not run' 'the tool is not signed'
    elif logged signature codesign -v "$tool"; then
        row signature passed 'codesign -v'
    else
        row signature failed "$log"
    fi
}

check_assumptions() {
    if ! logged build-assumptions cmake --build "$work/tool" --target assumptions; then
        row assumptions failed "they could not be built: $log"
    elif logged assumptions "$work/tool/bin/assumptions"; then
        row assumptions passed "$(tail -n 1 "$log")"
    else
        row assumptions failed "$log: $(tail -n 1 "$log")"
        grep '^DIFFERS' "$log"
    fi
}

# The tests are built for this machine alone, as GoogleTest is.
run_tests() {
    if ! configure tests "$(uname -m)" ON; then
        if grep -q GTest "$log"; then
            row tests 'not run' 'There is no GoogleTest; get it with: brew install googletest'
        else
            row tests failed "$log"
        fi
    elif ! logged build-tests cmake --build "$work/tests"; then
        row tests failed "$log"
    elif logged tests ctest --test-dir "$work/tests" --no-tests=error --output-on-failure; then
        row tests passed "$(grep 'tests passed' "$log")"
    else
        row tests failed "$log: $(grep 'tests passed' "$log")"
    fi
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    else
        sudo "$@"
    fi
}

# The home of the user at the console, whose log it is.
home_at_console() {
    user=$(stat -f %Su /dev/console)
    case $user in
    *[!A-Za-z0-9._-]* | '') return 1 ;;
    esac
    dscl . -read "/Users/$user" NFSHomeDirectory | sed -n 's/^NFSHomeDirectory: *//p'
}

install() {
    hook_log=$(home_at_console)/Library/Logs/Halcyra/HCD/HCD.log
    size_before=$(log_size)
    as_root "$tool" --install=1 || stop install "it ended with status $?"
    [ -f "$manifest" ] || stop install "there is no $manifest"
    grep -q '<SpecifierManifest' "$manifest" || stop install "look at $manifest"
    row install passed "$manifest"
}

log_size() {
    as_root cat "$hook_log" 2>/dev/null | wc -c
}

check_log() {
    if [ "$(log_size)" -gt "$size_before" ]; then
        row log passed "$hook_log"
    else
        row log failed "nothing was added to $hook_log"
    fi
}

remove() {
    as_root "$tool" || stop removal "it ended with status $?"
    [ ! -e "$manifest" ] || stop removal "there still is $manifest"
    row removal passed 'the manifest is gone'
}

run_the_tool() {
    [ "$really_install" = yes ] || {
        row install 'not run' 'it acts on this machine; run this script with --really-install'
        return
    }
    for path in "$manifest" "$cache"; do
        [ ! -e "$path" ] || stop install "nothing was run, it would remove $path"
    done
    install
    check_log
    remove
}

check_tools
mkdir -p "$work" || exit 1
choose_architectures
build_tool
check_libraries
check_architectures
check_signature
check_assumptions
run_tests
run_the_tool
finish
