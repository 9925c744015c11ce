-- A shot to bake frame by frame: a ball hops across a floor over frames 1 to 48 and the floor's
-- Proximity Map follows it live. Every frame baked writes its weights as CSV, the floor with
-- its map as glTF (the weights as vertex colours too, for any viewer) and, through a Cache Map
-- in Write To File mode, its cache file. What a frame writes does not depend on the
-- frames played before it in the same run (the Proximity Map is live, the Cache Map writes the
-- weights it is given), so a range cut into chunks, each baked by a process or a machine of its
-- own, gives the very files one run over the whole range gives.
--
--   orbelin run examples/bake.lua --project .                  (frames 1 to 48, into out/bake/)
--   orbelin run examples/bake.lua --project . --frames 13-24   (those frames only)
--   examples/bake_parallel.sh 1-48 4                           (four chunks side by side)
--
-- Set before the script runs (orbelin run --frames A-B sets the last two):
--   OUTPUT_DIR   the folder the results go into (default "out", relative to the project folder)
--   FIRST_FRAME, LAST_FRAME   the frames to bake (default 1 to 48), -10000 to 10000; the shot
--                stays keyed on 1 to 48: before it the ball waits at its start, after it at its end
--
-- Written for each frame F, into out/bake/:
--   weights/frameF.csv   F on 4 characters with its sign (frame0007.csv, frame-003.csv)
--   gltf/floorF.glb      the same F (floor0007.glb)
--   Scene_Root/floor/WeightMapCls_ProximityWeightMap.F.wmc   F on 5 characters (00007, 000-3)

local out = (OUTPUT_DIR or "out") .. "/bake"
local first, last = FIRST_FRAME or 1, LAST_FRAME or 48
-- The Cache Map names and clamps frames within its own frame range, which holds these.
if first < -10000 or last > 10000 or first > last then
  error(string.format("cannot bake frames %g to %g: the frames must run upwards within -10000 to 10000", first, last))
end

local floor = CreatePrim("Grid", "floor", {sizex = 20, sizez = 20, subdivu = 40, subdivv = 40})
local ball = CreatePrim("Sphere", "ball", {radius = 1, subdivu = 16, subdivv = 8})
SetTransform(ball, {pos = {-9, 1, -4}}, 1)
SetTransform(ball, {pos = {0, 2.5, 0}}, 24)
SetTransform(ball, {pos = {9, 1, 4}}, 48)

-- The floor near the ball, live: each frame evaluated from the scene as it is at that frame.
SelectObj(floor)
ExecuteCommand("Orbelin_zrProximityMapApplyCmd", {})
local map = "floor.polymsh.cls.WeightMapCls.ProximityWeightMap"
ExecuteCommand("Orbelin_zrProximityMapAddConnexionCmd", {map .. "_ProximityMap", {ball}})
SetValue(map .. "_ProximityMap.Far", 4)

local function weightsFile(frame) return string.format("%s/weights/frame%04d.csv", out, frame) end

-- The first frame's weights before the cache is there: writing them makes the folder the cache
-- writes into (a cache root must exist).
SetFrame(first)
WriteWeightsCSV(map, weightsFile(first))

-- The cache, its frame range the one baked so that no frame is clamped onto another's file.
SelectObj(map)
ExecuteCommand("Orbelin_zrCacheMapApplyCmd", {})
local cache = map .. "_CacheMap"
SetValue(cache .. ".RootPath", out)
SetValue(cache .. ".StartFrame", first)
SetValue(cache .. ".EndFrame", last)
SetValue(cache .. ".OpMode", 4)   -- Write To File

for frame = first, last do
  SetFrame(frame)
  WriteWeightsCSV(map, weightsFile(frame))   -- reading the weights evaluates the cache: it writes the frame
  ExportGLTF(string.format("%s/gltf/floor%04d.glb", out, frame), {weightmaps = {map}, colors = true})
end
print(string.format("frames %d to %d baked into %s/: weights/, gltf/ and Scene_Root/floor/", first, last, out))
