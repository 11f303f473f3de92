#!/usr/bin/env bash
# Counts the instructions of a record, a rotation and a whole install, which do not depend on what else the machine does,
# and compares them with those in bench/instructions.tsv. Fails if one has grown by more than 5 %. With `store` the counts
# become those that are compared with. They depend on the C library and the compiler, so on another system than the one
# that stored them they are only shown.
# usage: tools/instructions.sh [store]
set -euo pipefail
# shellcheck source=tools/common.sh
. tools/common.sh

stored=bench/instructions.tsv
tolerance=5 # per cent
programs=$PWD/build/release/bin
callgrind="/usr/bin/valgrind --tool=callgrind --callgrind-out-file=/dev/null"
system=$(sed -n 's/^PRETTY_NAME="\(.*\)"$/\1/p' /etc/os-release)
place=$(mktemp -d /dev/shm/hcd-instructions-XXXXXX)
trap 'rm -rf "$place"' EXIT

# count COMMAND...: the instructions of the only program that callgrind runs in it
count() {
    local output
    output=$("$@" 2>&1) || fail "$output"
    sed -n 's/^.*Collected *: *//p' <<<"$output"
}

count_alone() { # count_alone PROGRAM ARGUMENTS...: with an environment of a fixed size
    # shellcheck disable=SC2086 # a command and its options
    count env -i HOME="$place" TZ=UTC0 $callgrind "$programs/$1" "${@:2}"
}

count_record() {
    local few=1000 many=3000 ofFew ofMany
    ofFew=$(count_alone record_count "$place/few.log" "$few")
    ofMany=$(count_alone record_count "$place/many.log" "$many")
    echo $(((ofMany - ofFew) / (many - few)))
}

count_rotation() {
    local line="11/16/26 04:41:28:007 | [INFO] |  | HCD | HCDCustomHook |  |  |  | 4711 | An earlier record"
    head -c 50M < <(yes "$line") >"$place/full.log"
    count_alone log_step rotate "$place/full.log"
}

count_install() {
    # shellcheck disable=SC2086 # a command and its options
    count tests/e2e/machine.sh "$place/machine" --ro-bind "$programs" /opt/bin --setenv HOME /var/root -- \
        $callgrind /opt/bin/HCDCustomHook --install=1
}

show() {
    printf 'work\tinstructions\t%s\n' "$system"
    printf 'a record with six arguments\t%s\t\n' "$(count_record)"
    printf 'a rotation of 50 MiB\t%s\t\n' "$(count_rotation)"
    printf 'an install\t%s\t\n' "$(count_install)"
}

# Prints a line for each work; false if one has grown.
compare() { # compare STORED COUNTED
    LC_ALL=C awk -F '\t' -v tolerance="$tolerance" '
        FNR == 1 { next }
        NR == FNR { before[$1] = $2; next }
        {
            change = ($2 - before[$1]) * 100 / before[$1]
            printf "%-30s %10d, stored %10d: %+.1f %%\n", $1, $2, before[$1], change
            grown = grown || change > tolerance
        }
        END { exit grown }' "$1" "$2"
}

tools/setup.sh build instructions
configure_without_tests release
compile release record_count log_step HCDCustomHook
show >"$place/counted.tsv"
if [ "${1-}" = store ]; then
    cp "$place/counted.tsv" "$stored"
elif [ "$(head -n 1 "$stored")" = "$(head -n 1 "$place/counted.tsv")" ]; then
    compare "$stored" "$place/counted.tsv" ||
        fail "More instructions than before: find the reason, or store the new counts with ./dev instructions store."
    exit
fi
column -t -s $'\t' "$place/counted.tsv"
