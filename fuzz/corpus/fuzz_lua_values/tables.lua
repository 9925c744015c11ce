local t = {1, "two", {3, {4.5, false}}, nil, 5}
local r = convert(t)
assert(r[3][2][1] == 4.5)
convert({a = 1, [1] = 2})
convert({})
