-- Two Proximity Maps on one floor, one following a ball and one a hoop, and a Mix Map that
-- averages them into a third map, live: as the ball and the hoop move, all three follow.
--
--   orbelin run examples/mix.lua --project .    (writes into out/mix/)
--   orbelin demo --out DIR                      (writes into DIR/mix/)
--
-- Set before the script runs (orbelin demo sets the first, --frames A-B the others):
--   OUTPUT_DIR   the folder the results go into (default "out", relative to the project folder)
--   FIRST_FRAME, LAST_FRAME   the frames the move spans (default 1 to 30); pictures of the frame
--                a quarter of the way and of the last one

local out = (OUTPUT_DIR or "out") .. "/mix"
local first, last = FIRST_FRAME or 1, LAST_FRAME or 30

local floor = CreatePrim("Grid", "floor", {sizex = 20, sizez = 20, subdivu = 80, subdivv = 80})
local ball = CreatePrim("Sphere", "ball", {radius = 1, subdivu = 24, subdivv = 12})
local ring = CreateCircle("ring", 1.5, 16)
SetTransform(ball, {pos = {-7, 1, -4}}, first)
SetTransform(ball, {pos = {6, 1, 3}}, last)
SetTransform(ring, {pos = {6, 1.5, -5}, rot = {90, 0, 0}}, first)
SetTransform(ring, {pos = {-6, 1.5, 5}, rot = {90, 0, 0}}, last)

-- One Proximity Map per object, each on a weight map of its own.
local function proximity(name, object)
  local map = ExecuteCommand("CreateWeightMap", {"", floor, name, "", false})[1]
  SelectObj(map)
  ExecuteCommand("Orbelin_zrProximityMapApplyCmd", {})
  local prop = map .. "_ProximityMap"
  ExecuteCommand("Orbelin_zrProximityMapAddConnexionCmd", {prop, {object}})
  SetValue(prop .. ".Far", 4)
  return map
end
local ballMap = proximity("NearBall", ball)
local ringMap = proximity("NearRing", ring)

-- The mix: a third map, the average of the two (picked, as a user picks weight maps).
local mixed = ExecuteCommand("CreateWeightMap", {"", floor, "Mixed", "", false})[1]
SelectObj(mixed)
ExecuteCommand("Orbelin_zrMixMapApplyCmd", {})
local mixProp = mixed .. "_MixMap"
for _, map in ipairs({ballMap, ringMap}) do
  QueuePick(map)
  ExecuteCommand("Orbelin_zrMixMapAddConnexionCmd", {mixProp})
end
SetValue(mixProp .. ".OpMode", 1)                 -- Live - Average
SetValue(mixProp .. ".Factor_0", 1)
SetValue(mixProp .. ".Factor_1", 1)

local camera = {eye = {0.6, 16.5, 23.5}, target = {0.6, -1.5, 0}, fov = 39}
local pictures = {}
local quarter = first + math.floor((last - first) / 4)
for frame = first, last do
  SetFrame(frame)
  if frame == quarter or frame == last then
    for _, shown in ipairs({{ballMap, "ball"}, {ringMap, "hoop"}, {mixed, "mix"}}) do
      local file = string.format("%s_frame%02d.png", shown[2], frame)
      RenderPreview(out .. "/" .. file, {
        weightmap = shown[1], camera = camera, range = {0, 1},
        title = string.format("%s, frame %d", shown[2] == "mix" and "Mix Map (average)" or "Proximity Map to the " .. shown[2], frame),
      })
      pictures[#pictures + 1] = file
    end
    WriteWeightsCSV(mixed, string.format("%s/mix_frame%02d.csv", out, frame))
  end
end
print("pictures written to " .. out .. "/: " .. table.concat(pictures, ", "))
