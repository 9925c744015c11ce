-- A Cache Map on top of a Proximity Map: a ball rolls across a floor for 50 frames and the
-- floor's weights are written to one cache file per frame, then read back at half speed,
-- reversed and warped through a curve. Pictures of frame 40 under each timing, and for each
-- timing a strip of small previews (frames 5, 10, ... 50) titled with the frame they read.
-- Over another range the same: the frame four fifths of the way, a strip of ten at most.
--
--   orbelin run examples/cache.lua --project .    (writes into out/cache/)
--   orbelin demo --out DIR                        (writes into DIR/cache/)
--
-- Set before the script runs (orbelin demo sets the first, --frames A-B the others):
--   OUTPUT_DIR   the folder the results go into (default "out", relative to the project folder)
--   FIRST_FRAME, LAST_FRAME   the frames the roll spans (default 1 to 50)

local out = (OUTPUT_DIR or "out") .. "/cache"
local first, last = FIRST_FRAME or 1, LAST_FRAME or 50
local frames = last - first + 1
local shot = math.max(first, first - 1 + math.floor(frames * 4 / 5))   -- the frame pictured large

SetValue("PlayControl.In", first)
SetValue("PlayControl.Out", last)

local floor = CreatePrim("Grid", "floor", {sizex = 20, sizez = 20, subdivu = 60, subdivv = 60})
local ball = CreatePrim("Sphere", "ball", {radius = 1.2, subdivu = 24, subdivv = 12})
SetTransform(ball, {pos = {-8, 1, -6}}, first)
SetTransform(ball, {pos = {8, 1, 6}}, last)

-- The animated map: the floor near the ball.
local map = ExecuteCommand("CreateWeightMap", {"", floor, "NearBall", "", false})[1]
SelectObj(map)
ExecuteCommand("Orbelin_zrProximityMapApplyCmd", {})
ExecuteCommand("Orbelin_zrProximityMapAddConnexionCmd", {map .. "_ProximityMap", {ball}})
SetValue(map .. "_ProximityMap.Far", 5)

local camera = {eye = {0, 22, 19}, target = {0, -1, 0.5}, fov = 42}
SetFrame(first)
local live = string.format("live_frame%02d.png", first)
RenderPreview(out .. "/" .. live, {weightmap = map, camera = camera, range = {0, 1}, width = 400, height = 300,
                                   title = "Proximity Map, frame " .. first})

-- The cache on top of it, its files beside the pictures (a cache root must exist: the folder
-- of the pictures does now).
SelectObj(map)
ExecuteCommand("Orbelin_zrCacheMapApplyCmd", {})
local prop = map .. "_CacheMap"
SetValue(prop .. ".RootPath", out)

-- Record: Write To File, every frame played once.
SetValue(prop .. ".OpMode", 4)
for frame = first, last do
  SetFrame(frame)
  GetWeights(map)
end

-- Replay: Read From File under each timing. The warp goes out and back: frame 25 reads the
-- last recorded frame, frame 50 the first again (with fewer than 3 frames it stays on the first).
SetValue(prop .. ".OpMode", 3)
local turn = first - 1 + math.floor(frames / 2)
local bounces = first < turn and turn < last

-- The frame a timing reads at `frame`, as the operator computes it (for the titles).
local function warp(frame)
  if not bounces then return first end
  if frame <= turn then return first + (frame - first) * (last - first) / (turn - first) end
  return last + (frame - turn) * (first - last) / (last - turn)
end
SetFCurveKeys(prop .. ".TimingWarp", bounces and {{first, first, 2}, {turn, last, 2}, {last, first, 2}} or {{first, first, 2}})
local timings = {
  {name = "recorded", mode = 0, scale = 0, reads = function(f) return f end},
  {name = "half_speed", mode = 1, scale = 0.5, reads = function(f) return (f - first) * 0.5 + first end},
  {name = "reversed", mode = 1, scale = -1, reads = function(f) return (f - first) * -1 + last end},
  {name = "warped", mode = 2, scale = 0, reads = warp},
}

local pictures = {live}
local step = math.ceil(frames / 10)
for _, t in ipairs(timings) do
  SetValue(prop .. ".TimingMode", t.mode)
  SetValue(prop .. ".TimingScale", t.scale)
  SetFrame(shot)
  local name = string.format("%s_frame%02d", t.name, shot)
  RenderPreview(out .. "/" .. name .. ".png", {
    weightmap = map, camera = camera, range = {0, 1}, width = 400, height = 300,
    title = string.format("%s: frame %d reads %g", t.name:gsub("_", " "), shot, t.reads(shot)),
  })
  WriteWeightsCSV(map, out .. "/" .. name .. ".csv")
  pictures[#pictures + 1] = name .. ".png"
  for frame = first - 1 + step, last, step do
    SetFrame(frame)
    local small = string.format("strip_%s_%02d.png", t.name, frame)
    RenderPreview(out .. "/" .. small, {
      weightmap = map, camera = camera, range = {0, 1}, width = 120, height = 96,
      title = string.format("%d > %g", frame, t.reads(frame)),
    })
    pictures[#pictures + 1] = small
  end
end
print("pictures written to " .. out .. "/: " .. table.concat(pictures, ", "))
print("cache files in " .. out .. "/Scene_Root/floor/")
