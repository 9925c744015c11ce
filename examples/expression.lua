-- Weight maps from Lua formulas, live, with Expression Maps on one floor: a few of the page's
-- presets (Radial XYZ, Funky X, Contrast, Absolute X with offsets), a ripple around a ball
-- read from a connected Proximity Map, and two formulas that go wrong, with the log lines they
-- give.
--
--   orbelin run examples/expression.lua --project .    (writes into out/expression/)
--   orbelin demo --out DIR                             (writes into DIR/expression/)
--
-- Set before the script runs (orbelin demo sets it):
--   OUTPUT_DIR   the folder the results go into (default "out", relative to the project folder)

local out = (OUTPUT_DIR or "out") .. "/expression"

local floor = CreatePrim("Grid", "floor", {sizex = 20, sizez = 20, subdivu = 60, subdivv = 60})
local camera = {eye = {0, 24, 20}, target = {0, -1, 0.5}, fov = 42}

-- A gradient from 0 on the left (x = -10) to 1 on the right (x = 10), for the formulas that
-- read the map's own weights (w).
local gradient = {}
for i, p in ipairs(GetPointPositions(floor)) do gradient[i] = (p[1] + 10) / 20 end

local function weightMap(name, weights)
  local map = ExecuteCommand("CreateWeightMap", {"", floor, name, "", false})[1]
  if weights then SetWeights(map, weights) end
  return map
end

-- An Expression Map on a weight map of its own; returns the map and its property.
local function expressionMap(name, weights)
  local map = weightMap(name, weights)
  SelectObj(map)
  ExecuteCommand("Orbelin_zrExpressionMapApplyCmd", {})
  return map, map .. "_ExpressionMap"
end

local shown = {}
local function show(map, file, title, others)
  shown[#shown + 1] = {map = map, file = file, title = title, others = others or {}}
end

show(weightMap("Gradient", gradient), "gradient", "A gradient (no formula)")

-- Presets, pressed on the page as a user would. The grid lies flat (y = 0), so the radial
-- preset is the squared distance to the centre; Change Range (the default) brings it to 0..1.
local radial, prop = expressionMap("RadialXYZ")
PressButton(prop, "Radial_XYZ")
show(radial, "radial_xyz", "Radial XYZ: the squared distance to the centre")

-- Funky X: cond(y>0, r, a*r+b*x^2/2). The offsets turn the points 30 degrees about Z, so y > 0
-- on one half (pure noise) and a noisy parabola on the other; b is made small so that both
-- show after Change Range.
local funky
funky, prop = expressionMap("FunkyX")
PressButton(prop, "Funky_X")
SetValue(prop .. ".Rotation_Z", 30)
SetValue(prop .. ".Variable_b", 0.02)
SetValue(prop .. ".Random_Seed", 42)
show(funky, "funky_x", "Funky X, rotated 30 about Z, b 0.02")

-- Contrast: a - (a-w)*b on the gradient, a 0.5 and b 2, clamped to 0..1: the middle half of
-- the gradient stretched over the whole range, the rest flat.
local contrast
contrast, prop = expressionMap("Contrast", gradient)
PressButton(prop, "Contrast")
SetValue(prop .. ".PostProcessing", 1)   -- Clamp
show(contrast, "contrast", "Contrast on the gradient, clamped")

-- Absolute X with offsets: |x| of the points moved 4 along X and turned 30 degrees about Y,
-- so the valley leaves the centre and runs at a slant.
local absolute
absolute, prop = expressionMap("AbsoluteX")
PressButton(prop, "Absolute_X")
SetValue(prop .. ".Translation_X", 4)
SetValue(prop .. ".Rotation_Y", 30)
show(absolute, "absolute_x", "Absolute X, moved 4 in X, turned 30 about Y")

-- A ripple around a ball: a Proximity Map on one weight map (1 at the ball, 0 from 10 away),
-- connected to an Expression Map on another, whose formula reads it as w0.
local ball = CreatePrim("Sphere", "ball", {radius = 1, subdivu = 24, subdivv = 12})
SetTransform(ball, {pos = {-3, 1, -2}})
local near = weightMap("NearBall")
SelectObj(near)
ExecuteCommand("Orbelin_zrProximityMapApplyCmd", {})
local nearProp = near .. "_ProximityMap"
ExecuteCommand("Orbelin_zrProximityMapAddConnexionCmd", {nearProp, {ball}})
SetValue(nearProp .. ".Far", 10)
show(near, "proximity", "Proximity Map to the ball, Far 10", {ball})

local ripple
ripple, prop = expressionMap("Ripple")
ExecuteCommand("Orbelin_zrExpressionMapAddConnexionCmd", {prop, {near}})
SetValue(prop .. ".Expression", "math.sin(10*w0) * 0.5 + 0.5")
SetValue(prop .. ".PostProcessing", 0)   -- None: the formula's own 0..1
show(ripple, "ripple", "Ripple: math.sin(10*w0) * 0.5 + 0.5", {ball})

-- Two formulas that go wrong. The log lines an update gives are printed.
local function logLinesOf(map, what, ifNone)
  local from = LogCount() + 1
  GetWeights(map)   -- reading the map runs the update
  local lines = LogMessages(from)
  print(what .. ": " .. (#lines == 0 and "no log lines" .. (ifNone and " (" .. ifNone .. ")" or "") or #lines .. " log line(s)"))
  for _, line in ipairs(lines) do print("  " .. line.text) end
end

-- A syntax error: the formula does not load; the log says why.
local broken
broken, prop = expressionMap("SyntaxError", gradient)
SetValue(prop .. ".Expression", "w +")
logLinesOf(broken, "the formula 'w +'")

-- A formula that fails at some points: the trial call (w = 1) passes, but where w <= 0.5 it
-- adds 0 to nil; those points get 0, silently, and the others keep w.
local partial
partial, prop = expressionMap("FailsAtSomePoints", gradient)
SetValue(prop .. ".Expression", "cond(w > 0.5, w, nil) + 0")
SetValue(prop .. ".PostProcessing", 0)   -- None
logLinesOf(partial, "the formula 'cond(w > 0.5, w, nil) + 0'", "the points where it fails get 0, silently")
show(partial, "fails_at_some_points", "A formula failing where w is 0.5 or less: 0 there")

-- (The titles keep to the letters, digits and signs the pictures' font has: no ^, < or >.)
local pictures = {}
for _, s in ipairs(shown) do
  local file = s.file .. ".png"
  RenderPreview(out .. "/" .. file, {weightmap = s.map, objects = s.others, camera = camera, range = {0, 1}, title = s.title, width = 480, height = 320})
  WriteWeightsCSV(s.map, out .. "/" .. s.file .. ".csv")
  pictures[#pictures + 1] = file
end
print("pictures written to " .. out .. "/: " .. table.concat(pictures, ", "))
