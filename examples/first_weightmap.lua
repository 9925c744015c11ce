-- A first scene: a ground grid and a ball. The ball is resolved into a new weight map that
-- covers every point, the map is filled from the points' heights, and written out.
--
--   orbelin run examples/first_weightmap.lua     (writes out/first_weightmap.csv in the project folder)

local radius = 2
local grid = CreatePrim("Grid", "grid", {sizex = 20, sizez = 20, subdivu = 10, subdivv = 10})
local sphere = CreatePrim("Sphere", "sphere", {radius = radius, subdivu = 16, subdivv = 8})
print("created " .. grid .. " and " .. sphere)

-- Given an object rather than a cluster, CreateWeightMap makes a point cluster over the whole
-- object and puts the new map on it. It returns the maps it created.
SelectObj(sphere)
local map = ExecuteCommand("CreateWeightMap", {"", "sphere", "ProximityWeightMap", "", false})[1]
print("new weight map: " .. map)

local elements = GetElements(map)
local points = GetPointPositions(sphere)
assert(#elements == #points, "the map should cover all " .. #points .. " points, it has " .. #elements)
for i, point in ipairs(elements) do
  assert(point == i - 1, "element " .. i .. " should be point " .. (i - 1) .. ", it is " .. point)
end

-- 0 at the bottom of the sphere, 1 at the top. Elements are in point order (checked above).
local weights = {}
for i, p in ipairs(points) do
  weights[i] = (p[2] + radius) / (2 * radius)
end
SetWeights(map, weights)

WriteWeightsCSV(map, "out/first_weightmap.csv")
print("wrote out/first_weightmap.csv (" .. #weights .. " weights, from 0 at the bottom to 1 at the top)")
