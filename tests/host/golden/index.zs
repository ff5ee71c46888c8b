% Subscripts, ranges and assignment that grows arrays.
format compact
x = reshape(1:12, 3, 4);
x(2, 3)
x(end)
x(end, :)
x([1 3], [2 4])
x(:, end)'
x(5:7)
x(logical([1 0 1]), 1)'
v = 10:-4:-3
e = 5:1
n = reshape(1:24, 2, 3, 4);
n(2, 12)
n(1, 2, 3)
s = "text";
s(1)
c = {1, 'two'; [3 4], {5}};
c(1, :)
c{2, 2}{1}
st = struct('a', [7 8 9]);
st.a(end)
y(3) = 1
y(2, 2) = int8(4)
w = [1 2 3];
w(6) = 6
w([1 2]) = 0
col = [1; 2];
col(4) = 4
d = {};
d{2} = 'b'
