-- A ball and a ring rolling across a floor over 50 frames. The floor's Proximity Map caches
-- every frame and keeps the maximum, so the map stays wet where they have been.

local floor = CreatePrim("Grid", "floor", {sizex = 20, sizez = 20, subdivu = 80, subdivv = 80})
local ball = CreatePrim("Sphere", "ball", {radius = 1, subdivu = 16, subdivv = 8})
local ring = CreateCircle("ring", 1.5)

-- The ball rolls from one side to the other; the ring crosses the other way, further back.
SetTransform(ball, {pos = {-8, 0.5, -3}}, 1)
SetTransform(ball, {pos = {8, 0.5, 2}}, 50)
SetTransform(ring, {pos = {7, 0, 5}}, 1)
SetTransform(ring, {pos = {-7, 0, 4}, rot = {0, 180, 0}}, 50)

SelectObj(floor)
ExecuteCommand("Orbelin_zrProximityMapApplyCmd", {})
local map = "floor.polymsh.cls.WeightMapCls.ProximityWeightMap"
local prop = map .. "_ProximityMap"
ExecuteCommand("Orbelin_zrProximityMapAddConnexionCmd", {prop, {ball, ring}})

SetValue(prop .. ".Far", 2.5)
SetValue(prop .. ".StartFrame", 1)
SetValue(prop .. ".EndFrame", 50)
SetValue(prop .. ".OpMode", 2)           -- Read From Objects - Caching
SetValue(prop .. ".ProcessingMode", 1)   -- Keep Maximum

for frame = 1, 50 do
  SetFrame(frame)
  local w = GetWeights(map)
  if frame % 10 == 0 then
    local wet = 0
    for _, v in ipairs(w) do
      if v > 0 then wet = wet + 1 end
    end
    print(string.format("frame %2d: %d of %d points wet", frame, wet, #w))
    WriteWeightsCSV(map, string.format("out/proximity/frame%02d.csv", frame))
  end
end
print("weights written to out/proximity/")
