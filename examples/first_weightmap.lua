-- A first scene: a ground grid and a ball. The ball is resolved into a new weight map that
-- covers every point, the map is filled from the points' heights, and written out.

local ground = CreatePrim("Grid", "ground", {sizex = 20, sizez = 20, subdivu = 10, subdivv = 10})
local ball = CreatePrim("Sphere", "ball", {radius = 2, subdivu = 16, subdivv = 8})
print("created " .. ground .. " and " .. ball)

SelectObj(ball)
local map = ExecuteCommand("CreateWeightMap", {"", ball, "ProximityWeightMap", "", false})[1]
print("new weight map: " .. map)

-- The map covers every point of the ball, in point order.
local elements = GetElements(map)
local points = GetPointPositions(ball)
assert(#elements == #points, "the map should cover all " .. #points .. " points")
for i, point in ipairs(elements) do
  assert(point == i - 1, "element " .. i .. " should be point " .. (i - 1))
end

-- 0 at the bottom of the ball, 1 at the top.
local weights = {}
for i, p in ipairs(points) do
  weights[i] = (p[2] + 2) / 4
end
SetWeights(map, weights)

WriteWeightsCSV(map, "out/first_weightmap.csv")
print("wrote out/first_weightmap.csv (" .. #weights .. " weights)")
