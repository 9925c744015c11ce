-- A floor whose Gradient Curve Map runs along the nearest of three curves: 0 at a curve's start,
-- 1 at its end, times the connexion's factor. One curve sweeps across the floor over 40
-- frames; the map follows it. Pictures of the first, the middle and the last frame.
--
--   orbelin run examples/gradient_curve.lua --project .    (writes into out/gradient_curve/)
--   orbelin demo --out DIR                                  (writes into DIR/gradient_curve/)
--
-- Set before the script runs (orbelin demo sets the first, --frames A-B the others):
--   OUTPUT_DIR   the folder the results go into (default "out", relative to the project folder)
--   FIRST_FRAME, LAST_FRAME   the frames the sweep spans (default 1 to 40)

local out = (OUTPUT_DIR or "out") .. "/gradient_curve"
local first, last = FIRST_FRAME or 1, LAST_FRAME or 40

local floor = CreatePrim("Grid", "floor", {sizex = 20, sizez = 20, subdivu = 80, subdivv = 80})
-- A wave along X at the back, an arc on the right, a short line that sweeps from left to right.
local wave = CreateCurve("wave", {{-9, 0.5, -6}, {-5, 0.5, -3}, {-1, 0.5, -8}, {3, 0.5, -3}, {7, 0.5, -7}, {9, 0.5, -5}}, 3)
local arc = CreateCurve("arc", {{6, 0.5, 9}, {9, 0.5, 5}, {8, 0.5, 0}, {4, 0.5, -1}}, 3)
local sweep = CreateCurve("sweep", {{0, 0.5, 9}, {0, 0.5, 5}, {0, 0.5, 1}}, 2)
SetTransform(sweep, {pos = {-8, 0, 0}}, first)
SetTransform(sweep, {pos = {4, 0, 0}}, last)

SelectObj(floor)
ExecuteCommand("Orbelin_zrGradientCurveMapApplyCmd", {})
local map = "floor.polymsh.cls.WeightMapCls.GradientCurveWeightMap"
local prop = map .. "_GradientCurveMap"
ExecuteCommand("Orbelin_zrGradientCurveMapAddConnexionCmd", {prop, {wave, arc, sweep}})
-- The arc counts half: its points go from 0 to 0.5.
SetValue(prop .. ".Factor_1", 0.5)

local camera = {eye = {0, 22, 18}, target = {0, -1, 0.5}, fov = 42}
local pictures = {}
local shown = {}
for _, frame in ipairs({first, first - 1 + math.floor((last - first + 1) / 2), last}) do
  if frame > (shown[#shown] or frame - 1) then shown[#shown + 1] = frame end
end
for _, frame in ipairs(shown) do
  SetFrame(frame)
  local file = string.format("frame%02d.png", frame)
  RenderPreview(out .. "/" .. file, {
    weightmap = map, camera = camera, range = {0, 1}, title = "Gradient Curve Map, frame " .. frame,
    width = 480, height = 360,
  })
  WriteWeightsCSV(map, string.format("%s/frame%02d.csv", out, frame))
  pictures[#pictures + 1] = file
end
print("pictures written to " .. out .. "/: " .. table.concat(pictures, ", "))
