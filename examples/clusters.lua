-- Clusters Map: a polygon cluster of a grid turned into weight maps, as it is, shrunk by 2
-- rings, and reduced to its border band of 2 rings. Pictures side by side.
--
--   orbelin run examples/clusters.lua --project .    (writes into out/clusters/)
--   orbelin demo --out DIR                           (writes into DIR/clusters/)
--
-- Set before the script runs (orbelin demo sets it):
--   OUTPUT_DIR   the folder the results go into (default "out", relative to the project folder)

local out = (OUTPUT_DIR or "out") .. "/clusters"

local n = 40
local floor = CreatePrim("Grid", "floor", {sizex = 20, sizez = 20, subdivu = n, subdivv = n})
-- A block of faces with a notch: rows 8 to 31, columns 10 to 29, without the top right corner.
local faces = {}
for r = 8, 31 do
  for c = 10, 29 do
    if not (r > 22 and c > 20) then faces[#faces + 1] = r * n + c end
  end
end
local patch = CreateCluster(floor, "poly", faces, "Patch")

local camera = {eye = {0, 24, 18}, target = {0, -1, 0.5}, fov = 40}
local pictures = {}
for _, case in ipairs({{0, "as it is"}, {2, "cropped by 2"}, {-2, "border band of 2"}}) do
  local cropping, label = case[1], case[2]
  ExecuteCommand("Orbelin_zrClustersMapBuildCmd", {{patch}, cropping})
  -- Each build makes a new weight map (on a new cluster) named after the clusters.
  local map = nil
  for i = 0, 10 do
    local candidate = "floor.polymsh.cls.WeightMapCls" .. (i == 0 and "" or tostring(i)) .. ".WMFromPatch"
    if Exists(candidate) then map = candidate end
  end
  local file = string.format("cropping%s%d.png", cropping < 0 and "_minus" or "", math.abs(cropping))
  RenderPreview(out .. "/" .. file, {weightmap = map, camera = camera, range = {0, 1},
                                     title = "Clusters Map, " .. label, width = 420, height = 320})
  WriteWeightsCSV(map, out .. "/" .. file:gsub("%.png$", ".csv"))
  pictures[#pictures + 1] = file
end
print("pictures written to " .. out .. "/: " .. table.concat(pictures, ", "))
