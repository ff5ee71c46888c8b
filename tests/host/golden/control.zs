% Blocks on one line and over several lines; errors inside and around them.
format compact
x = 5;
if x > 3, disp('big'), elseif x > 1, disp('medium'), else, disp('small'), end
if x > 9, disp('big'), elseif x > 1, disp('medium'), else disp('small'), end
if [], disp('empty is false'), else, disp('else'), end
if [1 1 0], disp('all?'), else, disp('not all'), end
% for runs over the columns of its value: numbers, a matrix, a cell, nothing.
for k = [10 20], k, end
for col = [1 2; 3 4]
  col'
end
for c = {'a', 1}, c, end
for e = zeros(1, 0), disp('never'), end
% A range is walked without being made, however long.
for i = 1:1e12, if i > 2, break, end, end, i
for i = 5:-2:1, disp(i), end
for i = (1:2) * 10, disp(i), end
% while, break and continue, nested.
n = 0; s = 0;
while n < 10
  n = n + 1;
  if mod(n, 2) == 0
    continue
  end
  for j = 1:10
    if j > 2, break; end
    s = s + j;
  end
end
[n s]
i = 0; while true, i = i + 1; if i == 3, break, end, end; i
% Errors: the loop variable keeps its last value, earlier statements stay.
t = 0; for k = 1:3, t = t + k; if k == 2, undefined_name, end, end
[t k]
if NaN, end
if {1}, end
for 1:3, end
while, end
break
continue
end
else
if true, elseif, end
while true
  stop_here(
end
disp('after the block')
% A block still open at the end of the script.
for k = 1:2
  disp(k)
