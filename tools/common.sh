# shellcheck shell=bash
# What the scripts of ./dev share. They are started in the project's folder.

fail() { # fail SENTENCE
    printf '%s\n' "$1" >&2
    exit 1
}

refuse() { # refuse SENTENCE: for a command line that makes no sense
    printf '%s\n' "$1" >&2
    exit 2
}

one_of() { # one_of WORD WORDS...: whether WORD is one of WORDS
    local word=$1 each
    shift
    for each in "$@"; do
        [ "$each" != "$word" ] || return 0
    done
    return 1
}

next_tick=10 # in seconds since the script started

# tick TEXT: says how far long work is. On a terminal TEXT replaces the one before; elsewhere one line in ten seconds.
tick() {
    if [ -t 2 ]; then
        printf '\r\033[K%.*s' "$(($(tput cols 2>/dev/null || echo 80) - 1))" "$1" >&2
    elif [ "$SECONDS" -ge "$next_tick" ]; then
        next_tick=$((SECONDS + 10))
        printf '%s\n' "$1" >&2
    fi
}

end_ticks() {
    [ ! -t 2 ] || printf '\r\033[K' >&2
}

tick_lines() { # tick_lines LABEL: reads lines and ticks with each
    local line
    while IFS= read -r line; do
        tick "$1: $line"
    done
    end_ticks
}

disk_is_full() { # disk_is_full [LOG]
    local place=build free
    [ -d build ] || place=.
    free=$(df --output=avail -k "$place" | tail -n 1)
    [ "$free" -lt 1024 ] || { [ -f "${1-}" ] && grep -q 'No space left on device' "$1"; }
}

disk_full="The disk is full: free some space for $PWD/build (./dev clean removes all of it), then try again."

# give_up WHAT LOG: ends with what a failed command said, without ninja's lines on what went well.
give_up() {
    ! disk_is_full "$2" || fail "$disk_full"
    grep -vE '^\[[0-9]+/[0-9]+\] ' "$2" >&2 || true
    fail "$1 failed; all of its output is in $2."
}

# Ends with the reason and the next step if FOLDER cannot be written in.
need_writable() { # need_writable FOLDER
    [ ! -w "$1" ] || return 0
    ! disk_is_full || fail "$disk_full"
    [ ! -d "$1" ] || [ ! -w . ] || [ "$(id -u)" -eq 0 ] || [ "$(stat -c %u "$1")" -eq "$(id -u)" ] ||
        fail "$PWD/$1 belongs to $(stat -c %U "$1"): remove it with sudo ./dev clean, then try again."
    fail "Nothing can be written in $PWD: copy the project to a folder of yours and start ./dev there."
}

# Waits until no other ./dev works in this folder. Descriptor 9 holds the lock; the work is started without it.
lock() {
    exec 9<.
    ! flock --nonblock 9 || return 0
    echo "Another ./dev is at work in $PWD; waiting for its end." >&2
    flock 9
}

folder_of() { # folder_of PRESET
    if [ -f "cmake/toolchains/$1.cmake" ]; then
        echo "build/machines/$1"
    else
        echo "build/$1"
    fi
}

# Removes a build folder that belongs to another place of the checkout: it was moved or copied.
remove_foreign_build() { # remove_foreign_build PRESET
    local folder home
    folder=$(folder_of "$1")
    home=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$folder/CMakeCache.txt" 2>/dev/null || true)
    [ -n "$home" ] && [ "$home" != "$PWD" ] || return 0
    echo "$folder was made in $home; it is built again." >&2
    rm -rf "$folder"
}

# configure PRESET [OPTION...]: compiles through ccache where there is one.
configure() {
    local preset=$1 folder launcher
    folder=$(folder_of "$preset")
    remove_foreign_build "$preset"
    mkdir -p "$folder" 2>/dev/null || true
    need_writable "$folder"
    launcher=$(type -P ccache || true)
    cmake --preset "$preset" "-DCMAKE_CXX_COMPILER_LAUNCHER=$launcher" "-DCMAKE_OBJCXX_COMPILER_LAUNCHER=$launcher" \
        --no-warn-unused-cli "${@:2}" >"$folder/configure.log" 2>&1 ||
        give_up "Configuring $preset" "$folder/configure.log"
}

# The tests are left out where the folder is new: they need GoogleTest.
configure_without_tests() { # configure_without_tests PRESET [OPTION...]
    local options=()
    remove_foreign_build "$1"
    [ -f "$(folder_of "$1")/build.ninja" ] || options=(-DHCD_BUILD_TESTS=OFF)
    configure "$1" "${options[@]}" "${@:2}"
}

compile() { # compile PRESET [TARGET...]
    local preset=$1 log
    log=$(folder_of "$preset")/build.log
    # What ccache knows of precompiled headers needs the first two.
    CCACHE_SLOPPINESS=pch_defines,time_macros CCACHE_BASEDIR=${CCACHE_BASEDIR-$PWD} \
        cmake --build --preset "$preset" ${2+--target "${@:2}"} 2>&1 | tee "$log" | tick_lines "Building $preset" ||
        give_up "Building $preset" "$log"
}
