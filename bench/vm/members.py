import sys


class Point:
    def __init__(self):
        self.x = 0
        self.step = 3
        self.moves = 0


def run(turns):
    point = Point()
    for _ in range(turns):
        point.x = point.x + point.step
        point.moves = point.moves + 1
    return point.x + point.moves


print(run(int(sys.argv[1])))
