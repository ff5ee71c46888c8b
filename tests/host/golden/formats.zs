% The display formats, spacing and a matrix wider than the 80-column console.
v = [1.5 -2.25 1000.125]
format long
v
format shorte
v
format longe
v
format hex
k = int32([255 -1])
format +
v
format short
format compact
v
format loose
wide = reshape(double(int32([1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24 25 26 27 28 29 30])) , 2, 15)
frac = [1.25 2.5 3.75 4.125 5.5 6.625 7.75 8.875 9.5 10.25 11.125 12.5 13.75 14.5 15.25]
