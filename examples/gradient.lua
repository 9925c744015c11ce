-- Gradient Maps built from root clusters on a torus and on a standing figure (examples/figure.obj,
-- made by examples/make_figure.py): the ring distance, the curvature, the singular and
-- local-maximum vertices, and UV strips climbing the gradient, as a checker and as a flat layout;
-- then a plate from one point three ways: the ring count, the shortest path along the edges and
-- the geodesic distance across the faces (DistanceMode 0, 1 and 2), and the figure's geodesic.
--
--   orbelin run examples/gradient.lua --project .    (writes into out/gradient/)
--   orbelin demo --out DIR                           (writes into DIR/gradient/)
--
-- Set before the script runs (orbelin demo sets it):
--   OUTPUT_DIR   the folder the results go into (default "out", relative to the project folder)

local out = (OUTPUT_DIR or "out") .. "/gradient"
local here = debug.getinfo(1, "S").source:match("^@(.*[/\\])") or "examples/"

-- A weight map of the whole mesh that is 1 on a cluster's vertices and 0 elsewhere, to show
-- where the cluster lies.
local function highlight(object, cluster, name)
  local members = GetElements(ExecuteCommand("CreateWeightMap", {"", cluster, "Members", "", false})[1])
  local map = ExecuteCommand("CreateWeightMap", {"", object, name, "", false})[1]
  local weights, inside = {}, {}
  for _, v in ipairs(members) do inside[v] = true end
  for i = 1, #GetPointPositions(object) do weights[i] = inside[i - 1] and 1 or 0 end
  SetWeights(map, weights)
  return map, #members
end

local function show(name, object, root, camera)
  -- The gradient map with every extra: no dialog (the last argument).
  local maxLevel = ExecuteCommand("Orbelin_zrGradientMapBuildCmd", {object, root, true, true, true, false})
  local maps = object .. ".polymsh.cls.WeightMapCls."
  local size = {width = 640, height = 480, camera = camera, objects = {}}
  local function picture(file, options)
    for k, v in pairs(size) do options[k] = v end
    RenderPreview(out .. "/" .. name .. "_" .. file .. ".png", options)
  end
  picture("gradient", {weightmap = maps .. "GradientWeightMap", range = {0, 1},
                       title = string.format("%s: ring distance from the root, %d rings", name, maxLevel)})
  WriteWeightsCSV(maps .. "GradientWeightMap", out .. "/" .. name .. "_gradient.csv")
  picture("curvature", {weightmap = maps .. "CurvatureWeightMap", title = name .. ": curvature"})
  local singular, s = highlight(object, object .. ".polymsh.cls.SingVertices", "Singular")
  picture("singular", {weightmap = singular, range = {0, 1}, title = string.format("%s: %d singular vertices", name, s)})
  local maxima, m = highlight(object, object .. ".polymsh.cls.LocalMaximaVertices", "Maxima")
  picture("maxima", {weightmap = maxima, range = {0, 1}, title = string.format("%s: %d local maxima", name, m)})

  -- Its return value: the number of roots times the widest u reached (before normalising).
  local value = ExecuteCommand("Orbelin_zrUVFromGradientMapCmd", {maps .. "GradientWeightMap", 0, true, true, -1, false})
  local uvs = object .. ".polymsh.cls.Texture_Coordinates_AUTO.zrGradientUVs"
  picture("uv_checker", {uvs = uvs, title = string.format("%s: UV strips (return value %g)", name, value)})
  RenderUVLayout(out .. "/" .. name .. "_uv_layout.png", uvs,
                 {width = 640, height = 480, title = name .. ": UV layout, coloured by v"})
end

-- A torus rooted on one section: the gradient runs both ways round and meets opposite.
local torus = CreatePrim("Torus", "torus", {radius = 4, sectionradius = 1.4, subdivu = 48, subdivv = 16})
local section = {}
for j = 0, 15 do section[#section + 1] = j end
show("torus", torus, CreateCluster(torus, "pnt", section, "Root"), {eye = {9, 11, 13}, target = {0, -1, 0}, fov = 40})

-- The figure rooted on the ring round its feet: the gradient climbs to the head and back
-- down to the sole, and the strips close at the pole on top of the head.
local figure = ImportObj(here .. "figure.obj", "figure")
local feet = {}
for i = 1, 24 do feet[#feet + 1] = i end
show("figure", figure, CreateCluster(figure, "pnt", feet, "Feet"), {eye = {9, 6, 12}, target = {0, 3, 0}, fov = 38})

-- One point in the middle of a plate whose steps are twice as long one way as the other, three
-- distances: rings count steps whatever their length (a diamond twice as tall as the plate's
-- shape would have it), edge paths add their lengths (a diamond: a step along x then z is two
-- edges), the geodesic goes straight across (circles).
local plate = CreatePrim("Grid", "plate", {sizex = 10, sizez = 10, subdivu = 40, subdivv = 20})
local centre = CreateCluster(plate, "pnt", {10 * 41 + 20}, "Centre")
local above = {eye = {0, 17, 0.01}, target = {0, 0, 0}, up = {0, 0, -1}, fov = 40}
local map = plate .. ".polymsh.cls.WeightMapCls.GradientWeightMap"
for _, m in ipairs({{0, "rings", "ring count"}, {1, "edge_paths", "shortest path along the edges"}, {2, "geodesic", "geodesic across the faces"}}) do
  local started = os.clock()
  -- The first build makes the map on the plate; the later ones rewrite it (the map is their target).
  ExecuteCommand("Orbelin_zrGradientMapBuildCmd", {m[1] == 0 and plate or map, centre, false, false, false, false, m[1]})
  print(string.format("plate, DistanceMode %d (%s): built in %.1f ms", m[1], m[3], (os.clock() - started) * 1000))
  RenderPreview(out .. "/plate_" .. m[2] .. ".png", {weightmap = map, range = {0, 1}, camera = above, width = 480, height = 480,
                                                     objects = {}, title = string.format("DistanceMode %d: %s", m[1], m[3])})
  WriteWeightsCSV(map, out .. "/plate_" .. m[2] .. ".csv")
end

-- The figure's distance from its feet across its surface (the ring count is above).
local started = os.clock()
ExecuteCommand("Orbelin_zrGradientMapBuildCmd", {figure .. ".polymsh.cls.WeightMapCls.GradientWeightMap", figure .. ".polymsh.cls.Feet",
                                                   false, false, false, false, 2})
print(string.format("figure, geodesic: built in %.1f ms", (os.clock() - started) * 1000))
RenderPreview(out .. "/figure_geodesic.png", {weightmap = figure .. ".polymsh.cls.WeightMapCls.GradientWeightMap", range = {0, 1},
                                              width = 640, height = 480, objects = {},
                                              camera = {eye = {9, 6, 12}, target = {0, 3, 0}, fov = 38},
                                              title = "figure: geodesic distance from the feet"})

print("pictures written to " .. out .. "/")
