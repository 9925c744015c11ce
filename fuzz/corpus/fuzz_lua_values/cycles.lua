local t = {}
t[1] = t
pcall(convert, t)
pcall(convert, print)
pcall(convert, coroutine.create(function() end))
convert(convert)
