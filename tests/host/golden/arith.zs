% Result types and values of the host's arithmetic on the built-in kinds.
format compact
int8(100) + 100
uint8(3) - 5
int16(7) ./ 2
int32(-7) / 2
uint8(5) / 0
int8(1) * NaN
single(1) + 2
single([1 2]) .* complex(1, 1)
true + true
'a' + 1
-'a'
-uint8(5)
+true
~[0 1 NaN]
[1 2 3] == [1 5 3]
'abc' < 'b'
complex(1, 2) < 1.5
complex(1, 1) * complex(1, -1)
(-8) .^ (1/3)
2 .^ [-1 0 0.5]
[1 2; 3 4] * [5 6; 7 8]
single([1 2]) * [3; 4]
[1 2 3]' * [1 2]
complex([1 2], [1 -1])'
zeros(2, 0) + 1
reshape(1:8, 2, 2, 2) - 1
1 / [1 2]
