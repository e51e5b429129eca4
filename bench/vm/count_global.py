import sys

limit = int(sys.argv[1])
i = 0
while i < limit:
    i = i + 1
print(i)
