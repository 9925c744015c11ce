-- A noisy weight map smoothed live by a Smooth Map: Radius 1 and 3, Repeat 1 and 5, pictures
-- side by side with the noise.
--
--   orbelin run examples/smooth.lua --project .    (writes into out/smooth/)
--   orbelin demo --out DIR                         (writes into DIR/smooth/)
--
-- Set before the script runs (orbelin demo sets it):
--   OUTPUT_DIR   the folder the results go into (default "out", relative to the project folder)

local out = (OUTPUT_DIR or "out") .. "/smooth"

local floor = CreatePrim("Grid", "floor", {sizex = 20, sizez = 20, subdivu = 60, subdivv = 60})
local camera = {eye = {0, 24, 20}, target = {0, -1, 0.5}, fov = 42}

-- Noise on top of a soft stripe, the same for every map (a fixed seed).
math.randomseed(7)
local points = GetPointPositions(floor)
local noise = {}
for i, p in ipairs(points) do
  local stripe = math.max(0, 1 - math.abs(p[1] + 0.5 * p[3]) / 6)
  noise[i] = math.min(1, math.max(0, stripe + (math.random() - 0.5) * 0.8))
end

local function noisyMap(name)
  local map = ExecuteCommand("CreateWeightMap", {"", floor, name, "", false})[1]
  SetWeights(map, noise)
  return map
end

local shown = {{noisyMap("Noise"), "noise", nil, nil}}
for _, setting in ipairs({{1, 1}, {3, 1}, {1, 5}, {3, 5}}) do
  local radius, passes = setting[1], setting[2]
  local map = noisyMap(string.format("Radius%dRepeat%d", radius, passes))
  SelectObj(map)
  ExecuteCommand("Orbelin_zrSmoothMapApplyCmd", {})
  local prop = map .. "_SmoothMap"
  SetValue(prop .. ".Radius", radius)
  SetValue(prop .. ".Repeat", passes)
  shown[#shown + 1] = {map, string.format("radius%d_repeat%d", radius, passes), radius, passes}
end

local pictures = {}
for _, s in ipairs(shown) do
  local file = s[2] .. ".png"
  local title = s[3] and string.format("Smooth Map, Radius %d, Repeat %d", s[3], s[4]) or "Noisy weight map"
  RenderPreview(out .. "/" .. file, {weightmap = s[1], camera = camera, range = {0, 1}, title = title, width = 480, height = 320})
  WriteWeightsCSV(s[1], out .. "/" .. s[2] .. ".csv")
  pictures[#pictures + 1] = file
end
print("pictures written to " .. out .. "/: " .. table.concat(pictures, ", "))
