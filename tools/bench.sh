#!/usr/bin/env bash
# Measures the library beside the floor of the same work and beside others, and writes docs/performance.md with its plots.
# With `quick` each measurement is one short round, and the document stays in build/bench.
# usage: tools/bench.sh [quick]
set -euo pipefail
export LC_ALL=C.UTF-8
# shellcheck source=tools/common.sh
. tools/common.sh

# Relative, because a command that is measured is split at blanks.
programs=build/release/bin
results=build/bench
logs=$results/log
rounds=7
starts=200
records=48000
entries=100000
if [ "${1-}" = quick ]; then
    rounds=1
    starts=10
    records=8000
    entries=10000
fi
machine=

interleave() { # interleave TABLE ROUNDS PREPARATION NAME COMMAND...
    printf 'Programs: %s\n' "$1" >&2
    "$programs/interleave" "$results/$1.tsv" "${@:2}"
}

# The log is on the disk before each run. The kernel does not share blocks between it and its copies beforehand.
measure_rotation() {
    mkdir -p "$logs"
    head -c 50M < <(yes "11/16/26 04:41:28:007 | [INFO] |  | HCD | HCDCustomHook |  |  |  | 4711 | An earlier record") \
        >"$logs/full"
    printf 'cp "%s/HCD.log" "%s/copy" && sync "%s/copy"\n' "$logs" "$logs" "$logs" >"$logs/copy.sh"
    interleave rotation "$rounds" \
        "cd '$logs' && rm -f copy HCD* && cp --reflink=never full HCD.log && sync HCD.log" \
        "rotation by the library" "$programs/log_step rotate $logs/HCD.log" \
        "cp and sync FILE" "/bin/sh $logs/copy.sh"
    rm -rf "$logs"
}

measure_pruning() {
    mkdir -p "$logs"
    (cd "$logs" && seq -f 'other-%.0f.txt' "$entries" | xargs touch)
    interleave pruning "$rounds" "" \
        "pruning by the library" "$programs/log_step prune $logs/HCD.log" \
        "find" "find $logs -maxdepth 1 -name HCD*"
    rm -rf "$logs"
}

measure_starts() {
    interleave start "$starts" "" \
        "linked with elmu::logging" "$programs/linked_program" "empty program" "$programs/empty_program"
}

# The tool never runs outside of the machine, and neither does the preparation, which makes the machine's cache and
# removes its manifest.
measure_hook() {
    local cache="/Applications/Utilities/Korvane Halcyra/CEF" installed
    machine=$(mktemp -d /dev/shm/hcd-bench-XXXXXX)
    printf 'Programs: hook\n' >&2
    tests/e2e/machine.sh "$machine" --ro-bind "$PWD/$programs" /opt/bench --setenv HOME /var/root -- \
        /opt/bench/interleave /hook.tsv "$starts" \
        "mkdir -p '$cache/Cache' && : >'$cache/Cache/index' && rm -rf '/Library/Application Support/Korvane'" \
        "HCDCustomHook --install=1" "/opt/bench/HCDCustomHook --install=1" "empty program" /opt/bench/empty_program
    installed=$(grep -c "Successfully created HCD Ostrel Specifier" "$machine/var/root/Library/Logs/Halcyra/HCD/HCD.log" || true)
    [ "$installed" -eq "$starts" ] || fail "The tool succeeded $installed times of $starts; its runs were not measured."
    cp "$machine/hook.tsv" "$results/hook.tsv"
}

measure() {
    "$programs/throughput" "$results" "$logs" "$rounds" "$records" || failed=true
    "$programs/lock_wait" "$results" "$logs" "$rounds" "$((2 * records))"
    "$programs/log_size" "$results" "$logs" "$rounds" "$records"
    measure_rotation
    measure_pruning
    measure_starts
    measure_hook
}

package_version() { dpkg-query --show --showformat='${Version}' "$1" 2>/dev/null || echo "not installed"; }

host_table() {
    printf 'fact\tvalue\n'
    printf 'date\t%s\n' "$(date -u +%F)"
    printf 'processor\t%s\n' "$(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1)"
    printf 'cores\t%s\n' "$(nproc)"
    printf 'kernel\t%s\n' "$(uname -srm)"
    printf 'system\t%s\n' "$(sed -n 's/^PRETTY_NAME="\(.*\)"$/\1/p' /etc/os-release)"
    printf 'compiler\t%s\n' "$(c++ --version | head -n 1)"
    printf 'file system of the logs\t%s\n' "$(findmnt --noheadings --output FSTYPE --target "$results")"
    printf 'spdlog\t%s\n' "$(package_version libspdlog-dev)"
    printf 'log4cplus\t%s\n' "$(package_version liblog4cplus-dev)"
    printf 'command\t./dev bench%s\n' "${1:+ $1}"
    printf 'rounds\t%s\n' "$rounds"
    printf 'records of a measurement\t%s; of 4,000 characters %s\n' "$records" "$((records / 4))"
    printf 'starts of a program\t%s\n' "$starts"
    printf 'foreign entries of the folder that is pruned\t%s\n' "$entries"
}

# Turns a table with tabulators into one of Markdown, with numbers to the right. With MESSAGE only its rows, without the
# first column.
markdown() { # markdown NAME [MESSAGE]
    awk -F '\t' -v message="${2-}" '
        function row(first, i, text) {
            text = "|"
            for (i = first; i <= NF; i++) text = text " " $i " |"
            print text
        }
        BEGIN { first = message == "" ? 1 : 2 }
        NR == 1 { header = $0; next }
        message != "" && $1 != message { next }
        !begun {
            begun = 1; line = $0; rule = "|"
            for (i = first; i <= NF; i++) rule = rule ($i ~ /^[0-9.]+$/ || $i == "void" ? "---:|" : "---|")
            $0 = header; row(first); print rule
            $0 = line
        }
        { row(first) }' "$results/$1.tsv"
}

# The template with each line @NAME@ or @NAME MESSAGE@ replaced by that table.
document() {
    local line words
    while IFS= read -r line; do
        if [[ $line =~ ^@([a-z]+)( (.+))?@$ ]]; then
            words=("${BASH_REMATCH[1]}" "${BASH_REMATCH[3]}")
            markdown "${words[@]}"
        else
            printf '%s\n' "$line"
        fi
    done <bench/performance.md.in
}

plot() {
    mkdir -p "$results/performance"
    gnuplot -e "table='$results/throughput.tsv'; folder='$results/performance'" bench/plots.gp
}

show() {
    local table
    for table in throughput ratios lock stopped size rotation pruning start hook; do
        printf '\n%s\n' "$table"
        column -t -s $'\t' "$results/$table.tsv"
    done
}

clean_up() {
    rm -rf "$logs" "${machine:-$logs}"
}

tools/setup.sh build run bench
configure_without_tests release -DHCD_BENCH_PEERS=ON
compile release benchmarks HCDCustomHook
failed=false
mkdir -p "$results"
rm -f "$results"/*.tsv
trap clean_up EXIT
host_table "$@" >"$results/host.tsv"
measure
document >"$results/performance.md"
plot
show
! $failed || fail "A rate is void: a record was lost, torn or doubled. Nothing was written to docs/."
[ "${1-}" != quick ] || { echo; echo "The document is $results/performance.md."; exit; }
mkdir -p docs/performance
cp "$results/performance.md" docs/performance.md
cp "$results"/performance/*.svg docs/performance/
