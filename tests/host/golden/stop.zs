% Without --keep-going a script stops at its first error, with status 1.
before = 1
after = [1 2; 3]
never = 2
