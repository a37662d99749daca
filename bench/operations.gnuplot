# SPDX-License-Identifier: MIT
# The CPU of each operation beside its best peer's, one bar for each: to the left
# of 1 the library is quicker, to the right the peer.
# usage: gnuplot -c operations.gnuplot TABLE CHART CAPTION
table = ARG1
set datafile separator "\t"
stats table using 1 nooutput
lines = STATS_max
stats table using (log(column(3)) / log(2)) nooutput
least = 2.0**floor(STATS_min < -1 ? STATS_min : -1)
most = 2.0**ceil(STATS_max > 1 ? STATS_max : 1)
height = 130 + 17 * lines
set terminal svg size 1100,height enhanced font "sans-serif,12" background rgb "white"
set output ARG2

# One verdict's rows; the others' are left out.
ratio(verdict) = strcol(5) eq verdict ? column(3) : NaN
left(x) = x < 1 ? x : 1
right(x) = x > 1 ? x : 1
beside(row) = strcol(5) eq "head" ? "" : sprintf("%.2f of %s", column(3), strcol(4))

array verdict[4] = ["ahead", "level", "held", "behind"]
array colour[4] = ["#1f5f9e", "#8ab4d8", "#f0c27a", "#c0392b"]
array meaning[4] = ["ahead", "level", "behind, what holds it is named", "behind"]

set title "CPU of the library's operations, best peer = 1\n{/=12 ".ARG3."}" offset 0,3
set key at screen 0.5,(1 - 60.0 / height) center top maxrows 2 samplen 1.5 width 2
set tmargin 8
set lmargin 50
set rmargin 36
set logscale x 2
set logscale x2 2
set xrange [0.98 * least:1.02 * most]
set x2range [0.98 * least:1.02 * most]
set xtics nomirror scale 0
set x2tics scale 0
do for [power = -6:4] {
  mark = power < 0 ? sprintf("1/%d", 2**-power) : sprintf("%d", 2**power)
  set xtics add (mark 2.0**power)
  set x2tics add (mark 2.0**power)
}
set yrange [0.3:lines + 0.7]
set y2range [0.3:lines + 0.7]
set ytics scale 0 noenhanced
set y2tics scale 0 noenhanced
set style fill solid noborder
set border 1 linecolor rgb "#555555"
set grid xtics linecolor rgb "#dddddd"
set arrow from 1, graph 0 to 1, graph 1 nohead linecolor rgb "#555555"

plot for [i = 1:4] table \
    using (1):1:(left(ratio(verdict[i]))):(right(ratio(verdict[i]))):($1 - 0.36):($1 + 0.36) \
    with boxxyerror linecolor rgb colour[i] title meaning[i], \
  "" using (1):1:ytic(2) with points pointtype -1 notitle, \
  "" using (1):1:y2tic(beside(0)) axes x1y2 \
    with points pointtype -1 notitle
