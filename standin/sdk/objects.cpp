// Scene objects of the object model: names, parents, parameters, properties, transforms.
#include <cmath>

#include "scene/host_impl.h"
#include "sdk/wrap.h"
#include "core/text.h"
#include "xsi_application.h"
#include "xsi_customproperty.h"
#include "xsi_fcurve.h"
#include "xsi_kinematics.h"
#include "xsi_model.h"
#include "xsi_null.h"
#include "xsi_ppglayout.h"
#include "xsi_userdatablob.h"
#include "xsi_x3dobject.h"

using namespace XSI;
using namespace standin;

namespace standin {
CStatus NotAvailable(const char* operation) {
    if (Host* h = Host::CurrentOrNull())
        h->HostError(XSI::Host::FromUtf8(operation) + L": not available in this host yet");
    return CStatus::NotImpl;
}
}  // namespace standin

namespace XSI {

// ---- CBase

CBase::CBase() {}
CBase::~CBase() {}
siClassID CBase::GetClassID() const { return m_ref.GetClassID(); }
bool CBase::IsA(siClassID id) const { return m_ref.IsA(id); }
bool CBase::IsA(const CRef& ref) const { return ref.IsValid() && m_ref.IsA(ref.GetClassID()); }
CString CBase::GetClassIDName() const { return m_ref.GetClassIDName(); }
bool CBase::IsValid() const { return m_ref.IsValid(); }
void CBase::ResetObject() { m_ref = CRef(); }

CStatus CBase::SetObject(const CRef& ref) {
    m_ref = CRef();
    Assign(ref, GetClassID());
    return m_ref.IsValid() ? CStatus::OK : CStatus::InvalidArgument;
}

void CBase::Assign(const CRef& ref, siClassID id) {
    if (ref.IsA(id)) m_ref = ref;
}

// ---- SIObject

XSI_WRAPPER(SIObject, siSIObjectID)

CString SIObject::GetName() const {
    if (!m_ref.IsValid()) return CString();
    if (m_ref.GetComponentClass() != 0) return m_ref.GetAsText();
    return S(m_ref.GetHostObject()->name);
}

CStatus SIObject::PutName(const CString& name) {
    if (!m_ref.IsValid() || m_ref.GetComponentClass() != 0) return CStatus::Fail;
    XSI::Host::Object* o = m_ref.GetHostObject();
    if (auto* reg = NodeOf<PluginRegistrarNode>(m_ref)) {
        const_cast<PluginInfo&>(standin::Host::Current().Plugins()[reg->plugin]).name = W(name);
        o->name = W(name);
        return CStatus::OK;
    }
    o->name = NodeOf<MenuItemNode>(m_ref) ? W(name) : SanitizeName(W(name));
    NameIndex::NameChanged();
    return CStatus::OK;
}

CString SIObject::GetFullName() const { return m_ref.GetAsText(); }

CString SIObject::GetType() const {
    if (!m_ref.IsValid()) return CString();
    if (m_ref.GetComponentClass() != 0) return S(XSI::Host::ClassName(m_ref.GetClassID()));
    return S(m_ref.GetHostObject()->TypeName());
}

CRef SIObject::GetParent() const {
    if (!m_ref.IsValid()) return CRef();
    XSI::Host::Object* o = m_ref.GetHostObject();
    if (m_ref.GetComponentClass() != 0) return XSI::Host::RefOf(o);  // the geometry
    XSI::Host::Object* p = o->LogicalParent();
    return p ? XSI::Host::RefOf(p) : CRef();
}

Application SIObject::GetApplication() const { return Application(); }
CString SIObject::GetUniqueName() const { return GetFullName(); }
bool SIObject::IsEqualTo(const CRef& ref) const { return m_ref == ref; }
CString SIObject::GetHelp() const { return CString(); }

CRefArray SIObject::GetNestedObjects() const {
    CRefArray out;
    if (!m_ref.IsValid() || m_ref.GetComponentClass() != 0) return out;
    std::vector<XSI::Host::Object*> kids;
    m_ref.GetHostObject()->Children(kids);
    for (auto* k : kids)
        if (k->alive) out.Add(XSI::Host::RefOf(k));
    return out;
}

// ---- ProjectItem

XSI_WRAPPER(ProjectItem, siProjectItemID)

Model ProjectItem::GetModel() const {
    for (XSI::Host::Object* o = m_ref.IsValid() ? m_ref.GetHostObject()->parent : nullptr; o; o = o->parent)
        if (o->ClassID() == siModelID) return Model(XSI::Host::RefOf(o));
    if (standin::Host* h = standin::Host::CurrentOrNull()) return Model(h->RootRef());
    return Model();
}

Parameter ProjectItem::GetParameter(const CString& scriptName) const {
    auto* p = NodeOf<ProjectItemNode>(m_ref);
    ParameterNode* param = p ? p->FindParam(W(scriptName)) : nullptr;
    return param ? Parameter(XSI::Host::RefOf(param)) : Parameter();
}

CParameterRefArray ProjectItem::GetParameters() const {
    CParameterRefArray out;
    if (auto* p = NodeOf<ProjectItemNode>(m_ref))
        for (const auto& param : p->params) out.Add(XSI::Host::RefOf(param.get()));
    return out;
}

CValue ProjectItem::GetParameterValue(const CString& scriptName, double time) const {
    return GetParameter(scriptName).GetValue(time);
}

CStatus ProjectItem::PutParameterValue(const CString& scriptName, const CValue& value, double time) {
    Parameter p = GetParameter(scriptName);
    if (!p.IsValid()) return CStatus::InvalidArgument;
    return p.PutValue(value, time);
}

PPGLayout ProjectItem::GetPPGLayout() const {
    auto* cp = NodeOf<CustomPropertyNode>(m_ref);
    if (!cp) return PPGLayout();
    auto layout = Make<LayoutNode>();
    layout->owner = Ptr<CustomPropertyNode>(cp);
    return PPGLayout(XSI::Host::RefOf(layout.get()));
}

CString ProjectItem::GetFamilies() const { return CString(); }
bool ProjectItem::IsKindOf(const CString& type) const { return GetType() == type; }

X3DObject ProjectItem::GetParent3DObject() const {
    for (XSI::Host::Object* o = m_ref.IsValid() ? m_ref.GetHostObject()->parent : nullptr; o; o = o->parent)
        if (dynamic_cast<X3DNode*>(o)) return X3DObject(XSI::Host::RefOf(o));
    return X3DObject();
}

ULONG ProjectItem::GetObjectID() const {
    return static_cast<ULONG>(reinterpret_cast<uintptr_t>(m_ref.GetHostObject()) >> 4);
}

// ---- SceneItem

XSI_WRAPPER(SceneItem, siSceneItemID)

Property SceneItem::AddProperty(const CString& preset, bool branch, const CString& name) {
    Property p;
    AddProperty(preset, branch, name, p);
    return p;
}

CStatus SceneItem::AddProperty(const CString& preset, bool, const CString& name, Property& out) {
    auto* owner = NodeOf<SceneItemNode>(m_ref);
    if (!owner) return CStatus::InvalidArgument;
    Ptr<ProjectItemNode> made = CreateProperty(standin::Host::Current(), *owner, W(preset), W(name));
    if (!made) return CStatus::InvalidArgument;
    out = Property(XSI::Host::RefOf(made.get()));
    return CStatus::OK;
}

CStatus SceneItem::AddCustomProperty(const CString& name, bool branch, CustomProperty& out) {
    Property p;
    CStatus st = AddProperty(CString(L"CustomProperty"), branch, name, p);
    out = CustomProperty(p.GetRef());
    return st;
}

CRefArray SceneItem::GetProperties() const {
    CRefArray out;
    if (auto* s = NodeOf<SceneItemNode>(m_ref)) {
        if (auto* x = dynamic_cast<X3DNode*>(s); x && x->kine) out.Add(XSI::Host::RefOf(x->kine.get()));
        for (const auto& p : s->properties) out.Add(XSI::Host::RefOf(p.get()));
    }
    return out;
}

CRefArray SceneItem::GetLocalProperties() const { return GetProperties(); }

CStatus SceneItem::GetPropertyFromName(const CString& name, Property& out) const {
    CRefArray props = GetProperties();
    for (LONG i = 0; i < props.GetCount(); ++i)
        if (W(SIObject(props[i]).GetName()) == W(name)) {
            out = Property(props[i]);
            return CStatus::OK;
        }
    return CStatus::Fail;
}

// ---- X3DObject, Model, Null

XSI_WRAPPER(X3DObject, siX3DObjectID)
XSI_WRAPPER(Model, siModelID)
XSI_WRAPPER(Null, siNullID)

Primitive X3DObject::GetActivePrimitive() const {
    auto* x = NodeOf<X3DNode>(m_ref);
    return x && x->primitive ? Primitive(XSI::Host::RefOf(x->primitive.get())) : Primitive();
}

Primitive X3DObject::GetActivePrimitive(double) const { return GetActivePrimitive(); }

Kinematics X3DObject::GetKinematics() const {
    auto* x = NodeOf<X3DNode>(m_ref);
    return x && x->kine ? Kinematics(XSI::Host::RefOf(x->kine.get())) : Kinematics();
}

CRefArray X3DObject::GetChildren() const {
    CRefArray out;
    if (auto* x = NodeOf<X3DNode>(m_ref))
        for (const auto& c : x->children) out.Add(XSI::Host::RefOf(c.get()));
    return out;
}

CRefArray X3DObject::GetPrimitives() const {
    CRefArray out;
    Primitive p = GetActivePrimitive();
    if (p.IsValid()) out.Add(p.GetRef());
    return out;
}

CRefArray X3DObject::GetModels(bool recursive) const {
    CRefArray out;
    std::function<void(X3DNode*)> walk = [&](X3DNode* x) {
        for (const auto& c : x->children) {
            if (c->cls == siModelID) out.Add(XSI::Host::RefOf(c.get()));
            if (recursive) walk(c.get());
        }
    };
    if (auto* x = NodeOf<X3DNode>(m_ref)) walk(x);
    return out;
}

CRefArray X3DObject::FindChildren(const CString& name, const CString& type, const CStringArray&, bool recursive) const {
    CRefArray out;
    std::function<void(X3DNode*)> walk = [&](X3DNode* x) {
        for (const auto& c : x->children) {
            bool nameOk = name.IsEmpty() || W(name) == c->name;
            bool typeOk = type.IsEmpty() || W(type) == c->TypeName();
            if (nameOk && typeOk) out.Add(XSI::Host::RefOf(c.get()));
            if (recursive) walk(c.get());
        }
    };
    if (auto* x = NodeOf<X3DNode>(m_ref)) walk(x);
    return out;
}

X3DObject X3DObject::FindChild(const CString& name, const CString& type, const CStringArray& families,
                               bool recursive) const {
    CRefArray all = FindChildren(name, type, families, recursive);
    return all.GetCount() ? X3DObject(all[0]) : X3DObject();
}

// ---- Kinematics

XSI_WRAPPER(Kinematics, siKinematicsID)
XSI_WRAPPER(KinematicState, siKinematicStateID)

KinematicState Kinematics::GetGlobal() const {
    auto* k = NodeOf<KinematicsNode>(m_ref);
    return k ? KinematicState(XSI::Host::RefOf(k->globalState.get())) : KinematicState();
}

KinematicState Kinematics::GetLocal() const {
    auto* k = NodeOf<KinematicsNode>(m_ref);
    return k ? KinematicState(XSI::Host::RefOf(k->localState.get())) : KinematicState();
}

MATH::CTransformation KinematicState::GetTransform(double frame) const {
    MATH::CTransformation t;
    t.SetIdentity();
    auto* s = NodeOf<KinematicStateNode>(m_ref);
    X3DNode* x = s ? s->Owner() : nullptr;
    if (!x) return t;
    double f = frame == DBL_MAX ? standin::Host::Current().Frame() : frame;
    return s->global ? x->GlobalAt(f) : x->LocalAt(f);
}

CStatus KinematicState::PutTransform(const MATH::CTransformation& t, double frame) {
    auto* s = NodeOf<KinematicStateNode>(m_ref);
    X3DNode* x = s ? s->Owner() : nullptr;
    if (!x) return CStatus::InvalidArgument;
    MATH::CTransformation local = t;
    if (s->global) {
        // The local transform that gives this global one under the parent.
        if (auto* p = dynamic_cast<X3DNode*>(x->parent)) {
            MATH::CTransformation parentInverse;
            parentInverse.Invert(p->GlobalAt(frame == DBL_MAX ? standin::Host::Current().Frame() : frame));
            local.Mul(t, parentInverse);
        }
    }
    XSI::Host::Touch(x);
    if (frame == DBL_MAX) {
        x->local = local;
        x->localKeys.clear();
    } else {
        x->localKeys[frame] = local;
    }
    return CStatus::OK;
}

// ---- Property, CustomProperty, UserDataBlob

XSI_WRAPPER(Property, siPropertyID)
XSI_WRAPPER(CustomProperty, siCustomPropertyID)
XSI_WRAPPER(UserDataBlob, siUserDataBlobID)

bool Property::GetSingleton() const { return false; }
bool Property::GetBranch() const { return false; }

CStatus CustomProperty::AddParameter(const CString& scriptName, CValue::DataType type, INT caps, const CString& name,
                                     const CString& description, const CValue& def, const CValue& min,
                                     const CValue& max, const CValue& softMin, const CValue& softMax,
                                     Parameter& io_param) {
    auto* cp = NodeOf<CustomPropertyNode>(m_ref);
    if (!cp) return CStatus::InvalidArgument;
    if (scriptName.IsEmpty() || cp->FindParam(W(scriptName))) {
        standin::Host::Current().HostError(L"AddParameter: " + cp->FullName() + L" already has a parameter named " +
                                           W(scriptName));
        return CStatus::InvalidArgument;
    }
    ParameterNode* p = cp->AddParam(W(scriptName));
    p->type = type;
    p->caps = caps;
    p->label = W(name);
    p->description = W(description);
    p->min = min;
    p->max = max;
    p->softMin = softMin.IsEmpty() ? min : softMin;
    p->softMax = softMax.IsEmpty() ? max : softMax;
    p->def = def;
    if (!def.IsEmpty()) p->def.ChangeType(type);
    else if (type == CValue::siString) p->def = CValue(CString());
    else if (type == CValue::siBool) p->def = CValue(false);
    else { p->def = CValue(0.0); p->def.ChangeType(type); }
    p->value = p->def;
    io_param = Parameter(XSI::Host::RefOf(p));
    return CStatus::OK;
}

CStatus CustomProperty::AddParameter(const CString& scriptName, CValue::DataType type, siParamClassification,
                                     INT caps, const CString& name, const CString& description, const CValue& def,
                                     const CValue& min, const CValue& max, const CValue& softMin,
                                     const CValue& softMax, Parameter& io_param) {
    return AddParameter(scriptName, type, caps, name, description, def, min, max, softMin, softMax, io_param);
}

CStatus CustomProperty::AddParameter(const CString& scriptName, CValue::DataType type, INT caps, const CString& name,
                                     const CString& description, const CValue& def, Parameter& io_param) {
    return AddParameter(scriptName, type, caps, name, description, def, CValue(), CValue(), CValue(), CValue(),
                        io_param);
}

Parameter CustomProperty::AddFCurveParameter(const CString& scriptName) {
    auto* cp = NodeOf<CustomPropertyNode>(m_ref);
    if (!cp || cp->FindParam(W(scriptName))) return Parameter();
    ParameterNode* p = cp->AddParam(W(scriptName));
    p->isFCurveParameter = true;
    p->caps = siPersistable;
    p->curve = Make<FCurveNode>();
    p->curve->name = L"FCurve";
    p->curve->parent = p;
    p->value = CValue(XSI::Host::RefOf(p->curve.get()));
    return Parameter(XSI::Host::RefOf(p));
}

CStatus CustomProperty::RemoveParameter(const Parameter& param) {
    auto* cp = NodeOf<CustomPropertyNode>(m_ref);
    auto* p = NodeOf<ParameterNode>(param.GetRef());
    if (!cp || !p || p->parent != cp) return CStatus::InvalidArgument;
    standin::Host::Current().Delete(param.GetRef());
    return CStatus::OK;
}

CStatus CustomProperty::GetBinaryData(unsigned char*&, UINT&) const { return NotAvailable("CustomProperty::GetBinaryData"); }
CStatus CustomProperty::PutBinaryData(const unsigned char*, UINT) { return NotAvailable("CustomProperty::PutBinaryData"); }

CStatus UserDataBlob::GetValue(const unsigned char*& out_buffer, unsigned int& out_size) const {
    auto* b = NodeOf<UserDataBlobNode>(m_ref);
    if (!b) return CStatus::InvalidArgument;
    out_buffer = b->bytes.empty() ? nullptr : b->bytes.data();
    out_size = static_cast<unsigned int>(b->bytes.size());
    return CStatus::OK;
}

CStatus UserDataBlob::PutValue(const unsigned char* buffer, unsigned int size) {
    auto* b = NodeOf<UserDataBlobNode>(m_ref);
    if (!b) return CStatus::InvalidArgument;
    b->bytes.assign(buffer, buffer + (buffer ? size : 0));
    XSI::Host::Touch(b);  // operators reading the blob see the new bytes
    return CStatus::OK;
}

bool UserDataBlob::IsEmpty() const { return Size() == 0; }
void UserDataBlob::Clear() { PutValue(nullptr, 0); }
unsigned int UserDataBlob::Size() const {
    auto* b = NodeOf<UserDataBlobNode>(m_ref);
    return b ? static_cast<unsigned int>(b->bytes.size()) : 0;
}

// ---- Parameter

XSI_WRAPPER(Parameter, siParameterID)

CValue Parameter::GetValue(double time) const {
    auto* p = NodeOf<ParameterNode>(m_ref);
    if (!p) return CValue();
    if (auto* ks = dynamic_cast<KinematicStateNode*>(p)) {
        (void)ks;
        return CValue(m_ref);
    }
    if (p->isFCurveParameter) return CValue(XSI::Host::RefOf(p->curve.get()));
    return p->ValueAt(time == DBL_MAX ? standin::Host::Current().Frame() : time);
}

CStatus Parameter::PutValue(const CValue& value, double) {
    auto* p = NodeOf<ParameterNode>(m_ref);
    if (!p) return CStatus::InvalidArgument;
    if ((p->caps & siReadOnly) != 0) return CStatus::AccessDenied;
    return p->Assign(value) ? CStatus::OK : CStatus::InvalidArgument;
}

CValue Parameter::GetDefault() const { auto* p = NodeOf<ParameterNode>(m_ref); return p ? p->def : CValue(); }
CValue Parameter::GetMin() const { auto* p = NodeOf<ParameterNode>(m_ref); return p ? p->min : CValue(); }
CValue Parameter::GetMax() const { auto* p = NodeOf<ParameterNode>(m_ref); return p ? p->max : CValue(); }
CValue Parameter::GetSuggestedMin() const { auto* p = NodeOf<ParameterNode>(m_ref); return p ? p->softMin : CValue(); }
CValue Parameter::GetSuggestedMax() const { auto* p = NodeOf<ParameterNode>(m_ref); return p ? p->softMax : CValue(); }
CString Parameter::GetScriptName() const { auto* p = NodeOf<ParameterNode>(m_ref); return p ? S(p->name) : CString(); }
CString Parameter::GetDescription() const { auto* p = NodeOf<ParameterNode>(m_ref); return p ? S(p->description) : CString(); }
CValue::DataType Parameter::GetValueType() const { auto* p = NodeOf<ParameterNode>(m_ref); return p ? p->type : CValue::siEmpty; }
LONG Parameter::GetCapabilities() const { auto* p = NodeOf<ParameterNode>(m_ref); return p ? p->caps : 0; }

CStatus Parameter::PutCapabilityFlag(siCapabilities flag, bool value) {
    auto* p = NodeOf<ParameterNode>(m_ref);
    if (!p) return CStatus::InvalidArgument;
    p->caps = value ? (p->caps | flag) : (p->caps & ~static_cast<LONG>(flag));
    return CStatus::OK;
}

CStatus Parameter::AddFCurve(siFCurveType, FCurve& io_fcurve) {
    auto* p = NodeOf<ParameterNode>(m_ref);
    if (!p || p->isFCurveParameter) return CStatus::InvalidArgument;
    p->curve = Make<FCurveNode>();
    p->curve->name = L"FCurve";
    p->curve->parent = p;
    io_fcurve = FCurve(XSI::Host::RefOf(p->curve.get()));
    return CStatus::OK;
}

CRef Parameter::GetSource() const {
    auto* p = NodeOf<ParameterNode>(m_ref);
    return p && p->curve && !p->isFCurveParameter ? XSI::Host::RefOf(p->curve.get()) : CRef();
}

bool Parameter::IsAnimated() const { return GetSource().IsValid(); }
Parameter Parameter::GetParameter(const CString&) const { return Parameter(); }
CParameterRefArray Parameter::GetParameters() const { return CParameterRefArray(); }
CValue Parameter::GetParameterValue(const CString&, double) const { return CValue(); }
CStatus Parameter::PutParameterValue(const CString&, const CValue&, double) { return CStatus::InvalidArgument; }
Model Parameter::GetModel() const { return ProjectItem(GetParent()).GetModel(); }
X3DObject Parameter::GetParent3DObject() const { return ProjectItem(GetParent()).GetParent3DObject(); }

CRef CParameterRefArray::GetItem(const CString& scriptName) const {
    for (LONG i = 0; i < GetCount(); ++i) {
        Parameter p((*this)[i]);
        if (p.GetScriptName() == scriptName) return p.GetRef();
    }
    return CRef();
}

CValue CParameterRefArray::GetValue(const CString& scriptName, double time) const {
    return Parameter(GetItem(scriptName)).GetValue(time);
}

CStatus CParameterRefArray::PutValue(const CString& scriptName, const CValue& value, double time) {
    Parameter p(GetItem(scriptName));
    return p.IsValid() ? p.PutValue(value, time) : CStatus::InvalidArgument;
}

// ---- FCurve

XSI_WRAPPER(FCurve, siFCurveID)

namespace {
// The curve behind a reference; asking for it to change marks the curve, its parameter and
// the parameter's owner as changed.
standin::FCurve* CurveOf(const CRef& ref, bool changing = false) {
    // Evaluated per candidate by some tools: a class check instead of a dynamic cast.
    XSI::Host::Object* o = ref.GetHostObject();
    if (!o || !o->alive || ref.GetComponentClass() != 0 || o->ClassID() != siFCurveID) return nullptr;
    auto* n = static_cast<FCurveNode*>(o);
    if (changing) {
        XSI::Host::Touch(n);
        if (n->parent) {
            XSI::Host::Touch(n->parent);
            XSI::Host::Touch(n->parent->parent);
        }
    }
    return &n->curve;
}
}  // namespace

CValue FCurve::Eval(const CTime& frame) const { return Eval(frame.GetTime()); }

CValue FCurve::Eval(const double& frame) const {
    standin::FCurve* c = CurveOf(m_ref);
    return c ? CValue(c->Eval(frame)) : CValue();
}

LONG FCurve::RemoveKeys(const CTime& start, const CTime& end, bool) {
    standin::FCurve* c = CurveOf(m_ref, true);
    if (!c) return 0;
    return static_cast<LONG>(c->RemoveKeys(start.GetTime(), end.GetTime()));
}

CStatus FCurve::BeginEdit() {
    standin::FCurve* c = CurveOf(m_ref);
    if (!c) return CStatus::InvalidArgument;
    c->BeginEdit();
    return CStatus::OK;
}

CStatus FCurve::EndEdit() {
    standin::FCurve* c = CurveOf(m_ref, true);
    if (!c) return CStatus::InvalidArgument;
    c->EndEdit();
    return CStatus::OK;
}

CStatus FCurve::UndoEdit() { return NotAvailable("FCurve::UndoEdit"); }
bool FCurve::IsEditing() const { standin::FCurve* c = CurveOf(m_ref); return c && c->IsEditing(); }

LONG FCurve::AddKey(const CTime& frame, const CValue& value, siFCurveKeyInterpolation interpolation, double ltx,
                    double lty, double rtx, double rty, double, bool) {
    standin::FCurve* c = CurveOf(m_ref, true);
    if (!c) return -1;
    return static_cast<LONG>(c->AddKey(frame.GetTime(), static_cast<double>(value), static_cast<int>(interpolation),
                                       ltx, lty, rtx, rty));
}

CStatus FCurve::PutInterpolation(siFCurveInterpolation interpolation) {
    standin::FCurve* c = CurveOf(m_ref, true);
    if (!c) return CStatus::InvalidArgument;
    c->SetInterpolation(static_cast<int>(interpolation));
    return CStatus::OK;
}

siFCurveInterpolation FCurve::GetInterpolation() const {
    standin::FCurve* c = CurveOf(m_ref);
    return c ? static_cast<siFCurveInterpolation>(c->GetInterpolation()) : siDefaultInterpolation;
}

CStatus FCurve::PutExtrapolation(siFCurveExtrapolation extrapolation) {
    standin::FCurve* c = CurveOf(m_ref, true);
    if (!c) return CStatus::InvalidArgument;
    c->SetExtrapolation(static_cast<int>(extrapolation));
    return CStatus::OK;
}

siFCurveExtrapolation FCurve::GetExtrapolation() const {
    standin::FCurve* c = CurveOf(m_ref);
    return c ? static_cast<siFCurveExtrapolation>(c->GetExtrapolation()) : siConstantExtrapolation;
}

LONG FCurve::GetNumKeys() const { standin::FCurve* c = CurveOf(m_ref); return c ? static_cast<LONG>(c->NumKeys()) : 0; }

CTime FCurve::GetKeyTime(LONG index) const {
    standin::FCurve* c = CurveOf(m_ref);
    if (!c || index < 0 || static_cast<size_t>(index) >= c->NumKeys()) return CTime();
    return CTime(c->key(static_cast<size_t>(index)).time);
}

CValue FCurve::GetKeyValue(LONG index) const {
    standin::FCurve* c = CurveOf(m_ref);
    if (!c || index < 0 || static_cast<size_t>(index) >= c->NumKeys()) return CValue();
    return CValue(c->key(static_cast<size_t>(index)).value);
}

siFCurveType FCurve::GetFCurveType() const { return siStandardFCurve; }

FCurveKey FCurve::GetKeyAtIndex(LONG index) const {
    standin::FCurve* c = CurveOf(m_ref);
    if (!c || index < 0 || static_cast<size_t>(index) >= c->NumKeys()) return FCurveKey();
    return FCurveKey(CRef::FromHost(m_ref.GetHostObject(), siFCurveKeyID, index));
}

// ---- FCurveKey: a component reference (the curve, the key's index)

XSI_WRAPPER(FCurveKey, siFCurveKeyID)

namespace {
// The key behind a reference; null once the key or its curve is gone.
const standin::FCurveKey* KeyOf(const CRef& ref) {
    if (!ref.IsValid() || ref.GetComponentClass() != siFCurveKeyID) return nullptr;
    auto* n = static_cast<FCurveNode*>(ref.GetHostObject());
    return &n->curve.key(static_cast<size_t>(ref.GetComponentIndex()));
}
}  // namespace

CTime FCurveKey::GetTime() const { auto* k = KeyOf(m_ref); return k ? CTime(k->time) : CTime(); }
CValue FCurveKey::GetValue() const { auto* k = KeyOf(m_ref); return k ? CValue(k->value) : CValue(); }
siFCurveKeyInterpolation FCurveKey::GetInterpolation() const {
    auto* k = KeyOf(m_ref);
    return k ? static_cast<siFCurveKeyInterpolation>(k->interpolation) : siDefaultKeyInterpolation;
}
double FCurveKey::GetLeftTanX() const { auto* k = KeyOf(m_ref); return k ? k->leftX : 0.0; }
double FCurveKey::GetLeftTanY() const { auto* k = KeyOf(m_ref); return k ? k->leftY : 0.0; }
double FCurveKey::GetRightTanX() const { auto* k = KeyOf(m_ref); return k ? k->rightX : 0.0; }
double FCurveKey::GetRightTanY() const { auto* k = KeyOf(m_ref); return k ? k->rightY : 0.0; }

}  // namespace XSI
