% save and load: every kind through each version of MAT-file and back.
format compact
d = [1.5 -0 Inf; NaN 2 3]
i = [int8(-128) int8(127)];
u = uint64(18446744073709551615);
z = complex([1 2], [-3 0]);
l = logical([1 0; 0 1]);
t = ['ab'; 'cd'];
w = '中文';
e = zeros(0, 3);
n = reshape(int16([1 2 3 4 5 6 7 8]), 2, 2, 2);
sp = sparse([1 3], [2 2], [5 -6], 3, 2);
c = {1, 'x'; {int8(2)}, []};
st = struct('b', 1, 'a', 'text');
sa = struct('v', {1, 'two'});
who
% The options may stand anywhere after save.
save v7.mat
save -v6 v6.mat
save v73.mat -v7.3
clear
load v6.mat
d, i, u, z, l, t, w, e, n, sp, c, st, sa
clear
load v73.mat
d, i, u, z, l, t, w, e, n, sp, c, st, sa
clear
% Only the named variables; load replaces a variable of the same name.
d = 'replaced'
load v7.mat d st
d, st
who
save part.mat -v7.3 d st
load part.mat
% A string array goes as a cell of char rows.
s = "a string";
save str.mat s
load str.mat
s
% Errors: the message names the file or the variable, and nothing changes.
load missing.mat
load v7.mat d nosuch
load v73.mat d nosuch
save bad.mat nosuch
f = @quat;
save bad.mat
save bad.mat f -v7.3
save bad.mat d -v8
load v7.mat -v7
save
load
who
help save
help load
