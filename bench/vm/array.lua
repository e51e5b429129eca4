local size = 1000000
local a = {}
local total = 0
for round = 1, tonumber(arg[1]) do
    for i = 1, size do
        a[i] = 1
    end
    for i = 2, 1000 do
        if a[i] ~= 0 then
            for j = i * i, size, i do
                a[j] = 0
            end
        end
    end
    for i = 1, size do
        total = total + a[i]
    end
end
print(total)
