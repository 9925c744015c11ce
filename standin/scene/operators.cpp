#include "scene/operators.h"

#include <algorithm>
#include <cmath>
#include <fstream>

#include <nlohmann/json.hpp>

#include "core/text.h"
#include "scene/host_impl.h"
#include "xsi_string.h"
#include "xsi_updatecontext.h"
#include "xsi_port.h"

namespace standin {

namespace {

using XSI::CStatus;
using XSI::Host::FromUtf8;
using XSI::Host::RefOf;

using InitFn = XSI::CStatus (*)(XSI::UpdateContext&, LONG);
using UpdateFn = XSI::CStatus (*)(XSI::UpdateContext&, XSI::OutputPort&);

// One operator being updated on one weight map, and the value below it.
struct Evaluation {
    OperatorStack* wm;
    OperatorNode* op;
    const std::vector<double>* below;
};
std::vector<Evaluation> g_evaluating;

const Evaluation* Current(const OperatorStack& wm) {
    for (auto it = g_evaluating.rbegin(); it != g_evaluating.rend(); ++it)
        if (it->wm == &wm) return &*it;
    return nullptr;
}

std::wstring Text(const CValue& v) { return v.IsEmpty() ? std::wstring() : std::wstring(v.GetAsText().GetWideString()); }

// What a port reads of the object connected to its group.
CRef PortTarget(const CRef& object, const std::wstring& reads) {
    Object* o = object.GetHostObject();
    if (!object.IsValid() || reads == L"self") return object;
    auto* x = dynamic_cast<X3DNode*>(o);
    auto* prim = dynamic_cast<PrimitiveNode*>(o);
    auto* wm = dynamic_cast<ClusterPropertyNode*>(o);
    auto* cluster = dynamic_cast<ClusterNode*>(o);
    if (wm) cluster = wm->Cluster();
    if (cluster) prim = cluster->Primitive();
    if (prim) x = prim->Owner();
    if (reads == L"cluster") return cluster ? RefOf(cluster) : CRef();
    if (reads == L"primitive") return x && x->primitive ? RefOf(x->primitive.get()) : prim ? RefOf(prim) : CRef();
    if (reads == L"global") return x && x->kine ? RefOf(x->kine->globalState.get()) : CRef();
    if (reads == L"object") return x ? RefOf(x) : CRef();
    return CRef();
}

// The stamp of what a port target holds, as its readers see it.
uint64_t TargetStamp(const CRef& target) {
    if (!target.IsValid()) return 0;
    Object* o = target.GetHostObject();
    if (auto* wm = dynamic_cast<ClusterPropertyNode*>(o)) {
        EvaluatedValues(*wm);
        uint64_t s = wm->changed;
        for (const auto& op : wm->operators) s = std::max(s, static_cast<OperatorNode*>(op.get())->outputStamp);
        return s;
    }
    if (auto* state = dynamic_cast<KinematicStateNode*>(o)) {
        uint64_t s = state->changed;
        for (Object* x = state->Owner(); x; x = x->parent) s = std::max(s, x->changed);
        return s;
    }
    if (auto* prim = dynamic_cast<PrimitiveNode*>(o)) {
        if (auto* stack = dynamic_cast<OperatorStack*>(prim->geometry.get())) {
            EvaluatedValues(*stack);
            uint64_t s = std::max(prim->changed, prim->geometry->changed);
            for (const auto& op : stack->operators) s = std::max(s, static_cast<OperatorNode*>(op.get())->outputStamp);
            return s;
        }
        return std::max(prim->changed, prim->geometry ? prim->geometry->changed : 0);
    }
    uint64_t s = o->changed;
    if (auto* item = dynamic_cast<ProjectItemNode*>(o))
        for (const auto& p : item->params) s = std::max(s, p->changed);
    return s;
}

Ptr<ContextNode> UpdateContextFor(OperatorNode& op) {
    auto ctx = MakeContext(XSI::siUpdateContextID, RefOf(&op));
    return ctx;
}

void CallInitOrTerm(Host& host, OperatorNode& op, const std::wstring& symbol) {
    if (symbol.empty()) return;
    auto fn = reinterpret_cast<InitFn>(host.FindCallback(symbol));
    if (!fn) {
        host.HostError(L"Callback not found: " + symbol);
        return;
    }
    auto ctx = UpdateContextFor(op);
    XSI::UpdateContext uc(RefOf(ctx.get()));
    try {
        fn(uc, 0);
    } catch (...) {
        host.HostError(symbol + L" raised an error");
    }
}

void RunUpdate(Host& host, OperatorStack& wm, OperatorNode& op, const std::vector<double>& below) {
    // An update that writes nothing lets the value below through.
    op.wrote = false;
    if (op.HostUpdate(below, op.output)) return;
    auto fn = reinterpret_cast<UpdateFn>(host.FindCallback(op.preset.update));
    if (!fn) {
        host.HostError(L"Callback not found: " + op.preset.update);
        op.output = below;
        return;
    }
    // The output port is the one named in the preset's output group.
    auto port = Make<PortNode>();
    port->op = Ptr<OperatorNode>(&op);
    for (size_t g = 0; g < op.preset.groups.size(); ++g)
        for (size_t p = 0; p < op.preset.groups[g].ports.size(); ++p)
            if (op.preset.groups[g].ports[p].output) {
                port->group = static_cast<LONG>(g);
                port->port = static_cast<LONG>(p);
                port->name = op.preset.groups[g].ports[p].name;
            }
    auto ctx = UpdateContextFor(op);
    XSI::UpdateContext uc(RefOf(ctx.get()));
    XSI::OutputPort out(RefOf(port.get()));
    g_evaluating.push_back({&wm, &op, &below});
    op.updating = true;
    try {
        fn(uc, out);
    } catch (const std::exception& e) {
        host.HostError(op.preset.update + L" raised an error: " + FromUtf8(e.what()));
    } catch (...) {
        host.HostError(op.preset.update + L" raised an error");
    }
    op.updating = false;
    g_evaluating.pop_back();
    if (!op.wrote) op.output = below;
}

CStatus CmdApplyOp(Host& host, CValueArray& args, CValue& ret) {
    std::wstring presetName = args.GetCount() > 0 ? Text(args[0]) : L"";
    std::filesystem::path file = host.FindPreset(presetName);
    if (file.empty()) {
        host.HostError(L"ApplyOp: no operator preset named " + presetName);
        return CStatus::InvalidArgument;
    }
    OperatorPreset preset;
    try {
        preset = LoadPreset(file);
    } catch (const std::exception& e) {
        host.HostError(L"ApplyOp: " + FromUtf8(e.what()));
        return CStatus::Fail;
    }
    // Groups are separated by ";", the objects of one group by ",".
    std::wstring set = args.GetCount() > 1 ? Text(args[1]) : L"";
    std::vector<std::vector<std::wstring>> groups(1);
    for (wchar_t c : set) {
        if (c == L';') groups.emplace_back();
        else if (c == L',') groups.back().emplace_back();
        else {
            if (groups.back().empty()) groups.back().emplace_back();
            groups.back().back() += c;
        }
    }
    if (groups.size() > preset.groups.size()) {
        host.HostError(L"ApplyOp: " + presetName + L" has " + std::to_wstring(preset.groups.size()) +
                       L" port groups, the connection set names " + std::to_wstring(groups.size()));
        return CStatus::InvalidArgument;
    }
    auto op = Make<OperatorNode>();
    op->preset = preset;
    op->instances.resize(preset.groups.size());
    OperatorStack* target = nullptr;
    Object* targetNode = nullptr;
    for (size_t g = 0; g < preset.groups.size(); ++g) {
        const GroupSpec& groupDef = preset.groups[g];
        std::vector<std::wstring> objects = g < groups.size() ? groups[g] : std::vector<std::wstring>{};
        std::erase_if(objects, [](const std::wstring& s) { return s.empty(); });
        if (objects.empty() && !groupDef.repeat) {
            host.HostError(L"ApplyOp: nothing connected to the port group " + groupDef.name + L" of " + presetName);
            return CStatus::InvalidArgument;
        }
        for (const std::wstring& path : objects) {
            CRef object = host.Find(path);
            if (!object.IsValid()) {
                host.HostError(L"ApplyOp: nothing named " + path + L" in the scene");
                return CStatus::InvalidArgument;
            }
            std::vector<CRef> targets;
            for (const PortSpec& port : groupDef.ports) {
                CRef t = PortTarget(object, port.reads);
                if (!t.IsValid()) {
                    host.HostError(L"ApplyOp: the port " + port.name + L" of " + presetName + L" cannot read " +
                                   port.reads + L" of " + path);
                    return CStatus::InvalidArgument;
                }
                if (port.output) {
                    // A weight map, or the primitive of a hair whose points the operator writes.
                    targetNode = t.GetHostObject();
                    target = dynamic_cast<ClusterPropertyNode*>(targetNode);
                    if (auto* prim = dynamic_cast<PrimitiveNode*>(targetNode)) target = StackOf(prim);
                }
                targets.push_back(t);
            }
            op->instances[g].push_back(targets);
        }
    }
    if (!target) {
        host.HostError(L"ApplyOp: " + presetName + L" must write a weight map or a hair's points");
        return CStatus::InvalidArgument;
    }
    op->name = target->operatorNames.Unique(target->operators, preset.name);
    op->parent = targetNode;
    for (const auto& [pname, type] : preset.parameters) {
        ParameterNode* p = op->AddParam(pname);
        p->type = type;
        p->caps = XSI::siPersistable;
        p->value = type == CValue::siString ? CValue(XSI::CString()) : CValue();
        if (type != CValue::siString && type != CValue::siEmpty) {
            p->value = CValue(0.0);
            p->value.ChangeType(type);
        }
        p->def = p->value;
    }
    target->operators.push_back(op);
    XSI::Host::Touch(op.get());
    CallInitOrTerm(host, *op, preset.init);
    op->initialised = true;
    XSI::CValueArray made;
    made.Add(CValue(RefOf(op.get())));
    ret = CValue(made);
    return CStatus::OK;
}

}  // namespace

OperatorPreset LoadPreset(const std::filesystem::path& file) {
    std::ifstream in(file);
    if (!in) throw std::runtime_error("cannot read the operator preset " + file.string());
    nlohmann::json j;
    try {
        j = nlohmann::json::parse(in);
    } catch (const std::exception& e) {
        throw std::runtime_error("the operator preset " + file.string() + " is not valid JSON: " + e.what());
    }
    auto text = [&](const nlohmann::json& o, const char* key, bool required) -> std::wstring {
        if (!o.contains(key)) {
            if (required) throw std::runtime_error("the operator preset " + file.string() + " has no \"" + key + "\"");
            return L"";
        }
        return FromUtf8(o.at(key).get<std::string>());
    };
    try {
        OperatorPreset p;
        p.file = file;
        p.name = text(j, "name", true);
        const nlohmann::json& cb = j.at("callbacks");
        p.init = text(cb, "init", false);
        p.update = text(cb, "update", true);
        p.term = text(cb, "term", false);
        for (const auto& g : j.at("groups")) {
            GroupSpec gs;
            gs.name = text(g, "name", true);
            gs.repeat = g.value("repeat", false);
            for (const auto& port : g.at("ports")) {
                PortSpec ps;
                ps.name = text(port, "name", true);
                ps.output = port.value("kind", std::string("input")) == "output";
                ps.reads = text(port, "reads", true);
                if (ps.reads != L"self" && ps.reads != L"cluster" && ps.reads != L"primitive" && ps.reads != L"global" &&
                    ps.reads != L"object")
                    throw std::runtime_error("the port " + port.at("name").get<std::string>() + " of " + file.string() +
                                             " reads \"" + port.at("reads").get<std::string>() + "\"");
                gs.ports.push_back(ps);
            }
            p.groups.push_back(gs);
        }
        if (j.contains("parameters"))
            for (const auto& prm : j.at("parameters")) {
                std::string type = prm.value("type", std::string("string"));
                CValue::DataType t = type == "double" ? CValue::siDouble : type == "integer" ? CValue::siInt4
                                   : type == "boolean" ? CValue::siBool : CValue::siString;
                p.parameters.emplace_back(text(prm, "name", true), t);
            }
        return p;
    } catch (const nlohmann::json::exception& e) {
        throw std::runtime_error("the operator preset " + file.string() + " is malformed: " + e.what());
    }
}

CStatus OperatorNode::Connect(LONG group, const CRef& object, LONG& instance) {
    if (group < 0 || static_cast<size_t>(group) >= preset.groups.size() || !object.IsValid()) return CStatus::InvalidArgument;
    const GroupSpec& groupDef = preset.groups[static_cast<size_t>(group)];
    auto& inst = instances[static_cast<size_t>(group)];
    if (!groupDef.repeat && !inst.empty()) return CStatus::Fail;
    std::vector<CRef> targets;
    for (const PortSpec& port : groupDef.ports) {
        CRef t = PortTarget(object, port.reads);
        if (!t.IsValid()) return CStatus::Fail;
        targets.push_back(t);
    }
    inst.push_back(targets);
    instance = static_cast<LONG>(inst.size()) - 1;
    XSI::Host::Touch(this);
    return CStatus::OK;
}

CStatus OperatorNode::Disconnect(LONG group, LONG instance) {
    if (group < 0 || static_cast<size_t>(group) >= instances.size()) return CStatus::InvalidArgument;
    auto& inst = instances[static_cast<size_t>(group)];
    if (instance < 0 || static_cast<size_t>(instance) >= inst.size()) return CStatus::InvalidArgument;
    inst.erase(inst.begin() + instance);
    XSI::Host::Touch(this);
    return CStatus::OK;
}

// The scripting methods of an operator.
CStatus OperatorNode::Invoke(const std::wstring& member, LONG, const XSI::CValueArray& args, CValue& ret) {
    Host& host = Host::Current();
    if (member == L"ConnectToGroup") {
        if (args.GetCount() < 2) return CStatus::InvalidArgument;
        std::vector<CRef> objs = ResolveObjects(host, args[1]);
        if (objs.size() != 1) return CStatus::InvalidArgument;
        LONG instance = -1;
        CStatus st = Connect(static_cast<LONG>(args[0]), objs.front(), instance);
        if (st.Succeeded()) ret = CValue(instance);
        return st;
    }
    if (member == L"DisconnectGroup") {
        if (args.GetCount() < 2) return CStatus::InvalidArgument;
        return Disconnect(static_cast<LONG>(args[0]), static_cast<LONG>(args[1]));
    }
    if (member == L"Name") {
        ret = CValue(XSI::CString(name.c_str()));
        return CStatus::OK;
    }
    return CStatus::MemberNotFound;
}

void OperatorNode::MarkDeleted() {
    Ptr<OperatorNode> keep(this);  // leaving the stack below may drop the last owner
    bool wasAlive = alive;
    ProjectItemNode::MarkDeleted();
    if (wasAlive && initialised) {
        initialised = false;
        if (Host* host = Host::CurrentOrNull()) {
            // The record the plug-in keeps in the user data is freed by its Term.
            alive = true;
            CallInitOrTerm(*host, *this, preset.term);
            alive = false;
        }
    }
    if (OperatorStack* stack = StackOf(parent))
        std::erase_if(stack->operators, [this](const Ptr<ProjectItemNode>& o) { return o.get() == this; });
}

siClassID PortNode::ClassID() const {
    const PortSpec* s = Definition();
    return s && s->output ? XSI::siOutputPortID : XSI::siInputPortID;
}

const PortSpec* PortNode::Definition() const {
    if (!op || group < 0 || static_cast<size_t>(group) >= op->preset.groups.size()) return nullptr;
    const GroupSpec& g = op->preset.groups[static_cast<size_t>(group)];
    return port >= 0 && static_cast<size_t>(port) < g.ports.size() ? &g.ports[static_cast<size_t>(port)] : nullptr;
}

CRef PortNode::Target() const {
    if (!op || !Definition()) return CRef();
    const auto& inst = op->instances[static_cast<size_t>(group)];
    if (instance < 0 || static_cast<size_t>(instance) >= inst.size()) return CRef();
    return inst[static_cast<size_t>(instance)][static_cast<size_t>(port)];
}

const std::vector<double>& EvaluatedValues(OperatorStack& wm) {
    if (const Evaluation* e = Current(wm)) return *e->below;
    Host& host = Host::Current();
    const std::vector<double>* cur = &wm.values;
    uint64_t curStamp = wm.StackObject().changed;
    // A copy: an update may delete operators of this stack.
    std::vector<Ptr<OperatorNode>> ops;
    for (const auto& o : wm.operators) ops.emplace_back(static_cast<OperatorNode*>(o.get()));
    for (const Ptr<OperatorNode>& op : ops) {
        if (!op->alive || op->updating) break;
        uint64_t inputs = std::max(op->changed, curStamp);
        for (const auto& group : op->instances)
            for (const auto& inst : group)
                for (const CRef& t : inst)
                    if (!wm.IsWritten(t.GetHostObject())) inputs = std::max(inputs, TargetStamp(t));
        if (!op->updated || inputs != op->lastInputs || op->lastFrame != host.Frame()) {
            RunUpdate(host, wm, *op, *cur);
            op->updated = true;
            op->lastInputs = inputs;
            op->lastFrame = host.Frame();
            op->outputStamp = XSI::Host::NextStamp();
        }
        cur = &op->output;
        curStamp = op->outputStamp;
    }
    return *cur;
}

std::vector<double>& WritableValues(OperatorStack& wm) {
    for (auto it = g_evaluating.rbegin(); it != g_evaluating.rend(); ++it)
        if (it->wm == &wm) {
            it->op->wrote = true;
            return it->op->output;
        }
    XSI::Host::Touch(&wm.StackObject());
    return wm.values;
}

OperatorStack* StackOf(Object* parent) {
    if (auto* wm = dynamic_cast<ClusterPropertyNode*>(parent)) return wm;
    if (auto* prim = dynamic_cast<PrimitiveNode*>(parent)) return dynamic_cast<OperatorStack*>(prim->geometry.get());
    return nullptr;
}

void DropDeletedConnexions(Object& root) {
    std::vector<Object*> stack{&root};
    while (!stack.empty()) {
        Object* o = stack.back();
        stack.pop_back();
        if (!o->alive) continue;
        o->Children(stack);
        auto* op = dynamic_cast<OperatorNode*>(o);
        if (!op) continue;
        bool dropped = false;
        for (size_t g = 0; g < op->instances.size() && g < op->preset.groups.size(); ++g) {
            if (!op->preset.groups[g].repeat) continue;
            dropped |= std::erase_if(op->instances[g], [](const std::vector<CRef>& targets) {
                           return std::any_of(targets.begin(), targets.end(), [](const CRef& t) { return !t.IsValid(); });
                       }) > 0;
        }
        if (dropped) XSI::Host::Touch(op);
    }
}

void RegisterOperatorCommands(Host& host) { host.impl().builtins[L"ApplyOp"] = CmdApplyOp; }

}  // namespace standin
