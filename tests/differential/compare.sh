#!/usr/bin/env bash
# Lets two programs answer the same cases of one kind and compares the answers. A difference passes when a row of
# EXCEPTIONS covers it; a row for this kind that covers none fails, and so does a program that died or complained. Rows
# for other versions of GNUstep Base than VERSION are left out.
# usage: compare.sh KIND PROGRAM PROGRAM EXCEPTIONS VERSION
set -euo pipefail
export LC_ALL=C

kind=$1 one=$2 other=$3 exceptions=$4 version=$5
least=300
[ "$kind" = path ] && least=1000
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
failures=0

"$one" "$kind" >first &
"$other" "$kind" >second
wait $!
cases=$(wc -l <first)
if [ "$cases" -lt "$least" ] || ! cmp -s <(cut -f 1,2 first) <(cut -f 1,2 second); then
    echo "There are to be $least cases or more, the same from both programs." >&2
    failures=1
fi

if grep -hE '\[(died of|ended with|printed:)' first second >&2; then
    echo "A host died or wrote to standard error." >&2
    failures=1
fi

paste first second | awk -F '\t' '($3 "") != ($6 "")' >differences
cut -f 1,2 differences >inputs

: >patterns
while IFS=$'\t' read -r row pattern reason versions; do
    [[ $row == difference && $pattern == "^$kind\\t"* ]] || continue
    [[ -z $versions || " $versions " == *" $version "* ]] || continue
    pattern=${pattern//\\t/$'\t'}
    printf '%s\n' "$pattern" >>patterns
    count=$(grep -cE -e "$pattern" inputs) || failures=1
    printf '%5d covered by %s: %s\n' "$count" "${pattern//$'\t'/ }" "$reason"
done <"$exceptions"

open=$(grep -nvE -f patterns inputs | cut -d : -f 1 | sed 's/$/p/') || true
if [ -n "$open" ]; then
    sed -n "$open" differences | awk -F '\t' '{ print $1 "\t" $2 "\n    " $3 "\n    " $6 }' >&2
    failures=1
fi
printf '%5d cases, %d different, %d of these covered by no row\n' "$cases" "$(wc -l <inputs)" "$(wc -w <<<"$open")"
exit "$failures"
