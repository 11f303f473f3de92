#!/usr/bin/env bash
# Builds another project's programs with the libraries, the way a stranger does, and runs them: with each compiler,
# through the CMake package, pkg-config, and this project as a folder of that project; as programs and as a shared object;
# with and without macros that have the names of the levels. Then checks what the compilers warn about, what CMake says
# when a dependency is missing, and that 32-bit programs agree with the library on sizes whatever macros they define.
# Prints a line for each check. The installed tree is moved before it is used.
set -euo pipefail

# shellcheck source=tools/common.sh
. tools/common.sh

project=$PWD
sources=$project/tests/consumer
work=$project/build/consumer
prefix=$work/moved
hostile="-DDEBUG -DTRACE -DERROR=0 -DNONE -DINFO -DALL= -DWARN=warning -DFATAL"
warnings="-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror"
failed=0

check() { # check NAME COMMAND...: runs the command, prints whether it succeeded, and what it said if it did not
    local name=$1 log status
    shift
    log=$work/logs/${name//[^A-Za-z0-9+]/_}.log
    set +e # a shell function is ended by its first failing command only outside of a condition
    (set -e; "$@") >"$log" 2>&1
    status=$?
    set -e
    if [ $status -eq 0 ]; then
        printf '  ok      %s\n' "$name"
        return
    fi
    printf '  FAILED  %s\n' "$name"
    sed 's/^/          /' "$log" | tail -n 25
    failed=$((failed + 1))
}

in_machine() { # in_machine FOLDER COMMAND...: runs COMMAND with FOLDER as /opt/consumer
    local folder=$1
    shift
    "$project/tests/e2e/machine.sh" "$work/machine" --ro-bind "$folder" /opt/consumer --setenv HOME /var/root -- "$@"
}

logs_a_record() { # logs_a_record FOLDER PROGRAM
    local record='^[0-9/]{8} [0-9:]{12} \| \[WARN\] \| one \| two \| three \| four \| detail \|  \| [0-9]+ \| 7 of nine$'
    in_machine "$1" "/opt/consumer/$2" >"$work/log"
    cat "$work/log"
    [ "$(grep -cE "$record" "$work/log")" -eq 1 ] && [ "$(wc -l <"$work/log")" -eq 1 ]
}

prints_xml() { # prints_xml FOLDER
    in_machine "$1" /opt/consumer/utils_program --name=value | tee "$work/xml"
    [ "$(tail -n 1 "$work/xml")" = '<greeting name="value"></greeting>' ]
}

# A program that only logs does not carry the libraries that others need: libxml2 brings ICU, libsystemd six more.
loads_few_libraries() { # loads_few_libraries FOLDER FILE...
    local file
    for file in "${@:2}"; do
        ldd "$1/$file" | tee "$work/loaded"
        [ "$(wc -l <"$work/loaded")" -le 9 ]
        [ "$(grep -cE 'libxml2|libicu|libsystemd' "$work/loaded")" -eq 0 ]
    done
}

install_package() {
    configure_without_tests release
    compile release HCDCustomHook
    rm -rf "$work/installed" "$prefix"
    cmake --install build/release --prefix "$work/installed" --component development
    mv "$work/installed" "$prefix"
}

installs_only_headers_of_the_libraries() {
    [ "$(ls "$prefix/include")" = elmu ] && [ "$(ls "$prefix/include/elmu")" = $'logging\nutils' ]
}

installs_the_tool_alone() {
    rm -rf "$work/tool"
    cmake --install build/release --prefix "$work/tool" --component tool
    [ "$(cd "$work/tool" && find . -type f)" = ./bin/HCDCustomHook ]
}

build_with_cmake() { # build_with_cmake COMPILER FOLDER MACROS CMAKE-OPTION...
    cmake -S "$sources" -B "$2" -G Ninja --fresh -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER="$1" \
        -DCMAKE_CXX_FLAGS="$3" "${@:4}"
    cmake --build "$2"
}

build_with_pkg_config() { # build_with_pkg_config COMPILER FOLDER MACROS
    local -x PKG_CONFIG_PATH=$prefix/lib/pkgconfig:$prefix/lib64/pkgconfig
    local -a compile logging utils
    read -ra compile <<<"$1 -std=c++20 $3 $warnings"
    eval "logging=($(pkg-config --cflags --libs elmu))" # pkg-config quotes blanks for a shell
    eval "utils=($(pkg-config --cflags --libs --static elmu-utils))"
    mkdir -p "$2"
    cd "$sources"
    "${compile[@]}" -o "$2/logging_program" logging_program.cpp use_logging.cpp "${logging[@]}"
    "${compile[@]}" -o "$2/utils_program" utils_program.cpp "${utils[@]}"
    "${compile[@]}" -shared -fPIC -o "$2/libshared_object.so" use_logging.cpp "${logging[@]}"
    "${compile[@]}" -o "$2/shared_program" logging_program.cpp -L"$2" -lshared_object "-Wl,-rpath,/opt/consumer"
}

# A program finds its shared object where the machine has it.
rpath=(-DCMAKE_BUILD_RPATH=/opt/consumer)

build() { # build COMPILER WAY FOLDER MACROS
    case $2 in
    package) build_with_cmake "$1" "$3" "$4" "${rpath[@]}" -DCMAKE_PREFIX_PATH="$prefix" ;;
    folder) build_with_cmake "$1" "$3" "$4" "${rpath[@]}" -DELMU_FOLDER="$project" ;;
    pkg-config) build_with_pkg_config "$1" "$3" "$4" ;;
    esac
}

has_no_tests() { # has_no_tests FOLDER: a project that adds this one as a folder gets its libraries alone
    ninja -C "$1" -t targets all >"$work/targets"
    grep -E '^elmu_logging: ' "$work/targets"
    ! grep -E '^(unit_tests|HCDCustomHook|hook_routines|gtest|throughput|assumptions): ' "$work/targets"
}

warns() { # warns COUNT SOURCE COMPILER OPTION...
    "${@:3}" -std=c++20 -fsyntax-only -I "$prefix/include" "$sources/$2" 2>&1 | tee "$work/warnings" || true
    [ "$(grep -c 'warning:' "$work/warnings")" -eq "$1" ]
}

compiles_alone() { # compiles_alone COMPILER MACROS HEADER
    local -a macros
    read -ra macros <<<"$2"
    # shellcheck disable=SC2086
    "$1" -std=c++20 -fsyntax-only $warnings "${macros[@]}" -I "$prefix/include" -x c++ - <<<"#include <$3>"
}

every_header_compiles_alone() { # every_header_compiles_alone COMPILER MACROS
    local header headers
    headers=$(cd "$prefix/include" && find elmu -name '*.h')
    [ "$(wc -l <<<"$headers")" -gt 15 ]
    while read -r header; do
        compiles_alone "$1" "$2" "$header"
    done <<<"$headers"
}

finds() { # finds VERSION ANSWER CMAKE-OPTION...: what find_package(elmu VERSION QUIET) answers
    mkdir -p "$work/quiet"
    cat >"$work/quiet/CMakeLists.txt" <<TEXT
cmake_minimum_required(VERSION 3.25)
project(Quiet LANGUAGES CXX)
find_package(elmu $1 QUIET)
message(STATUS "elmu_FOUND is \${elmu_FOUND}")
TEXT
    cmake -S "$work/quiet" -B "$work/quiet/build" --fresh -DCMAKE_PREFIX_PATH="$prefix" "${@:3}" 2>&1 |
        tee "$work/quiet/answer"
    grep -qE "elmu_FOUND is ($2)" "$work/quiet/answer"
}

# shellcheck disable=SC2120 # the arguments may be left out
is_not_found_quietly() { # is_not_found_quietly CMAKE-OPTION...
    finds "" '0|FALSE' "$@"
    ! grep -i error "$work/quiet/answer"
}

# shellcheck disable=SC2119
is_not_found_without_modules() { PKG_CONFIG_LIBDIR=$work/nowhere is_not_found_quietly; }

agrees_on_32_bits() {
    local folder=$project/build/machines/i386 options reference='' answer
    configure_without_tests i386
    compile i386 elmu_logging
    for options in "-D_FILE_OFFSET_BITS=64 -D_TIME_BITS=64" "" "-D_FILE_OFFSET_BITS=64" "-DNDEBUG" "-D_GNU_SOURCE"; do
        local -a flags
        read -ra flags <<<"$options"
        g++-12 -m32 -idirafter /usr/include/x86_64-linux-gnu -std=c++20 "${flags[@]}" -I "$prefix/include" \
            -o "$work/abi" "$sources/abi.cpp" "$folder/logging/libelmu_logging.a"
        answer=$("$work/abi")
        printf '%s:\n%s\n' "$options" "$answer"
        [ "$answer" = "${reference:=$answer}" ]
    done
    [[ $reference != *WRONG* && $reference != *BROKEN* ]]
}

mkdir -p "$work/logs"
echo "The installed package"
check "install and move" install_package
[ $failed -eq 0 ] || exit 1
check "headers of elmu alone" installs_only_headers_of_the_libraries
check "component tool" installs_the_tool_alone
check "found as version 4" finds 4 '1|TRUE'
check "not found as version 3" finds 3 '0|FALSE'
check "not found as version 5" finds 5 '0|FALSE'
check "not found with components" finds "COMPONENTS logging" '0|FALSE'
check "not found without modules" is_not_found_without_modules
check "not found without libxml2" is_not_found_quietly -DCMAKE_DISABLE_FIND_PACKAGE_LibXml2=ON
check "not found without pkg-config" is_not_found_quietly -DPKG_CONFIG_EXECUTABLE=/nowhere
for compiler in g++ clang++; do
    for macro_kind in "no macros" "hostile macros"; do
        given=
        [ "$macro_kind" = "no macros" ] || given=$hostile
        check "every header alone, $compiler, $macro_kind" every_header_compiles_alone "$compiler" "$given"
        for way in package pkg-config folder; do
            folder=$work/$compiler/$way/${macro_kind// /-}
            name="$way, $compiler, $macro_kind"
            echo "$name"
            check "build ($name)" build "$compiler" "$way" "$folder" "$given"
            check "program ($name)" logs_a_record "$folder" logging_program
            check "shared object ($name)" logs_a_record "$folder" shared_program
            check "utils alone ($name)" prints_xml "$folder"
            check "few libraries ($name)" loads_few_libraries "$folder" logging_program libshared_object.so
        done
        check "no tests in a folder ($compiler, $macro_kind)" has_no_tests "$folder"
    done
done
echo "Compiler warnings"
check "four mistakes, clang++" warns 4 mistakes.cpp clang++
check "four mistakes, g++" warns 4 mistakes.cpp g++ -Wall -Wformat-security
check "a mistake in each operation, clang++" warns 26 every_operation.cpp clang++
check "a mistake in each operation, g++" warns 26 every_operation.cpp g++ -Wall
echo "32 bits"
check "the same sizes whatever the macros" agrees_on_32_bits
[ $failed -eq 0 ] || { echo "$failed checks failed; their logs are in build/consumer/logs." >&2; exit 1; }
