// Picking and turning the user's targets into weight maps, against a stand-in scene.
#include "shell/pick.h"
#include "shell/targets.h"
#include "support.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_customproperty.h"
#include "xsi_geometry.h"
#include "xsi_primitive.h"
#include "xsi_x3dobject.h"

namespace {

using shelltest::W;
using Lines = std::vector<std::pair<int, std::wstring>>;

XSI::Geometry GeometryOf(const XSI::CRef& object) {
    return XSI::X3DObject(object).GetActivePrimitive().GetGeometry();
}
// The 3D object under a weight map: map -> cluster -> primitive -> object.
XSI::CRef OwnerOf(const XSI::CRef& map) {
    return XSI::SIObject(XSI::SIObject(XSI::SIObject(map).GetParent()).GetParent()).GetParent();
}

class SceneTest : public shelltest::HostTest {
protected:
    std::size_t PluginLinesSince(std::size_t from) {
        std::size_t n = 0;
        for (const auto& [severity, text] : LinesSince(from)) n += text.rfind(L"[OrbelinPlugin]", 0) == 0;
        return n;
    }
    XSI::CRef grid = host.CreatePrim(L"Grid", L"grid");
    XSI::CRef cube = host.CreatePrim(L"Cube", L"cube");
};

TEST_F(SceneTest, PickElementExReadsObjectButtonAndModifier) {
    host.PickQueue().push_back({L"cube", 2, 3});
    XSI::CRef picked;
    LONG button = -1, modifier = -1;
    EXPECT_EQ(orbelin::PickElementEx(XSI::siObjectFilter, L"Pick", L"", picked, button, modifier), XSI::CStatus::OK);
    EXPECT_TRUE(picked == cube && button == 2 && modifier == 3);

    orbelin::PickElementEx(XSI::siObjectFilter, L"Pick", L"", picked, button, modifier);  // nothing queued: cancel
    EXPECT_TRUE(!picked.IsValid() && button == 0);
}

TEST_F(SceneTest, PickTargetsCollectsUntilCancelAndSelectsEachPick) {
    host.PickQueue().push_back({L"cube"});
    host.PickQueue().push_back({L"grid"});
    std::size_t from = host.GetLog().Count();
    XSI::CRefArray picked = orbelin::PickTargets(XSI::siObjectFilter);
    ASSERT_EQ(picked.GetCount(), 2);
    EXPECT_TRUE(picked[0] == cube && picked[1] == grid);
    EXPECT_EQ(host.Selection(), (std::vector<XSI::CRef>{cube, grid}));
    EXPECT_EQ(LinesSince(from), (Lines{{8, L"[OrbelinPlugin] >> Pick Target(s)..."},
                                       {8, L"[OrbelinPlugin] >> Picked : cube"},
                                       {8, L"[OrbelinPlugin] >> Picked : grid"}}));

    from = host.GetLog().Count();
    host.ClearSelection();
    EXPECT_EQ(orbelin::PickTargets(XSI::siObjectFilter).GetCount(), 0);
    EXPECT_TRUE(host.Selection().empty());
    EXPECT_EQ(LinesSince(from), (Lines{{8, L"[OrbelinPlugin] >> Pick Target(s)..."}}));

    // The filter reaches the host: an object cannot be picked as a cluster, which ends the picking.
    host.PickQueue().push_back({L"grid"});
    EXPECT_EQ(orbelin::PickTargets(XSI::siClusterFilter).GetCount(), 0);
}

TEST_F(SceneTest, PickOneAsksOnceWithTheDoubleMarker) {
    host.PickQueue().push_back({L"grid"});
    host.PickQueue().push_back({L"cube"});
    std::size_t from = host.GetLog().Count();
    EXPECT_EQ(orbelin::PickOne(L"Curve", XSI::siObjectFilter), grid);
    EXPECT_EQ(host.PickQueue().size(), 1u);
    EXPECT_EQ(LinesSince(from), (Lines{{8, L"[OrbelinPlugin] >>  >> Pick A Curve"}}));
    host.PickQueue().clear();
    EXPECT_FALSE(orbelin::PickOne(L"Curve", XSI::siObjectFilter).IsValid());
}

TEST_F(SceneTest, MeshObjectGetsANewWeightMapOverAllItsPointsInOrder) {
    host.Select({grid});
    XSI::CRefArray maps = orbelin::ResolveTargets(L"ProximityWeightMap");
    ASSERT_EQ(maps.GetCount(), 1);
    ASSERT_TRUE(maps[0].IsA(XSI::siClusterPropertyID));
    EXPECT_EQ(W(XSI::SIObject(maps[0]).GetName()), L"ProximityWeightMap");
    EXPECT_EQ(OwnerOf(maps[0]), grid);

    LONG n = GeometryOf(grid).GetPoints().GetCount();
    ASSERT_GT(n, 0);
    EXPECT_EQ(XSI::ClusterProperty(maps[0]).GetElements().GetCount(), n);
    XSI::CLongArray elements = XSI::Cluster(XSI::SIObject(maps[0]).GetParent()).GetElements().GetArray();
    ASSERT_EQ(elements.GetCount(), n);
    for (LONG i = 0; i < n; ++i) EXPECT_EQ(elements[i], i);
}

TEST_F(SceneTest, ClusterGetsAWeightMapOfItsOwnAndAWeightMapIsKept) {
    XSI::CLongArray indices;
    for (LONG i : {3, 1, 4}) indices.Add(i);
    XSI::Cluster partial;
    ASSERT_EQ(GeometryOf(grid).AddCluster(XSI::siVertexCluster, L"Partial", indices, partial), XSI::CStatus::OK);

    host.Select({partial.GetRef()});
    XSI::CRefArray first = orbelin::ResolveTargets(L"SmoothWeightMap");
    ASSERT_EQ(first.GetCount(), 1);
    EXPECT_EQ(W(XSI::SIObject(first[0]).GetName()), L"SmoothWeightMap");
    EXPECT_EQ(XSI::SIObject(first[0]).GetParent(), partial.GetRef());
    EXPECT_EQ(XSI::ClusterProperty(first[0]).GetElements().GetCount(), 3);

    host.Select({first[0]});
    LONG clusters = GeometryOf(grid).GetClusters().GetCount();
    XSI::CRefArray again = orbelin::ResolveTargets(L"MixWeightMap");
    ASSERT_EQ(again.GetCount(), 1);
    EXPECT_EQ(again[0], first[0]);
    EXPECT_EQ(GeometryOf(grid).GetClusters().GetCount(), clusters);
    EXPECT_EQ(partial.GetProperties().GetCount(), 1);
}

TEST_F(SceneTest, MixedSelectionKeepsOrderAndSkipsNonTargetsSilently) {
    XSI::CustomProperty notes;
    ASSERT_EQ(XSI::SceneItem(grid).AddCustomProperty(L"Notes", false, notes), XSI::CStatus::OK);
    XSI::Parameter note;
    ASSERT_EQ(notes.AddParameter(L"Note", XSI::CValue::siString, 4, L"Note", L"", XSI::CValue(L""), note),
              XSI::CStatus::OK);
    host.Select({cube});
    XSI::CRefArray existing = orbelin::ResolveTargets(L"Existing");
    ASSERT_EQ(existing.GetCount(), 1);

    host.Select({notes.GetRef(), grid, note.GetRef(), existing[0]});
    std::size_t from = host.GetLog().Count();
    XSI::CRefArray maps = orbelin::ResolveTargets(L"ExpressionWeightMap");
    ASSERT_EQ(maps.GetCount(), 2);
    EXPECT_EQ(OwnerOf(maps[0]), grid);
    EXPECT_EQ(maps[1], existing[0]);
    EXPECT_TRUE(LinesSince(from).empty());
}

TEST_F(SceneTest, NullIsAnObjectTargetThoughItCannotCarryAMap) {
    host.Select({host.CreateNull(L"null")});
    std::size_t from = host.GetLog().Count();
    EXPECT_EQ(orbelin::ResolveTargets(L"ProximityWeightMap").GetCount(), 0);
    // Skipped as a non-target, it would leave no trace; asked for a map, the host refuses.
    bool asked = false;
    for (const auto& [severity, text] : LinesSince(from)) asked |= text.find(L"CreateWeightMap") != std::wstring::npos;
    EXPECT_TRUE(asked);
    EXPECT_EQ(PluginLinesSince(from), 0u);
}

TEST_F(SceneTest, EmptySelectionPicksTheTargetsAndACancelGivesNone) {
    LONG clusters = GeometryOf(grid).GetClusters().GetCount();
    EXPECT_EQ(orbelin::ResolveTargets(L"ProximityWeightMap").GetCount(), 0);
    EXPECT_EQ(GeometryOf(grid).GetClusters().GetCount(), clusters);

    host.PickQueue().push_back({L"cube"});
    XSI::CRefArray maps = orbelin::ResolveTargets(L"TensionWeightMap");
    ASSERT_EQ(maps.GetCount(), 1);
    EXPECT_EQ(W(XSI::SIObject(maps[0]).GetName()), L"TensionWeightMap");
    EXPECT_EQ(OwnerOf(maps[0]), cube);
}

}  // namespace
