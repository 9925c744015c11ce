-- A ball and a hoop rolling across a floor over 50 frames. The floor's Proximity Map caches
-- every frame and keeps the maximum, so the map stays wet where they have been.
--
--   orbelin run examples/proximity.lua --project .    (writes into out/proximity/)
--   orbelin demo --out DIR                            (writes into DIR/proximity/)
--
-- Set before the script runs (orbelin demo sets the first, --frames A-B the others):
--   OUTPUT_DIR   the folder the results go into (default "out", relative to the project folder)
--   FIRST_FRAME, LAST_FRAME   the frames the roll spans (default 1 to 50); pictures of the
--                frames a fifth and half of the way, and of the last one

local out = (OUTPUT_DIR or "out") .. "/proximity"
local first, last = FIRST_FRAME or 1, LAST_FRAME or 50
local frames = last - first + 1
-- The map keeps a record of every frame of the range.
if frames > 10000 then error(string.format("%d frames are more than this example records (10000 at most)", frames)) end

local floor = CreatePrim("Grid", "floor", {sizex = 20, sizez = 20, subdivu = 80, subdivv = 80})
local ball = CreatePrim("Sphere", "ball", {radius = 1, subdivu = 24, subdivv = 12})
local ring = CreateCircle("ring", 1.5, 16)

-- The ball rolls on the floor from one side to the other; the hoop, standing upright, rolls
-- the other way further back.
SetTransform(ball, {pos = {-8, 1, -3}}, first)
SetTransform(ball, {pos = {8, 1, 2}}, last)
SetTransform(ring, {pos = {7, 1.5, 5}, rot = {90, 0, 0}}, first)
SetTransform(ring, {pos = {-7, 1.5, 4}, rot = {90, 0, 0}}, last)

SelectObj(floor)
ExecuteCommand("Orbelin_zrProximityMapApplyCmd", {})
local map = "floor.polymsh.cls.WeightMapCls.ProximityWeightMap"
local prop = map .. "_ProximityMap"
ExecuteCommand("Orbelin_zrProximityMapAddConnexionCmd", {prop, {ball, ring}})

SetValue(prop .. ".Far", 2)
SetValue(prop .. ".StartFrame", first)
SetValue(prop .. ".EndFrame", last)
SetValue(prop .. ".OpMode", 2)           -- Read From Objects - Caching
SetValue(prop .. ".ProcessingMode", 1)   -- Keep Maximum
-- A mesh counts all its points in range, not just the nearest: the ball is given 2.5 times the
-- weight, and the sum clamped to 0..1.
SetValue(prop .. ".Factor_0", 2.5)
SetValue(prop .. ".OpWeightPostProcess", 1)

-- Pictures of a few frames, all from the same camera, weights 0 to 1 on the same colours.
local pictured = {}
for _, f in ipairs({first - 1 + math.floor(frames / 5), first - 1 + math.floor(frames / 2), last}) do pictured[math.max(first, f)] = true end
local camera = {eye = {0.6, 16.5, 23.5}, target = {0.6, -1.5, 0}, fov = 39}
local pictures = {}

for frame = first, last do
  SetFrame(frame)
  local w = GetWeights(map)
  if frame % 10 == 0 or frame == last then
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
