import sys


def count(limit):
    i = 0
    while i < limit:
        i = i + 1
    return i


print(count(int(sys.argv[1])))
