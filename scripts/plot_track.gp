# Draws a track. Variables: csv (input), png (output), name (title).
set terminal pngcairo size 1200,640 font "sans,11"
set output png
set datafile separator ","
set multiplot layout 2,1 title name noenhanced
set grid
set xlabel ""
set lmargin 10
set size 1,0.62
set origin 0,0.36
set ylabel "frequency [Hz]"
set logscale y 2
plot csv every ::1 using 1:($2 > 0 ? $2 : 1/0) with points pointtype 7 pointsize 0.4 linecolor rgb "#1f5fa8" notitle
unset logscale y
set size 1,0.36
set origin 0,0
set ylabel "confidence"
set xlabel "time [s]"
set yrange [0:1.1]
plot csv every ::1 using 1:3 with lines linecolor rgb "#777777" notitle
unset multiplot
