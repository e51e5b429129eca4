import sys


def fib(n):
    if n < 2:
        return n
    return fib(n - 1) + fib(n - 2)


last = int(sys.argv[1])
total = 0
for n in range(last - 8, last + 1):
    total += fib(n)
print(total)
