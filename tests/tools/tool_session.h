// A small mesh with one tool applied to it, driven as its user drives it: commands, the
// property's parameters and page, weight maps made and filled, the map's weights, the log.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "mesh/polymesh.h"
#include "scene/host.h"
#include "xsi_clusterproperty.h"
#include "xsi_operator.h"

namespace tooltest {

using W = std::vector<double>;

class ToolSession : public ::testing::Test {
protected:
    // The mesh "m" (one polygon through `points`), selected, with the tool applied by
    // `applyCommand`; `map` is the tool's weight map, `property` its property, `op` its operator.
    ToolSession(std::vector<standin::mesh::Vec3> points, const std::wstring& applyCommand, std::wstring map, std::wstring property,
                std::wstring op)
        : map_(std::move(map)), prop_(std::move(property)), op_(std::move(op)) {
        host.GetLog().SetEcho(false);
        EXPECT_EQ(host.LoadPlugin(ORBELIN_PLUGIN_PATH), XSI::CStatus::OK);
        std::vector<int32_t> corners;
        for (size_t i = 0; i < points.size(); ++i) corners.push_back(static_cast<int32_t>(i));
        const auto count = static_cast<int32_t>(points.size());
        mesh = host.CreatePolyMesh(L"m", standin::mesh::PolyMesh::Build(std::move(points), {0, count}, corners));
        host.Select({mesh});
        EXPECT_EQ(Run(applyCommand, {}), XSI::CStatus::OK);
    }

    XSI::CStatus Run(const std::wstring& command, const std::vector<XSI::CValue>& values) {
        XSI::CValueArray args;
        for (const XSI::CValue& v : values) args.Add(v);
        XSI::CValue ret;
        return host.ExecuteCommand(command, args, ret);
    }
    // A new weight map "Src" on `on` (the mesh by default, or one of its clusters) holding `weights`.
    XSI::CRef Source(const W& weights, const XSI::CRef& on = XSI::CRef()) {
        XSI::CValueArray args(3);
        args[1] = XSI::CValue(on.IsValid() ? on : mesh);
        args[2] = XSI::CValue(L"Src");
        XSI::CValue ret;
        EXPECT_EQ(host.ExecuteCommand(L"CreateWeightMap", args, ret), XSI::CStatus::OK);
        const XSI::CValueArray& made = ret;
        XSI::CRef made0(made[0]);
        Put(made0, weights);
        return made0;
    }
    void Put(const XSI::CRef& weightMap, const W& weights) {
        XSI::CDoubleArray a;
        for (double v : weights) a.Add(v);
        ASSERT_EQ(XSI::ClusterProperty(weightMap).GetElements().PutArray(a), XSI::CStatus::OK);
    }
    void Set(const std::wstring& param, const XSI::CValue& v) { ASSERT_EQ(host.SetValue(prop_ + L"." + param, v), XSI::CStatus::OK); }
    XSI::CValue Get(const std::wstring& param) {
        XSI::CValue v;
        host.GetValue(prop_ + L"." + param, v);
        return v;
    }
    W Weights() {
        XSI::CDoubleArray w = XSI::ClusterProperty(host.Find(map_)).GetElements().GetArray();
        return W(w.GetArray(), w.GetArray() + w.GetCount());
    }
    // Connexions are the operator's instances in this port group.
    LONG ConnexionsIn(LONG group) { return XSI::Operator(host.Find(op_)).GetNumInstancesInGroup(group); }
    std::wstring Page() {
        bool cancelled = false;
        host.InspectObj(host.Find(prop_), XSI::siRecycle, cancelled);
        return host.DescribePage(host.Find(prop_));
    }
    void Press(const std::wstring& button) { ASSERT_EQ(host.PressButton(host.Find(prop_), button), XSI::CStatus::OK); }
    std::vector<std::wstring> LogSince(size_t from) {
        std::vector<std::wstring> out;
        const auto& entries = host.GetLog().entries();
        for (size_t i = from; i < entries.size(); ++i) out.push_back(entries[i].text);
        return out;
    }

    standin::Host host{std::filesystem::temp_directory_path()};
    XSI::CRef mesh;

private:
    std::wstring map_, prop_, op_;
};

inline void ExpectWeights(const W& got, const W& want) {
    ASSERT_EQ(got.size(), want.size());
    for (size_t i = 0; i < want.size(); ++i) EXPECT_NEAR(got[i], want[i], 1e-12) << "element " << i;
}

}  // namespace tooltest
