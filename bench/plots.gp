# Draws the table of rates. Needs the variables `table` and `folder`.
set terminal svg size 960,720 dynamic background rgb "white" font "sans-serif,12"
set datafile separator "\t"
set datafile missing "void"
set style data linespoints
set logscale x 2
set xtics (1, 2, 4, 8)
set xrange [0.9:9]
set xlabel "processes"
set key outside bottom center horizontal samplen 2
set grid ytics lc rgb "#dddddd"
messages = "'short' 'six arguments' 'tags' '4,000 characters'"
contenders = system("awk -F'\t' 'NR > 1 && !seen[$3]++ { print $3 }' '".table."'")
rows(message, contender) = "< awk -F'\t' -v m='".message."' -v c='".contender."' '$1 == m && $3 == c' '".table."'"

set output folder."/throughput.svg"
set multiplot layout 2,2 title "Records a second, all processes together"
set yrange [0:*]
set format y "%.0s%c"
do for [i = 1:4] {
    set title word(messages, i)
    plot for [contender in contenders] rows(word(messages, i), contender) using 2:4 title contender lw 2 pt 7 ps 0.5
}
unset multiplot

set output folder."/latency.svg"
set multiplot layout 2,2 title "Time that 99 of 100 records do not exceed, in microseconds"
set yrange [*:*]
set logscale y
set format y "%g"
do for [i = 1:4] {
    set title word(messages, i)
    plot for [contender in contenders] rows(word(messages, i), contender) using 2:6 title contender lw 2 pt 7 ps 0.5
}
unset multiplot
