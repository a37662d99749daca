# SPDX-License-Identifier: MIT
# The client's CPU of whole exchanges beside a loop on bare sockets, for every
# contender: straight to the origin above, through a proxy below.
# usage: gnuplot -c exchanges.gnuplot TABLE CHART CAPTION
table = ARG1
set terminal svg size 1000,760 enhanced font "sans-serif,13" background rgb "white"
set output ARG2

set datafile separator "\t"
array called[5] = ["loop, 64 KB at a time", "curl, handle reused", "curl, handle fresh", \
                   "qnstack, reads of 4 KB", "qnstack, reads of 64 KB"]
array colour[5] = ["#b5b5b5", "#f0c27a", "#d98f2b", "#6fa8dc", "#1f5f9e"]
width = 0.16
place(row, bar) = row + (bar - 3) * width

stats table index 0 using 2 nooutput
set style fill solid noborder
set xrange [-0.55:STATS_records - 0.45]
set yrange [0:*]
set xtics scale 0
set ytics nomirror format "%.1f"
set grid ytics linecolor rgb "#dddddd"
set border 3 linecolor rgb "#555555"
set ylabel "CPU, loop with 2 KB at a time = 1"
set lmargin 9
set rmargin 2

set multiplot layout 2,1 title "Client CPU of an exchange\n{/=12 ".ARG3."}" \
  margins 0.07,0.985,0.05,0.82 spacing 0,0.13
do for [way = 0:1] {
  set title (way == 0 ? "straight to the origin" : "through a proxy") offset 0,-0.5
  if (way == 0) {
    set key at screen 0.5,0.91 center maxrows 2 samplen 1.5 width 2
  } else {
    unset key
  }
  plot for [bar = 1:5] table index way \
      using (place($0, bar)):(column(bar + 1)):(width * 0.9) \
      with boxes linecolor rgb colour[bar] title called[bar], \
    for [bar = 1:5] "" index way \
      using (place($0, bar)):(0.05):(sprintf("%.2f", column(bar + 1))) \
      with labels left rotate font ",11" textcolor rgb (bar == 5 ? "white" : "black") notitle, \
    "" index way using 0:(0):xtic(1) with points pointtype -1 notitle, \
    for [bar = 4:5] "" index way using (place($0, bar - 0.5)):(column(bar + 3)):(width):(0) \
      with vectors nohead linecolor rgb "black" linewidth 2 title (bar == 4 ? "goal" : ""), \
    1 linecolor rgb "#555555" dashtype 2 notitle
}
unset multiplot
