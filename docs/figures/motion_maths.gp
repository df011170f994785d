# Draws docs/motion-maths.png and docs/stopping-speed.png; figures.sh calls it.
set terminal pngcairo size 1100,1560 font "Sans,10"
set output out.'/motion-maths.png'
data = work.'/motion_maths.txt'
set grid lc rgb '#dddddd'
set key bottom right samplen 2 noopaque
set xlabel 's' offset 0,0.8
set lmargin 9; set rmargin 6; set tmargin 2.2; set bmargin 3.2
set multiplot layout 5,2
set style line 1 lc rgb '#999999' lw 2
set style line 2 lc rgb '#0060a0' lw 2
set style line 3 lc rgb '#c04000' lw 1.5
set style line 4 lc rgb '#309030' lw 2

set title 'A step: V = 0.8, A = 4'
plot data index 'step' using 1:2 with lines ls 1 title 'target', '' index 'step' using 1:3 with lines ls 2 title 'position'
set title 'its speed and acceleration, before and behind the filter'
set key bottom left
set y2tics; set ytics nomirror; set y2range [-6:6]; set yrange [-1.2:1.2]
plot data index 'step' using 1:4 with lines ls 2 title 'speed', \
     '' index 'step' using 1:6 with lines ls 4 title 'speed, filtered', \
     '' index 'step' using 1:5 axes x1y2 with lines lc rgb '#e0a080' title 'acceleration (right)', \
     '' index 'step' using 1:7 axes x1y2 with lines ls 3 title 'acceleration, filtered (right)'
unset y2tics; set ytics mirror; set yrange [*:*]
set key top right

set title 'A moving target, not followed: A = 8; at 3 s it jumps to 0'
plot data index 'moving' using 1:2 with lines ls 1 title 'target', '' index 'moving' using 1:3 with lines ls 2 title 'position'
set title 'the lag is the stopping distance'
set yrange [0:0.18]
plot data index 'moving' using 1:($1<3?abs($2-$3):NaN) with lines ls 2 title 'target - position', \
     '' index 'moving' using 1:($1<3?$4**2/16:NaN) with lines ls 3 title 'v^2/2A'

set yrange [*:*]; set key bottom right
set title 'A lowered limit: A = 20, at 0.4 s 0.5'
plot data index 'lowered' using 1:2 with lines ls 1 title 'target', '' index 'lowered' using 1:3 with lines ls 2 title 'position'
set title 'its speed: it brakes by 20 until 0.5 suffices to stop'
plot data index 'lowered' using 1:4 with lines ls 2 notitle

set title 'A path of two joints: 1.5 rad/s, 4.3 rad/s^2 under A = 8 and 20'
set size ratio -1; unset key; set xlabel 'rad'
plot data index 'path_followed' using 2:8 with lines ls 1 lw 4 title 'samples', \
     '' index 'path_lagging' using 3:9 with lines ls 3 title 'not followed', \
     '' index 'path_followed' using 3:9 with lines ls 2 title 'followed'
set size noratio; set key top left; set xlabel 's'; set yrange [0:70]
set title 'distance from the circle, mrad'
plot data index 'path_lagging' using 1:($1>1.6?abs(sqrt($3**2+$9**2)-2.25/4.3)*1e3:NaN) with lines ls 3 title 'not followed', \
     '' index 'path_followed' using 1:($1>1.6?abs(sqrt($3**2+$9**2)-2.25/4.3)*1e3:NaN) with lines ls 2 title 'followed'

set yrange [*:*]; set key bottom right
set title 'A run that is stopped dead at 0.6 s: A = 8'
plot data index 'stop' using 1:2 with lines ls 1 lw 4 title 'samples', '' index 'stop' using 1:3 with lines ls 2 title 'position'
set title 'its speed'
plot data index 'stop' using 1:4 with lines ls 2 notitle
unset multiplot

set terminal pngcairo size 1000,380 font "Sans,10"
set output out.'/stopping-speed.png'
set multiplot layout 1,2
S(e) = (n = floor((sqrt(1+8*e)-1)/2), e/(n+1) + n/2.0)
set lmargin 8; set rmargin 2
set title 'e = 12.4, n = 4: five steps cover it, each 1 slower'
set style fill solid 0.35 border
set boxwidth 1
set xrange [0:6]; set yrange [0:5]; set xlabel 'step' offset 0,0.7; set ylabel 'speed, h'
u = S(12.4)
plot '+' using (floor($1)+0.5):(floor($1)<5 ? u-floor($1) : NaN) with boxes ls 2 notitle
set title 'largest next speed that still stops at e'; set key top left
set xrange [0:11]; set yrange [0:5]; set xlabel 'e, q'; set samples 600
plot sqrt(2*x) with lines ls 3 title 'sqrt(2e), the classical law', S(x) with lines ls 2 title 'e/(n+1) + n/2'
unset multiplot
