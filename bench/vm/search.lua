local text = "The quick brown fox jumps over the lazy dog at sunset"
local find = string.find
local total = 0
for i = 1, tonumber(arg[1]) do
    total = total + find(text, "lazy", 1, true)
end
print(total)
