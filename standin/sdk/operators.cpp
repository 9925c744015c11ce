// Operators and their ports. The stand-in evaluates operators applied from presets; until a
// scene holds one, these calls report that they have nothing to work on.
#include "sdk/wrap.h"
#include "xsi_customoperator.h"
#include "xsi_operator.h"
#include "xsi_port.h"
#include "xsi_updatecontext.h"

using namespace XSI;
using namespace standin;

namespace XSI {

XSI_WRAPPER(Operator, siOperatorID)
XSI_WRAPPER(CustomOperator, siCustomOperatorID)
XSI_WRAPPER(Port, siPortID)
XSI_WRAPPER(InputPort, siInputPortID)
XSI_WRAPPER(OutputPort, siOutputPortID)
XSI_WRAPPER(UpdateContext, siUpdateContextID)

Port Operator::GetPortAt(LONG, LONG, LONG) const { NotAvailable("Operator::GetPortAt"); return Port(); }
LONG Operator::GetNumInstancesInGroup(LONG) const { NotAvailable("Operator::GetNumInstancesInGroup"); return 0; }
LONG Operator::GetNumPortGroups() const { NotAvailable("Operator::GetNumPortGroups"); return 0; }
LONG Operator::GetNumPortsInGroup(LONG) const { NotAvailable("Operator::GetNumPortsInGroup"); return 0; }
CStatus Operator::ConnectToGroup(LONG, CRef&, LONG&) { return NotAvailable("Operator::ConnectToGroup"); }
CStatus Operator::DisconnectGroup(LONG, LONG, bool) { return NotAvailable("Operator::DisconnectGroup"); }
CValue Operator::GetInputValue(LONG, LONG, LONG) const { NotAvailable("Operator::GetInputValue"); return CValue(); }
CRefArray Operator::GetInputPorts() const { NotAvailable("Operator::GetInputPorts"); return CRefArray(); }
CRefArray Operator::GetOutputPorts() const { NotAvailable("Operator::GetOutputPorts"); return CRefArray(); }
bool Operator::GetMute() const { return false; }
CStatus Operator::PutMute(bool) { return NotAvailable("Operator::PutMute"); }

bool CustomOperator::GetAlwaysEvaluate() const { return false; }
CStatus CustomOperator::PutAlwaysEvaluate(bool) { return NotAvailable("CustomOperator::PutAlwaysEvaluate"); }

CRef Port::GetTarget() const { NotAvailable("Port::GetTarget"); return CRef(); }
bool Port::IsConnected() const { return false; }
LONG Port::GetIndex() const { return -1; }
siPortType Port::GetPortType() const { return siPortInput; }
LONG Port::GetGroupIndex() const { return -1; }
CString Port::GetGroupName() const { return CString(); }
LONG Port::GetGroupInstance() const { return -1; }
CString Port::GetTargetPath() const { return CString(); }
CValue InputPort::GetValue() const { NotAvailable("InputPort::GetValue"); return CValue(); }
bool InputPort::GetOptional() const { return false; }
CValue OutputPort::GetValue() const { NotAvailable("OutputPort::GetValue"); return CValue(); }
CStatus OutputPort::PutValue(const CValue&) { return NotAvailable("OutputPort::PutValue"); }

Operator UpdateContext::GetOperator() const { NotAvailable("UpdateContext::GetOperator"); return Operator(); }
double UpdateContext::GetCurrentFrame() const { return standin::Host::Current().Frame(); }
CValue UpdateContext::GetUserData() const { NotAvailable("UpdateContext::GetUserData"); return CValue(); }
CStatus UpdateContext::PutUserData(const CValue&) { return NotAvailable("UpdateContext::PutUserData"); }

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
