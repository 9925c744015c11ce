// The Tension Map from a user's side: applied to a deforming grid, checked against the
// definition written over the object model's own per-vertex queries, its reference blob reset
// and broken, its execution modes over frames, driven from its page.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "core/object.h"
#include "scene/host.h"
#include "scene/nodes.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_customproperty.h"
#include "xsi_polygonface.h"
#include "xsi_polygonmesh.h"
#include "xsi_primitive.h"
#include "xsi_userdatablob.h"
#include "xsi_vertex.h"
#include "xsi_x3dobject.h"

using namespace XSI;
using standin::mesh::Vec3;

namespace {

const std::wstring kMap = L"grid.polymsh.cls.WeightMapCls.TensionWeightMap";
const std::wstring kProp = kMap + L"_TensionMap";
const std::wstring kBlob = L"grid.TensionMapBlob";
const std::wstring kSizeMessage =
    L"[OrbelinPlugin] >> UserDataBlob has not the expected Size, please refresh it by clicking on the Reset Reference Pose button";

struct TensionTest : ::testing::Test {
    standin::Host host{std::filesystem::temp_directory_path()};
    CRef grid;
    std::vector<Vec3> rest;

    TensionTest() {
        host.GetLog().SetEcho(false);
        EXPECT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), CStatus::OK);
        grid = host.CreatePrim(L"Grid", L"grid", {{L"subdivu", 6}, {L"subdivv", 5}});
        rest.assign(Node(grid)->mesh.Positions().begin(), Node(grid)->mesh.Positions().end());
        Apply(grid);
    }
    static standin::PolyMeshNode* Node(const CRef& object) {
        return dynamic_cast<standin::PolyMeshNode*>(X3DObject(object).GetActivePrimitive().GetGeometry().GetRef().GetHostObject());
    }
    void Apply(const CRef& target) {
        host.Select({target});
        CValueArray args;
        CValue ret;
        ASSERT_EQ(host.ExecuteCommand(L"Orbelin_zrTensionMapApplyCmd", args, ret), CStatus::OK);
    }
    CStatus Reset(const CValue& list) {
        CValueArray args(1);
        args[0] = list;
        CValue ret;
        return host.ExecuteCommand(L"Orbelin_zrTensionMapResetPoseCmd", args, ret);
    }
    void Set(const std::wstring& param, const CValue& v) {
        ASSERT_EQ(host.SetValue(kProp + L"." + param, v), CStatus::OK) << std::string(param.begin(), param.end());
    }
    CValue Get(const std::wstring& param) {
        CValue v;
        host.GetValue(kProp + L"." + param, v);
        return v;
    }
    std::vector<double> Weights(const std::wstring& map = kMap) {
        CDoubleArray w = ClusterProperty(host.Find(map)).GetElements().GetArray();
        return {w.GetArray(), w.GetArray() + w.GetCount()};
    }
    std::vector<double> Blob(const std::wstring& path = kBlob) {
        const unsigned char* bytes = nullptr;
        unsigned int size = 0;
        UserDataBlob(host.Find(path)).GetValue(bytes, size);
        std::vector<double> out(size / 8);
        if (size) std::memcpy(out.data(), bytes, out.size() * 8);
        EXPECT_EQ(size % 8, 0u);
        return out;
    }
    // The rest pose moved by f(p).
    template <class F>
    std::vector<Vec3> Moved(F f) const {
        std::vector<Vec3> out;
        for (const Vec3& p : rest) out.push_back(f(p));
        return out;
    }
    std::vector<Vec3> Scaled(double s) const {
        return Moved([s](const Vec3& p) { return Vec3{p.x * s, p.y * s, p.z * s}; });
    }
    std::wstring Page() {
        bool cancelled = false;
        host.InspectObj(host.Find(kProp), siRecycle, cancelled);
        return host.DescribePage(host.Find(kProp));
    }

    // The spread as defined, vertex by vertex through the object model: the polygons around
    // the vertex, each polygon's vertices, squared distances above 0.
    static std::vector<double> ObjectModelSpreads(const CRef& object) {
        PolygonMesh mesh(X3DObject(object).GetActivePrimitive().GetGeometry().GetRef());
        CVertexRefArray vertices = mesh.GetVertices();
        std::vector<double> out;
        for (LONG v = 0; v < vertices.GetCount(); ++v) {
            Vertex vertex(vertices[v]);
            const MATH::CVector3 p = vertex.GetPosition();
            CPolygonFaceRefArray polygons = vertex.GetNeighborPolygons(1);
            double sum = 0.0;
            int count = 0;
            for (LONG i = 0; i < polygons.GetCount(); ++i) {
                CVertexRefArray corners = PolygonFace(polygons[i]).GetVertices();
                for (LONG c = 0; c < corners.GetCount(); ++c) {
                    MATH::CVector3 q = Vertex(corners[c]).GetPosition();
                    const double dx = q.GetX() - p.GetX(), dy = q.GetY() - p.GetY(), dz = q.GetZ() - p.GetZ();
                    const double d = dx * dx + dy * dy + dz * dz;
                    if (d > 0.0) sum += d, ++count;
                }
            }
            out.push_back(sum / count);
        }
        return out;
    }
};

// Equal within summation-order rounding: 1e-12 relative, or both NaN.
void ExpectClose(const std::vector<double>& got, const std::vector<double>& want) {
    ASSERT_EQ(got.size(), want.size());
    for (size_t i = 0; i < got.size(); ++i) {
        if (std::isnan(want[i])) EXPECT_TRUE(std::isnan(got[i])) << i;
        else EXPECT_NEAR(got[i], want[i], 1e-12 * std::max(1.0, std::fabs(want[i]))) << i;
    }
}

TEST_F(TensionTest, ApplyingMakesThePropertyTheBlobAndAMapAtRest) {
    CustomProperty prop(host.Find(kProp));
    ASSERT_TRUE(prop.IsValid());
    CParameterRefArray params = prop.GetParameters();
    const wchar_t* names[] = {L"Enable", L"OpMode", L"OpWeightPostProcess", L"Min", L"Max", L"StartFrame",
                              L"EndFrame", L"CleanCacheIdx", L"Factor", L"BlobFullPath"};
    ASSERT_EQ(params.GetCount(), 10);
    for (LONG i = 0; i < 10; ++i) EXPECT_EQ(Parameter(params[i]).GetScriptName(), CString(names[i])) << i;
    EXPECT_EQ(static_cast<LONG>(Get(L"OpMode")), 1);
    EXPECT_EQ(static_cast<LONG>(Get(L"OpWeightPostProcess")), 1);
    EXPECT_EQ(static_cast<double>(Get(L"Min")), -1.0);
    EXPECT_EQ(static_cast<double>(Get(L"Factor")), 1.0);
    EXPECT_EQ(XSI::Host::As<standin::ParameterNode>(params[3])->label, L"Near");
    EXPECT_EQ(XSI::Host::As<standin::ParameterNode>(params[4])->label, L"Far");
    EXPECT_EQ(Get(L"BlobFullPath").GetAsText(), CString(kBlob.c_str()));
    EXPECT_TRUE(host.Find(kMap + L".zrTensionMapOp").IsValid());
    EXPECT_TRUE(host.GetLog().Contains(L"Setting TensionMap Reference Pose : UserDataBlob grid.TensionMapBlob"));
    // The reference is the pose at the time of applying, so the map is 0 everywhere.
    ExpectClose(Blob(), ObjectModelSpreads(grid));
    for (double w : Weights()) EXPECT_EQ(w, 0.0);
    // A second map on the same object gets a blob of its own.
    Apply(grid);
    EXPECT_EQ(Blob(L"grid.TensionMapBlob1"), Blob());
}

TEST_F(TensionTest, DeformationsGiveTheDefinitionsTension) {
    // Uniform scales: every squared distance times 4 (t = 3, clamped to 1) or a quarter (-0.75).
    host.SetPointPositions(grid, Scaled(2));
    for (double w : Weights()) EXPECT_EQ(w, 1.0);
    Set(L"OpWeightPostProcess", CValue(LONG(0)));
    for (double w : Weights()) EXPECT_DOUBLE_EQ(w, 3.0);
    // Change range with every tension equal: written as they are.
    Set(L"OpWeightPostProcess", CValue(LONG(2)));
    for (double w : Weights()) EXPECT_DOUBLE_EQ(w, 3.0);
    host.SetPointPositions(grid, Scaled(0.5));
    Set(L"OpWeightPostProcess", CValue(LONG(1)));
    for (double w : Weights()) EXPECT_DOUBLE_EQ(w, -0.75);

    // A random deformation against the definition, with every post-process and a factor.
    std::mt19937 rng(3);
    std::uniform_real_distribution<double> d(-0.4, 0.4);
    host.SetPointPositions(grid, Moved([&](const Vec3& p) { return Vec3{p.x + d(rng), p.y + d(rng), p.z * 1.3 + d(rng)}; }));
    const std::vector<double> ref = Blob(), now = ObjectModelSpreads(grid);
    CLongArray cluster = Cluster(SIObject(host.Find(kMap)).GetParent()).GetElements().GetArray();
    for (LONG post : {0, 1, 2}) {
        Set(L"OpWeightPostProcess", CValue(post));
        Set(L"Factor", CValue(0.7));
        Set(L"Min", CValue(-0.2));
        Set(L"Max", CValue(0.3));
        std::vector<double> t(now.size()), want;
        double hi = -10000, lo = 10000;
        for (size_t v = 0; v < now.size(); ++v) {
            t[v] = (now[v] / ref[v] - 1.0) * 0.7;
            if (post == 1) t[v] = std::min(std::max(t[v], -0.2), 0.3);
            hi = std::max(hi, t[v]), lo = std::min(lo, t[v]);
        }
        for (LONG k = 0; k < cluster.GetCount(); ++k) {
            double w = t[size_t(cluster[k])];
            want.push_back(post == 2 ? (w - lo) * 0.5 / (hi - lo) - 0.2 : w);
        }
        ExpectClose(Weights(), want);
    }
}

TEST_F(TensionTest, TheResetCommandWritesTheSpreadsAndSkipsWhatIsNoBlob) {
    // A cube of side 2: 8 spreads of (4 + 4 + 8) * 3 / 9, 64 bytes.
    CRef cube = host.CreatePrim(L"Cube", L"cube", {{L"length", 2}});
    CRef blob = X3DObject(cube).AddProperty(L"UserDataBlob", false, L"TensionMapBlob").GetRef();
    size_t from = host.GetLog().Count();
    EXPECT_EQ(Reset(CValue(blob)), CStatus::OK);
    EXPECT_EQ(UserDataBlob(blob).Size(), 64u);
    for (double v : Blob(L"cube.TensionMapBlob")) EXPECT_DOUBLE_EQ(v, 48.0 / 9.0);
    auto lines = host.GetLog().LinesSince(from);
    ASSERT_EQ(lines.size(), 4u);  // banner (two lines), the blob, done
    EXPECT_EQ(lines[2].text, L"[OrbelinPlugin] >> Setting TensionMap Reference Pose : UserDataBlob cube.TensionMapBlob");

    // An empty list: the banner and the closing line only. Objects that are no blob: skipped.
    host.ClearSelection();
    from = host.GetLog().Count();
    EXPECT_EQ(Reset(CValue(CValueArray())), CStatus::OK);
    EXPECT_EQ(host.GetLog().LinesSince(from).size(), 3u);
    from = host.GetLog().Count();
    EXPECT_EQ(Reset(CValue(cube)), CStatus::OK);
    EXPECT_EQ(Reset(CValue(host.Find(kProp))), CStatus::OK);
    EXPECT_EQ(host.GetLog().LinesSince(from).size(), 6u);
    EXPECT_EQ(host.GetLog().CountWith(siWarningMsg) + host.GetLog().CountWith(siErrorMsg), 0u);

    // A blob on an object without a polygon mesh: the warning, the blob untouched.
    CRef null = host.CreateNull(L"empty");
    CRef lost = X3DObject(null).AddProperty(L"UserDataBlob", false, L"TensionMapBlob").GetRef();
    from = host.GetLog().Count();
    EXPECT_EQ(Reset(CValue(lost)), CStatus::OK);
    lines = host.GetLog().LinesSince(from);
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[2].severity, siWarningMsg);
    EXPECT_EQ(lines[2].text, L"[OrbelinPlugin] >> Object empty is not a valid PolygonMesh");
    EXPECT_EQ(UserDataBlob(lost).Size(), 0u);

    // The page's button resets the tool's own blob: the deformed shape becomes neutral.
    host.SetPointPositions(grid, Moved([](const Vec3& p) { return Vec3{p.x, p.y + 0.1 * p.x * p.x, p.z}; }));
    EXPECT_NE(Weights(), std::vector<double>(rest.size(), 0.0));
    EXPECT_EQ(host.PressButton(host.Find(kProp), L"ResetPose"), CStatus::OK);
    EXPECT_EQ(Weights(), std::vector<double>(rest.size(), 0.0));
}

TEST_F(TensionTest, AStaleBlobGivesTheMessageAndZerosUntilItIsReset) {
    host.SetPointPositions(grid, Scaled(2));
    std::vector<double> longer = Blob();
    longer.push_back(1.0);
    UserDataBlob blob(host.Find(kBlob));
    blob.PutValue(reinterpret_cast<const unsigned char*>(longer.data()), static_cast<unsigned int>(longer.size() * 8));
    size_t from = host.GetLog().Count();
    EXPECT_EQ(Weights(), std::vector<double>(rest.size(), 0.0));
    auto lines = host.GetLog().LinesSince(from);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].severity, siErrorMsg);
    EXPECT_EQ(lines[0].text, kSizeMessage);

    // Caching keeps the zeros of that frame even once the blob fits again.
    Set(L"OpMode", CValue(LONG(2)));
    host.SetFrame(1);
    EXPECT_EQ(Weights(), std::vector<double>(rest.size(), 0.0));
    host.PressButton(host.Find(kProp), L"ResetPose");
    EXPECT_EQ(Weights(), std::vector<double>(rest.size(), 0.0));
    host.SetPointPositions(grid, Scaled(4));
    EXPECT_EQ(Weights(), std::vector<double>(rest.size(), 0.0));  // still the cached frame
    host.SetFrame(2);
    for (double w : Weights()) EXPECT_EQ(w, 1.0);  // (16 / 4 - 1) clamped
    // Live again: the reset fixed it.
    Set(L"OpMode", CValue(LONG(1)));
    host.SetFrame(1);
    for (double w : Weights()) EXPECT_EQ(w, 1.0);

    // New vertices: the blob no longer fits until it is reset.
    Node(grid)->mesh = standin::mesh::PolyMesh::Build({{0, 0, 0}, {1, 0, 0}, {0, 0, 1}, {1, 0, 1}, {5, 5, 5}}, {0, 4}, {0, 1, 3, 2});
    XSI::Host::Touch(Node(grid));
    from = host.GetLog().Count();
    std::vector<double> w = Weights();
    EXPECT_TRUE(host.GetLog().Contains(kSizeMessage));
    ASSERT_EQ(Reset(CValue(host.Find(kBlob))), CStatus::OK);
    EXPECT_EQ(Blob().size(), 5u);
    w = Weights();
    // The isolated vertex spreads 0/0 in both poses: NaN, which the clamp turns into Max.
    EXPECT_EQ(w[0], 0.0);
    EXPECT_EQ(w[4], 1.0);
    EXPECT_EQ(w[5], 0.0);  // an element naming no vertex now
    EXPECT_TRUE(std::isnan(Blob()[4]));

    // The blob deleted: zeros with a message saying so; its button finds nothing to reset.
    host.Delete(host.Find(kBlob));
    from = host.GetLog().Count();
    EXPECT_EQ(Weights(), std::vector<double>(w.size(), 0.0));
    EXPECT_TRUE(host.GetLog().Contains(L"the UserDataBlob of the reference pose is gone"));
    EXPECT_EQ(host.PressButton(host.Find(kProp), L"ResetPose"), CStatus::OK);
    EXPECT_EQ(Get(L"BlobFullPath").GetAsText(), CString(kBlob.c_str()));
}

TEST_F(TensionTest, HoldAndCachingOverFramesAndTheBlobFollowedByName) {
    // A grid stretched along x from frame 1 to frame 11.
    host.SetPointPositions(grid, rest, 1);
    host.SetPointPositions(grid, Moved([](const Vec3& p) { return Vec3{p.x * 1.5, p.y, p.z}; }), 11);
    host.SetFrame(6);
    const std::vector<double> at6 = Weights();
    EXPECT_GT(*std::max_element(at6.begin(), at6.end()), 0.0);

    Set(L"OpMode", CValue(LONG(0)));  // Hold: the map as Hold found it, whatever the frame
    const std::vector<double> held = Weights();
    host.SetFrame(11);
    EXPECT_EQ(Weights(), held);

    Set(L"OpMode", CValue(LONG(2)));
    host.SetFrame(11);
    const std::vector<double> at11 = Weights();
    EXPECT_NE(at11, at6);
    host.SetPointPositions(grid, rest, 11);  // the frame stays cached
    EXPECT_EQ(Weights(), at11);
    // The page's Clean Cache moves the counter on and the frame is computed again.
    ASSERT_NE(Page().find(L"Clean Cache"), std::wstring::npos);
    EXPECT_EQ(host.PressButton(host.Find(kProp), L"CleanCache"), CStatus::OK);
    EXPECT_EQ(static_cast<LONG>(Get(L"CleanCacheIdx")), 1);
    EXPECT_EQ(Weights(), std::vector<double>(rest.size(), 0.0));

    // Renamed, the blob is still read and BlobFullPath follows it, also on a cached frame.
    CRef blob = host.Find(kBlob);
    ASSERT_EQ(SIObject(blob).PutName(L"RestPose"), CStatus::OK);
    host.SetFrame(12);
    EXPECT_EQ(Weights(), std::vector<double>(rest.size(), 0.0));
    EXPECT_EQ(Get(L"BlobFullPath").GetAsText(), CString(L"grid.RestPose"));
    ASSERT_EQ(SIObject(blob).PutName(L"Pose"), CStatus::OK);
    host.SetFrame(11);
    EXPECT_EQ(Weights(), std::vector<double>(rest.size(), 0.0));
    EXPECT_EQ(Get(L"BlobFullPath").GetAsText(), CString(L"grid.Pose"));
    EXPECT_FALSE(host.GetLog().Contains(kSizeMessage));
    // The page's button resets the blob where it is now.
    EXPECT_EQ(host.PressButton(host.Find(kProp), L"ResetPose"), CStatus::OK);
    EXPECT_TRUE(host.GetLog().Contains(L"Setting TensionMap Reference Pose : UserDataBlob grid.Pose"));

    // Disabled: nothing written, the map below shows through.
    Set(L"Enable", CValue(false));
    host.SetFrame(13);
    EXPECT_EQ(Weights(), std::vector<double>(rest.size(), 0.0));
}

TEST_F(TensionTest, ThePageShowsTheFrameRangeOnlyWhenCaching) {
    std::wstring page = Page();
    for (const wchar_t* text : {L"Tension Weightmap", L"Execution State", L"Reset Reference Pose", L" Read From Blob ",
                                L" Read From Blob - Caching ", L"Post-Process", L"Factor", L" Change Range ", L"tensionmap.html"})
        EXPECT_NE(page.find(text), std::wstring::npos) << std::wstring(text);
    EXPECT_EQ(page.find(L"Clean Cache"), std::wstring::npos);
    EXPECT_EQ(page.find(L"Start Frame"), std::wstring::npos);
    Set(L"OpMode", CValue(LONG(2)));
    page = host.DescribePage(host.Find(kProp));
    EXPECT_NE(page.find(L"Start Frame"), std::wstring::npos);
    EXPECT_NE(page.find(L"End Frame"), std::wstring::npos);
}

}  // namespace
