-- Tension Maps on deforming meshes: a tube that bends over and a ball that stretches as it
-- rises and squashes on the floor. Each map compares the mesh with the pose it had when the
-- tool was applied: blue where it is squashed, white at rest, red where it is stretched.
--
--   orbelin run examples/tension.lua --project .    (writes into out/tension/)
--   orbelin demo --out DIR                          (writes into DIR/tension/)
--
-- Set before the script runs (orbelin demo sets the first, --frames A-B the others):
--   OUTPUT_DIR   the folder the results go into (default "out", relative to the project folder)
--   FIRST_FRAME, LAST_FRAME   the frames the motion spans (default 1 to 20): at rest on the first,
--                half way in the middle (pictured), all the way on the last (pictured)

local out = (OUTPUT_DIR or "out") .. "/tension"
local first, last = FIRST_FRAME or 1, LAST_FRAME or 20
local middle = math.max(first, first - 1 + math.floor((last - first + 1) / 2))

CreatePrim("Grid", "floor", {sizex = 16, sizez = 10, subdivu = 8, subdivv = 5})
local tube = CreatePrim("Cylinder", "tube", {radius = 0.6, height = 6, subdivu = 24, subdivv = 30, caps = false})
SetTransform(tube, {pos = {-3, 3, 0}})
local ball = CreatePrim("Sphere", "ball", {radius = 1.5, subdivu = 32, subdivv = 16})
SetTransform(ball, {pos = {4, 1.5, 0}}, first)
SetTransform(ball, {pos = {4, 3.5, 0}}, middle)
SetTransform(ball, {pos = {4, 1.5, 0}}, last)

-- The tools are applied at rest: that pose is each map's reference.
SetFrame(first)
local maps = {}
for _, object in ipairs({tube, ball}) do
  SelectObj(object)
  ExecuteCommand("Orbelin_zrTensionMapApplyCmd", {})
  maps[object] = object .. ".polymsh.cls.WeightMapCls.TensionWeightMap"
  -- Factor 3: a third of the way to the ends of the colour bar where a spread changed by 10%.
  SetValue(maps[object] .. "_TensionMap.Factor", 3)
end

-- The rig: keyed point positions from the rest shape.
KeyDeformation(tube, first, {})
KeyDeformation(tube, middle, {bend = 45})
KeyDeformation(tube, last, {bend = 120})
KeyDeformation(ball, first, {})
KeyDeformation(ball, middle, {squash = 1.35})
KeyDeformation(ball, last, {squash = 0.6})

-- The tube from the front, slightly above: its inner side (squashed) and outer side
-- (stretched) side by side; the ball from the default view, which follows it.
local cameras = {tube = {eye = {-0.8, 4.5, 12}, target = {-0.8, 2.6, 0}, fov = 30}}
local pictures = {}
for _, frame in ipairs(middle < last and {middle, last} or {last}) do
  SetFrame(frame)
  for _, shot in ipairs({{tube, "tube"}, {ball, "ball"}}) do
    local object, name = shot[1], shot[2]
    local file = string.format("%s_frame%02d.png", name, frame)
    RenderPreview(out .. "/" .. file, {weightmap = maps[object], objects = {object}, camera = cameras[name],
                                       range = {-1, 1}, colormap = "diverging", width = 480, height = 400,
                                       title = string.format("Tension Map of the %s, frame %d", name, frame)})
    WriteWeightsCSV(maps[object], string.format("%s/%s_frame%02d.csv", out, name, frame))
    pictures[#pictures + 1] = file
  end
end
print("pictures written to " .. out .. "/: " .. table.concat(pictures, ", "))
