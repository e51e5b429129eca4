import sys


def run(turns):
    text = "The quick brown fox jumps over the lazy dog at sunset"
    total = 0
    for _ in range(turns):
        total += text.find("lazy") + 1
    return total


print(run(int(sys.argv[1])))
