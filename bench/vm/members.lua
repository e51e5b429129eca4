local point = { x = 0, step = 3, moves = 0 }
for i = 1, tonumber(arg[1]) do
    point.x = point.x + point.step
    point.moves = point.moves + 1
end
print(point.x + point.moves)
