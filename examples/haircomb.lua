-- The Gradient Hair Comb: fur grown on a round patch of a hilly floor, combed live along the
-- direction in which a gradient weight map rises, here away from a parting in the middle of
-- the patch. The strands are coloured by the gradient at their roots.
--
--   orbelin run examples/haircomb.lua --project .    (writes into out/haircomb/)
--   orbelin demo --out DIR                           (writes into DIR/haircomb/)
--
-- Set before the script runs (orbelin demo sets it):
--   OUTPUT_DIR   the folder the results go into (default "out", relative to the project folder)

local out = (OUTPUT_DIR or "out") .. "/haircomb"

-- A 12 x 12 floor of 24 x 24 quads (vertex i at column i % 25, row i // 25; quad q at column
-- q % 24, row q // 24), raised into a gentle hill so that the strands' normals differ.
local N = 24
local floor = CreatePrim("Grid", "floor", {sizex = 12, sizez = 12, subdivu = N, subdivv = N})
local points = GetPointPositions(floor)
for _, p in ipairs(points) do p[2] = 1.5 * math.exp(-(p[1] * p[1] + p[3] * p[3]) / 30) end
SetPointPositions(floor, points)

-- The patch the fur grows on: the quads whose middle lies within 4.5 of the centre.
local patch = {}
for q = 0, N * N - 1 do
  local x, z = -6 + (q % N + 0.5) * 0.5, -6 + (math.floor(q / N) + 0.5) * 0.5
  if x * x + z * z < 4.5 * 4.5 then patch[#patch + 1] = q end
end
local cluster = CreateCluster(floor, "poly", patch, "FurPatch")
local hair = CreateHair(floor, "Fur", {length = 1.1, noise = 0.08, cluster = cluster})

-- ---- The gradient weight map ------------------------------------------------------------
-- The Gradient Map command: the ring distance over the mesh from a root cluster (the centre
-- vertex), 0 on the root and 1 on the farthest ring; no extra maps or clusters, no dialog.
local centre = (N / 2) * (N + 1) + N / 2
local root = CreateCluster(floor, "pnt", {centre}, "Centre")
ExecuteCommand("Orbelin_zrGradientMapBuildCmd", {floor, root, false, false, false, false})
local gradient = floor .. ".polymsh.cls.WeightMapCls.GradientWeightMap"
WriteWeightsCSV(gradient, out .. "/gradient.csv")
-- -------------------------------------------------------------------------------------------

local camera = {eye = {6, 10, 13}, target = {0, 1, 0}, fov = 36}
local pictures = {}
local function Picture(file, title)
  RenderPreview(out .. "/" .. file, {weightmap = gradient, camera = camera, width = 640, height = 480, title = title})
  pictures[#pictures + 1] = file
end

Picture("grown.png", "Fur as it grows, along the normals")

-- The comb, given the hair and the gradient map (in either order).
ExecuteCommand("Orbelin_zrGradientMapHairCombApplyCmd", {{hair, gradient}})
local prop = hair .. ".GradientMapHairComb"
Picture("combed.png", "Combed: Comb High 1, Comb Width 1")

SetValue(prop .. ".CombHigh", 0.25)
Picture("combed_low.png", "Comb High 0.25: laid flatter")

SetValue(prop .. ".CombHigh", 1)
SetValue(prop .. ".CombWidth", 0.3)
Picture("combed_narrow.png", "Comb Width 0.3: standing higher")

-- The Shape curve: the height along each strand, here a tall arch that falls back to the skin.
SetValue(prop .. ".CombWidth", 1)
SetFCurveKeys(prop .. ".Shape", {{0, 0}, {30, 60}, {100, 0}})
Picture("combed_arch.png", "Shape: a tall arch back to the skin")

print("pictures written to " .. out .. "/: " .. table.concat(pictures, ", "))
