% Malformed lines: each prints one line on stderr; the workspace stays.
keep = 1;
a = [1 2
b = [1 2; 3]
c = {1, 2; 3}
d = (1 + 
e = nosuchname
f = nosuchfunction(1, 2)
g = int8('a', 'b')
h = logical(NaN)
k = int8({1})
m = zeros(-1)
n = reshape([1 2 3], 2, 2)
p = sparse([1 2], [1], [3 4])
q = struct('a')
r = 'unterminated
s = 1 + 2
t = -keep
u = [1 2] ]
v = 3 $ 4
w = 12abc
keep(1)
format wide
plugin load
plugin load nosuch
plugin unload nosuch
help nosuch
x = "after the errors"
who
