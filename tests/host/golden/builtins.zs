% The built-in functions, several outputs, calls without outputs, handles,
% and NaN without a sign.
format compact
help size
help nnz
x = [3 1 NaN; 4 1 5];
[size(x) numel(x) length(x) ndims(x) isempty(x) isempty(zeros(0, 3))]
size(zeros(2, 3, 4), 3)
[r, c] = size(zeros(2, 3, 4))
[r, c, p, q] = size(zeros(2, 3))
class({}), class(int8(1)), class(sparse(1, 1, true)), class(@sin), class(struct())
sum(x), sum(x, 2), sum(int8([100 100])), sum([]), prod([1 2; 3 4])
[m, i] = max(x)
[m, i] = min(x, [], 2)
min([NaN NaN]), max([1 5 2], 3), max([])
abs([-2 3+4i]), round([2.5 -2.5 0.4]), floor(-1.5), ceil(single(1.2))
sqrt([4 -9]), mod([7 -7 7], [3 3 0]), mod(int8(7), 2)
pi, eye(2, 3), linspace(0, 1, 5), linspace(1, 2, 1)
disp(pi), disp('text'), disp([1 2; 3 4]), disp({1})
num2str(3), num2str(-pi), num2str([1 2.5; 10 -4]), num2str(1e10 + 0.5)
s = struct('a', 1, 'b', 'two');
fieldnames(s), isfield(s, 'b'), isfield(s, {'a', 'c'}), isfield(5, 'a')
sp = sparse([1 3], [2 2], [5 0], 3, 3);
nnz(sp), nnz([1 0 2]), full(sp)
% NaN from invalid operations has no sign.
z = [0/0, -(0/0), Inf - Inf, 0 * Inf], single(0)/0, sqrt(NaN)
% Function handles are called like functions; [a, b] = f(x) takes outputs.
f = @max; f([1 9 3])
[v, where] = f([1 9 3])
[~, where] = max([4 8])
g = @disp; g('through a handle')
% Plugin functions: several outputs, none, and through a handle.
plugin load colstats
[lo, hi] = colrange([1 5; 3 2])
colprint([1 2; 3 4])
h = @colrange; [a, b] = h([7; 8])
% A plugin calls a built-in by name.
viasum = colstats_of('sum', [1 2; 3 4]);
viasum.max
% Errors.
y = disp(1)
[a, b] = x
[a, b] = numel(x)
[1, b] = size(x)
size()
sum(x, 0)
min(1, 2, 3)
sqrt(int8(4))
max([1 2], [1 2 3])
mod(1i, 2)
k = colprint(1)
fieldnames(1)
plugin unload colstats
