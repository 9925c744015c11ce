local t = "leaf"
for i = 1, 120 do t = {t} end
convert(t)
