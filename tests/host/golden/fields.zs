% Assignment into fields, structure arrays and cells; deletion of elements.
format compact
s.a = 5;
s.b.c = [1 2];
s.b.c(3) = 7;
s
s.b
t(2).a = 1;
t(2)
t(1)
t(3) = struct('a', 'x', 'z', 2);
size(t)
fieldnames(t)
u = struct('a', {1, 2});
u(2).a
u(end + 1).a = 'new';
numel(u)
c{3}.x = 1;
c
c{3}.y{2} = 'deep';
c{3}.y
e = [];
e.name = 'was empty';
e
% Deletion: whole columns or rows, linear positions, cells, structures.
x = reshape(1:12, 3, 4);
x(:, [2 4]) = []
x(2, :) = []
v = 10:10:50;
v([1 3]) = []
w = (1:4)';
w(end) = []
q = {1, 'two', 3};
q(2) = []
% Errors: the workspace keeps its old values.
u.a = 3
u(1) = [];
u(1).a
n = 5; n.f = 1
x(1, 1) = []
x(9) = []
nothere(2) = []
t(1:2).a = 5
s(2) = 3
