-- Joining one by one would copy the text each time; a table of pieces is the way here.
for round = 1, tonumber(arg[1]) do
    local pieces = {}
    for i = 1, 1000000 do
        pieces[#pieces + 1] = "ten bytes\n"
    end
    io.write(table.concat(pieces))
end
