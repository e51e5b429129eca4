local function count(limit)
    local i = 0
    while i < limit do
        i = i + 1
    end
    return i
end

print(count(tonumber(arg[1])))
