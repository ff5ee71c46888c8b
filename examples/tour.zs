% A tour of libzorvat_core through zorvat-host.  Run: tools/demo.sh
% Every value below is built by the host and shown by the library.
help
x = 1.5
i8 = int8([-200 -1.5 1.5 200])
u64 = uint64(18446744073709551615)
sg = single([0.1 0.25])
z = complex([1 3], [2 -4])
lg = logical([1 0 2])
c = 'a char array'
s = "a string"
m = [1 2.5; -3 4e3]
% The same matrix in every display format.
format long
m
format shorte
m
format longe
m
format hex
k = int32([255 -1; 16 4096])
format +
m
format short
format compact
m
format loose
% N-d arrays are shown slice by slice.
nd = reshape(int16([1 2 3 4 5 6 7 8]), 2, 2, 2)
z3 = zeros(2, 1, 2)
% Wider than the console: column pages at the real console width.
wide = reshape([1.5 2.5 3.5 4.5 5.5 6.5 7.5 8.5 9.5 10.5 11.5 12.5 13.5 14.5 15.5 16.5 17.5 18.5 19.5 20.5 21.5 22.5 23.5 24.5], 2, 12)
cl = {1, 'a'; [1 2 3], "s"}
st = struct('name', 'Ada', 'year', 1843, 'tags', {{'x', 'y'}})
sp = sparse([1 3 2], [1 1 4], [10 -20 30.5], 3, 4)
fh = @quat
% The host computes on the built-in kinds with matrix<T>: elementwise with
% scalar expansion, integer types saturate, * is the matrix product.
format compact
a = [1 2; 3 4];
a + 10
a .* a
a * [1; -1]
a'
int8([100 -100]) * 2
single(1) / 3
b = a >= 2 & a < 4
r = 1:0.5:3
% Indexing, and assignment that grows an array.
a(2, :)
a(end)
a(:)'
cl{2, 1}(2)
st.year - 1800
g = [];
g(2, 3) = 5
a(3, 1)
% Statements: loops and conditions, on one line or over several lines;
% assignment into fields and deletion.
total = 0;
for k = 1:6
  if mod(k, 2) == 0, total = total + k; end
end
total
st.place.city = 'London';
st.place
g(:, 1) = []
[m, where] = max([3 9 2])
f = @numel; f(cl)
format loose
% Operators on objects of a plugin's types go to the plugin.
plugin load quaternion
plugin list
help quat
q = quat(1, 2, 3, 4)
r = quat(0, 1, 0, 0);
sum = q + r
diff = q - 1
qr = q * r
rq = r * q
neg = -q
same = q == quat(1, 2, 3, 4)
len = norm(quat(0, 3, 4, 0))
% An operator the plugin does not define.
q / r
plugin unload quaternion
who
% A plugin written in C through libzex.so, beside the quaternion plugin:
% column statistics of any real array, returned as a structure.
plugin load colstats
plugin load quaternion
plugin list
help colstats
stats = colstats([1 2; 3 4; 5 9])
stats8 = colstats(int8([1; -2; 3]))
% A C plugin can call back into the environment by name.
viaquat = colstats_of('norm', quat(0, 3, 4, 0))
% Errors reported by the C plugin.
colstats({1, 2})
colstats(quat(1, 2, 3, 4))
plugin unload quaternion
plugin unload colstats
% A workspace saved to a MAT-file (version 7 unless -v6 or -v7.3 says
% otherwise), cleared, and loaded back.
clear
x = 1.5; m = [1 2.5; -3 4e3]; c = 'a char array'; st = struct('name', 'Ada', 'year', 1843);
save tour.mat
save tour73.mat m -v7.3
clear
load tour.mat
st
load tour73.mat
