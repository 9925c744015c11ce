// Operators, their ports and the update context.
#include "scene/host_impl.h"
#include "scene/operators.h"
#include "sdk/wrap.h"
#include "xsi_customoperator.h"
#include "xsi_operator.h"
#include "xsi_port.h"
#include "xsi_updatecontext.h"

using namespace XSI;
using namespace standin;

namespace {

OperatorNode* OpOf(const CRef& ref) { return NodeOf<OperatorNode>(ref); }

Port MakePort(OperatorNode* op, LONG port, LONG group, LONG instance) {
    if (!op || group < 0 || static_cast<size_t>(group) >= op->preset.groups.size()) return Port();
    const GroupSpec& g = op->preset.groups[static_cast<size_t>(group)];
    if (port < 0 || static_cast<size_t>(port) >= g.ports.size()) return Port();
    if (instance < 0 || static_cast<size_t>(instance) >= op->instances[static_cast<size_t>(group)].size()) return Port();
    auto node = Make<PortNode>();
    node->op = Ptr<OperatorNode>(op);
    node->group = group;
    node->port = port;
    node->instance = instance;
    node->name = g.ports[static_cast<size_t>(port)].name;
    node->parent = op;
    return Port(XSI::Host::RefOf(node.get()));
}

CRefArray Ports(OperatorNode* op, bool outputs) {
    CRefArray out;
    if (!op) return out;
    for (size_t g = 0; g < op->preset.groups.size(); ++g)
        for (size_t i = 0; i < op->instances[g].size(); ++i)
            for (size_t p = 0; p < op->preset.groups[g].ports.size(); ++p)
                if (op->preset.groups[g].ports[p].output == outputs)
                    out.Add(MakePort(op, static_cast<LONG>(p), static_cast<LONG>(g), static_cast<LONG>(i)).GetRef());
    return out;
}

PortNode* PortOf(const CRef& ref) { return NodeOf<PortNode>(ref); }

OperatorNode* ContextOperator(const CRef& ref) {
    auto* c = NodeOf<ContextNode>(ref);
    return c ? NodeOf<OperatorNode>(c->source) : nullptr;
}

}  // namespace

namespace XSI {

XSI_WRAPPER(Operator, siOperatorID)
XSI_WRAPPER(CustomOperator, siCustomOperatorID)
XSI_WRAPPER(Port, siPortID)
XSI_WRAPPER(InputPort, siInputPortID)
XSI_WRAPPER(OutputPort, siOutputPortID)
XSI_WRAPPER(UpdateContext, siUpdateContextID)

Port Operator::GetPortAt(LONG port, LONG group, LONG instance) const { return MakePort(OpOf(m_ref), port, group, instance); }

LONG Operator::GetNumInstancesInGroup(LONG group) const {
    OperatorNode* op = OpOf(m_ref);
    if (!op || group < 0 || static_cast<size_t>(group) >= op->instances.size()) return 0;
    return static_cast<LONG>(op->instances[static_cast<size_t>(group)].size());
}

LONG Operator::GetNumPortGroups() const {
    OperatorNode* op = OpOf(m_ref);
    return op ? static_cast<LONG>(op->preset.groups.size()) : 0;
}

LONG Operator::GetNumPortsInGroup(LONG group) const {
    OperatorNode* op = OpOf(m_ref);
    if (!op || group < 0 || static_cast<size_t>(group) >= op->preset.groups.size()) return 0;
    return static_cast<LONG>(op->preset.groups[static_cast<size_t>(group)].ports.size());
}

CStatus Operator::ConnectToGroup(LONG group, CRef& object, LONG& out_instance) {
    OperatorNode* op = OpOf(m_ref);
    if (!op) return CStatus::InvalidArgument;
    return op->Connect(group, object, out_instance);
}

CStatus Operator::DisconnectGroup(LONG group, LONG instance, bool) {
    OperatorNode* op = OpOf(m_ref);
    if (!op) return CStatus::InvalidArgument;
    return op->Disconnect(group, instance);
}

CValue Operator::GetInputValue(LONG port, LONG group, LONG instance) const {
    Port p = GetPortAt(port, group, instance);
    return p.IsValid() ? CValue(p.GetTarget()) : CValue();
}

CRefArray Operator::GetInputPorts() const { return Ports(OpOf(m_ref), false); }
CRefArray Operator::GetOutputPorts() const { return Ports(OpOf(m_ref), true); }
bool Operator::GetMute() const { return false; }
CStatus Operator::PutMute(bool) { return NotAvailable("Operator::PutMute"); }

bool CustomOperator::GetAlwaysEvaluate() const { return false; }
CStatus CustomOperator::PutAlwaysEvaluate(bool) { return NotAvailable("CustomOperator::PutAlwaysEvaluate"); }

CRef Port::GetTarget() const {
    PortNode* p = PortOf(m_ref);
    return p ? p->Target() : CRef();
}
bool Port::IsConnected() const { return GetTarget().IsValid(); }
LONG Port::GetIndex() const { PortNode* p = PortOf(m_ref); return p ? p->port : -1; }
siPortType Port::GetPortType() const { return m_ref.IsA(siOutputPortID) ? siPortOutput : siPortInput; }
LONG Port::GetGroupIndex() const { PortNode* p = PortOf(m_ref); return p ? p->group : -1; }
CString Port::GetGroupName() const {
    PortNode* p = PortOf(m_ref);
    return p && p->op ? S(p->op->preset.groups[static_cast<size_t>(p->group)].name) : CString();
}
LONG Port::GetGroupInstance() const { PortNode* p = PortOf(m_ref); return p ? p->instance : -1; }
CString Port::GetTargetPath() const { return GetTarget().GetAsText(); }
CValue InputPort::GetValue() const { return IsValid() ? CValue(GetTarget()) : CValue(); }
bool InputPort::GetOptional() const { return false; }
CValue OutputPort::GetValue() const { return IsValid() ? CValue(GetTarget()) : CValue(); }
CStatus OutputPort::PutValue(const CValue&) { return NotAvailable("OutputPort::PutValue"); }

Operator UpdateContext::GetOperator() const {
    OperatorNode* op = ContextOperator(m_ref);
    return op ? Operator(XSI::Host::RefOf(op)) : Operator();
}

double UpdateContext::GetCurrentFrame() const { return standin::Host::Current().Frame(); }

CValue UpdateContext::GetUserData() const {
    OperatorNode* op = ContextOperator(m_ref);
    return op ? op->userData : CValue();
}

CStatus UpdateContext::PutUserData(const CValue& value) {
    OperatorNode* op = ContextOperator(m_ref);
    if (!op) return CStatus::InvalidArgument;
    op->userData = value;
    return CStatus::OK;
}

// ---- Lookup by path

CStatus CRef::Set(const CString& path) {
    *this = CRef();
    if (path.IsEmpty()) return CStatus::InvalidArgument;
    standin::Host* h = standin::Host::CurrentOrNull();
    if (!h) return CStatus::Fail;
    *this = h->Find(W(path));
    return IsValid() ? CStatus::OK : CStatus::InvalidArgument;
}

LONG CRefArray::Set(const CString& list, const CString& sep) {
    Clear();
    CStringArray parts = list.Split(sep);
    for (LONG i = 0; i < parts.GetCount(); ++i) {
        CRef r;
        CString p = parts[i];
        p.TrimLeft();
        p.TrimRight();
        if (r.Set(p) == CStatus::OK) Add(r);
    }
    return GetCount();
}

LONG CRefArray::Set(const CString& list) { return Set(list, CString(L",")); }

LONG CRefArray::Set(const CValueArray& values) {
    Clear();
    for (LONG i = 0; i < values.GetCount(); ++i) {
        if (values[i].m_t == CValue::siRef) {
            CRef r(values[i]);
            if (r.IsValid()) Add(r);
        } else {
            CRef r;
            if (r.Set(values[i].GetAsText()) == CStatus::OK) Add(r);
        }
    }
    return GetCount();
}

}  // namespace XSI
