limit = tonumber(arg[1])
i = 0
while i < limit do
    i = i + 1
end
print(i)
