-- Tools chained on one tube over 20 frames: a Proximity Map to a passing ball and a Tension Map
-- of the tube bending over, averaged by a Mix Map, smoothed by a Smooth Map on the mix, and the
-- result cached to one file per frame by a Cache Map, then played back at half speed.
--
--   orbelin run examples/chain.lua --project .    (writes into out/chain/)
--   orbelin demo --out DIR                        (writes into DIR/chain/)
--
-- Set before the script runs (orbelin demo sets the first, --frames A-B the others):
--   OUTPUT_DIR   the folder the results go into (default "out", relative to the project folder)
--   FIRST_FRAME, LAST_FRAME   the frames the motion spans (default 1 to 20); every link pictured
--                on the middle frame (10) and the last, the playback on the frame that reads
--                the middle one (19)

local out = (OUTPUT_DIR or "out") .. "/chain"
local first, last = FIRST_FRAME or 1, LAST_FRAME or 20
local middle = math.max(first, first - 1 + math.floor((last - first + 1) / 2))
local replay = first + 2 * (middle - first)   -- at half speed it reads the middle frame

SetValue("PlayControl.In", first)
SetValue("PlayControl.Out", last)

local tube = CreatePrim("Cylinder", "tube", {radius = 0.6, height = 6, subdivu = 24, subdivv = 24, caps = false})
SetTransform(tube, {pos = {0, 3, 0}})
local ball = CreatePrim("Sphere", "ball", {radius = 0.8, subdivu = 16, subdivv = 8})
SetTransform(ball, {pos = {-1, 1, 1.1}}, first)
SetTransform(ball, {pos = {2.4, 3.8, 1.1}}, last)

-- The two sources, applied at rest (the Tension Map's reference pose).
SetFrame(first)
local near = ExecuteCommand("CreateWeightMap", {"", tube, "NearBall", "", false})[1]
SelectObj(near)
ExecuteCommand("Orbelin_zrProximityMapApplyCmd", {})
ExecuteCommand("Orbelin_zrProximityMapAddConnexionCmd", {near .. "_ProximityMap", {ball}})
SetValue(near .. "_ProximityMap.Far", 2)

local tension = ExecuteCommand("CreateWeightMap", {"", tube, "Stretch", "", false})[1]
SelectObj(tension)
ExecuteCommand("Orbelin_zrTensionMapApplyCmd", {})
SetValue(tension .. "_TensionMap.Factor", 3)

KeyDeformation(tube, first, {})
KeyDeformation(tube, last, {bend = 110})

-- The mix: a third map, the average of the two; then a Smooth Map and a Cache Map on top of it.
local mixed = ExecuteCommand("CreateWeightMap", {"", tube, "Chained", "", false})[1]
SelectObj(mixed)
ExecuteCommand("Orbelin_zrMixMapApplyCmd", {})
for _, map in ipairs({near, tension}) do
  QueuePick(map)
  ExecuteCommand("Orbelin_zrMixMapAddConnexionCmd", {mixed .. "_MixMap"})
end
SetValue(mixed .. "_MixMap.OpMode", 1)          -- Live - Average
SetValue(mixed .. "_MixMap.Factor_0", 1)
SetValue(mixed .. "_MixMap.Factor_1", 1)

SelectObj(mixed)
ExecuteCommand("Orbelin_zrSmoothMapApplyCmd", {})
SetValue(mixed .. "_SmoothMap.Radius", 1)
SetValue(mixed .. "_SmoothMap.Repeat", 2)

local camera = {eye = {1.5, 4.5, 10}, target = {1.5, 2.6, 0}, fov = 42}
local pictures = {}
local function picture(file, map, title)
  RenderPreview(out .. "/" .. file, {weightmap = map, objects = {tube, ball}, camera = camera, range = {-1, 1},
                                     colormap = "diverging", width = 400, height = 320, title = title})
  pictures[#pictures + 1] = file
end

-- The mix smoothed at rest; the picture makes the folder the cache writes into (a cache root
-- must exist).
picture(string.format("mixed_smoothed_frame%02d.png", first), mixed, "Mixed and smoothed, frame " .. first)

SelectObj(mixed)
ExecuteCommand("Orbelin_zrCacheMapApplyCmd", {})
local cache = mixed .. "_CacheMap"
SetValue(cache .. ".RootPath", out)

-- Record: Write To File, every frame played once; pictures of each link of the chain on the way.
SetValue(cache .. ".OpMode", 4)
for frame = first, last do
  SetFrame(frame)
  GetWeights(mixed)
  if frame == middle then WriteWeightsCSV(mixed, string.format("%s/recorded_frame%02d.csv", out, frame)) end
  if frame == middle or frame == last then
    picture(string.format("proximity_frame%02d.png", frame), near, "Proximity Map, frame " .. frame)
    picture(string.format("tension_frame%02d.png", frame), tension, "Tension Map, frame " .. frame)
    picture(string.format("mixed_smoothed_frame%02d.png", frame), mixed, "Mixed and smoothed, frame " .. frame)
  end
end

-- Play back at half speed: frame 19 reads the recorded frame 10.
SetValue(cache .. ".OpMode", 3)                 -- Read From File
SetValue(cache .. ".TimingMode", 1)
SetValue(cache .. ".TimingScale", 0.5)
SetFrame(replay)
WriteWeightsCSV(mixed, string.format("%s/half_speed_frame%02d.csv", out, replay))
picture(string.format("half_speed_frame%02d.png", replay), mixed,
        string.format("Cache at half speed: frame %d reads %d", replay, middle))
print("pictures written to " .. out .. "/: " .. table.concat(pictures, ", "))
print("cache files in " .. out .. "/Scene_Root/tube/")
