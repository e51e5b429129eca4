import sys


def run(rounds):
    for _ in range(rounds):
        text = ""
        for _ in range(1000000):
            text += "ten bytes\n"
        sys.stdout.write(text)


run(int(sys.argv[1]))
