import sys


def run(rounds):
    size = 1000000
    a = [0] * (size + 1)
    total = 0
    for _ in range(rounds):
        for i in range(1, size + 1):
            a[i] = 1
        for i in range(2, 1001):
            if a[i]:
                for j in range(i * i, size + 1, i):
                    a[j] = 0
        for i in range(1, size + 1):
            total += a[i]
    return total


print(run(int(sys.argv[1])))
