% The quaternion plugin: loading, operators, overloads, help, unloading.
q = quat(1, 2, 3, 4)
plugin load quaternion
plugin load quaternion
plugin list
path
help quat
q = quat(1, 2, 3, 4)
r = quat(0, 1, 0, 0);
s = q + r
d = q - 1
p1 = q * r
p2 = r * q
n = -q
e = q == quat(1, 2, 3, 4)
f = q == r
len = norm(quat(0, 3, 4, 0))
norm(3)
bad = q + 'text'
c = {q, 1}
j = [q r]
t = q';
plugin unload quaternion
who
plugin list
path
q2 = quat(1)
plugin load quaternion
again = quat(5)
plugin unload quaternion
% Plugin objects deep inside structures and cells are cleared too.
plugin load quaternion
st = struct('q', quat(1, 2, 3, 4));
cc = {{1, st}};
plugin unload quaternion
st
who
% A plugin function named like a built-in one: a warning on load; the name
% stays the built-in's, plugin::name reaches the plugin's.  The host names
% the function in a plugin's error.  ';' after a command is dropped.
plugin load clash;
zeros(1)
clash::zeros(1)
clash::fail(1)
clash::nosuch(1)
plugin unload clash
