// Operators applied from presets, and the evaluation that pulls them.
//
// A preset (presets/<name>.json) names the operator, its callbacks in the plug-in and its
// port groups in connection-set order; each port says what it reads of the object connected
// to its group ("self", "cluster", "primitive", "global" for the global transform, "object").
// One group may repeat: one instance per connexion.
//
// A weight map's value is pulled: reading it runs the operators stacked on it in order; an
// input port on the weight map being written reads the value below that operator. An
// operator runs again only when a stamp of something it reads (or the frame) changed since
// its last update.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "scene/nodes.h"

namespace standin {

class Host;

struct PortSpec {
    std::wstring name;
    bool output = false;
    std::wstring reads;  // self, cluster, primitive, global, object
};

struct GroupSpec {
    std::wstring name;
    bool repeat = false;
    std::vector<PortSpec> ports;
};

struct OperatorPreset {
    std::wstring name;
    std::wstring init, update, term;  // exported callback names
    std::vector<GroupSpec> groups;
    std::vector<std::pair<std::wstring, CValue::DataType>> parameters;
    std::filesystem::path file;
};

// Reads a preset file; throws std::runtime_error naming the file and the problem.
OperatorPreset LoadPreset(const std::filesystem::path& file);

struct OperatorNode : ProjectItemNode {
    siClassID cls = XSI::siCustomOperatorID;  // the host's own operators are plain operators
    OperatorPreset preset;
    // Port targets per group and instance, one per port of the group.
    std::vector<std::vector<std::vector<CRef>>> instances;
    CValue userData;
    std::vector<double> output;
    uint64_t outputStamp = 0;
    uint64_t lastInputs = 0;
    double lastFrame = 0.0;
    bool updated = false, initialised = false, updating = false;
    bool wrote = false;  // the update being run wrote its output

    siClassID ClassID() const override { return cls; }
    std::wstring TypeName() const override { return preset.name; }
    // An operator of the host's own (the hair generator) computes its output here instead of
    // calling a plug-in: true when it did; `out` then holds the whole output.
    virtual bool HostUpdate(const std::vector<double>& below, std::vector<double>& out) {
        (void)below, (void)out;
        return false;
    }
    XSI::CStatus Invoke(const std::wstring& member, LONG flags, const XSI::CValueArray& args, CValue& ret) override;
    void MarkDeleted() override;

    // Connects `object` as a new instance of `group` (its port targets derived from it).
    XSI::CStatus Connect(LONG group, const CRef& object, LONG& instance);
    XSI::CStatus Disconnect(LONG group, LONG instance);
};

// A port of an operator, as the object model hands it out.
struct PortNode : Object {
    Ptr<OperatorNode> op;
    LONG group = 0, instance = 0, port = 0;
    siClassID ClassID() const override;
    const PortSpec* Definition() const;
    CRef Target() const;
};

// The values of a stack (a weight map, a hair's points) with its operators evaluated, for
// readers outside the operators that write it; inside the update of one of them, the value
// below it.
const std::vector<double>& EvaluatedValues(OperatorStack& stack);
// Where a write to a stack goes: the output of the operator being updated on it, or the
// stored values (which then count as changed).
std::vector<double>& WritableValues(OperatorStack& stack);

// What the host does to operators when objects are deleted: an instance of a repeatable port
// group whose targets died with them (the object, its parent, the cluster under a weight map)
// leaves the group, the later instances move down and the operator updates at the next read.
void DropDeletedConnexions(Object& root);

void RegisterOperatorCommands(Host& host);

}  // namespace standin
