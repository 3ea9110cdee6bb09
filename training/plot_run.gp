# Losses and scores of a training run: gnuplot -e "run='FOLDER'" training/plot_run.gp -> FOLDER/run.png
set terminal pngcairo size 1000,900 font "sans,10"
set output run."/run.png"
set datafile separator ","
set termoption noenhanced
set multiplot layout 3,1
set grid
set key outside right
set xlabel "step"
set ylabel "loss per frame"
set logscale y
plot for [c in "total pitch unvoiced confidence classes"] run."/losses.csv" using "step":(column(c) > 0 ? column(c) : NaN) with lines title c
unset logscale y
set ylabel "F1 at 50 cents"
set yrange [0.5:1]
plot for [f in "clean noisy_10dB"] "< grep -E '^step|,offline,".f.",' ".run."/scores.csv" using "step":"f1" with linespoints title f
set ylabel "median error [cents]"
set yrange [0:40]
plot for [f in "clean noisy_10dB"] "< grep -E '^step|,offline,".f.",' ".run."/scores.csv" using "step":"cents" with linespoints title f
