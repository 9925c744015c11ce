-- A ball and a hoop rolling across a floor over 50 frames. The floor's Proximity Map caches
-- every frame and keeps the maximum, so the map stays wet where they have been.
--
--   orbelin run examples/proximity.lua --project .    (writes into out/proximity/)
--   orbelin demo --out DIR                            (writes into DIR/proximity/)
--
-- Set before the script runs (orbelin demo sets the first):
--   OUTPUT_DIR   the folder the results go into (default "out", relative to the project folder)
--   LAST_FRAME   play only up to this frame (default 50)

local out = (OUTPUT_DIR or "out") .. "/proximity"
local last = LAST_FRAME or 50

local floor = CreatePrim("Grid", "floor", {sizex = 20, sizez = 20, subdivu = 80, subdivv = 80})
local ball = CreatePrim("Sphere", "ball", {radius = 1, subdivu = 24, subdivv = 12})
local ring = CreateCircle("ring", 1.5, 16)

-- The ball rolls on the floor from one side to the other; the hoop, standing upright, rolls
-- the other way further back.
SetTransform(ball, {pos = {-8, 1, -3}}, 1)
SetTransform(ball, {pos = {8, 1, 2}}, 50)
SetTransform(ring, {pos = {7, 1.5, 5}, rot = {90, 0, 0}}, 1)
SetTransform(ring, {pos = {-7, 1.5, 4}, rot = {90, 0, 0}}, 50)

SelectObj(floor)
ExecuteCommand("Orbelin_zrProximityMapApplyCmd", {})
local map = "floor.polymsh.cls.WeightMapCls.ProximityWeightMap"
local prop = map .. "_ProximityMap"
ExecuteCommand("Orbelin_zrProximityMapAddConnexionCmd", {prop, {ball, ring}})

SetValue(prop .. ".Far", 2)
SetValue(prop .. ".StartFrame", 1)
SetValue(prop .. ".EndFrame", 50)
SetValue(prop .. ".OpMode", 2)           -- Read From Objects - Caching
SetValue(prop .. ".ProcessingMode", 1)   -- Keep Maximum
-- A mesh counts all its points in range, not just the nearest: the ball is given 2.5 times the
-- weight, and the sum clamped to 0..1.
SetValue(prop .. ".Factor_0", 2.5)
SetValue(prop .. ".OpWeightPostProcess", 1)

-- Pictures of a few frames, all from the same camera, weights 0 to 1 on the same colours.
local pictured = {[10] = true, [25] = true, [50] = true}
local camera = {eye = {0.6, 16.5, 23.5}, target = {0.6, -1.5, 0}, fov = 39}
local pictures = {}

for frame = 1, last do
  SetFrame(frame)
  local w = GetWeights(map)
  if frame % 10 == 0 then
    local wet = 0
    for _, v in ipairs(w) do
      if v > 0 then wet = wet + 1 end
    end
    print(string.format("frame %2d: %d of %d points wet", frame, wet, #w))
    WriteWeightsCSV(map, string.format("%s/frame%02d.csv", out, frame))
  end
  if pictured[frame] then
    local file = string.format("frame%02d.png", frame)
    RenderPreview(out .. "/" .. file, {
      weightmap = map, camera = camera, range = {0, 1}, title = "Proximity Map, frame " .. frame,
    })
    pictures[#pictures + 1] = file
  end
end
print("weights written to " .. out .. "/")
print("pictures written to " .. out .. "/: " .. table.concat(pictures, ", "))
