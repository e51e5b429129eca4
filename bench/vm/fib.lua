local function fib(n)
    if n < 2 then
        return n
    end
    return fib(n - 1) + fib(n - 2)
end

local last = tonumber(arg[1])
local total = 0
for n = last - 8, last do
    total = total + fib(n)
end
print(total)
