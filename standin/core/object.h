// The host-side base of every object that a CRef can name.
//
// Objects are reference counted (intrusively, single-threaded: the host runs
// every callback on one thread). The scene tree owns its nodes through Ptr;
// references held by the plug-in keep an object's memory alive after it is
// deleted from the scene, but then it reports alive == false and every CRef
// to it is invalid.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "xsi_decl.h"
#include "xsi_ref.h"
#include "xsi_status.h"

namespace XSI {
class CValue;
class CValueArray;
}  // namespace XSI

namespace XSI::Host {

struct Object {
    Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object() = default;

    int refCount = 0;
    bool alive = true;
    // When this object last changed in a way an operator reading it would see (a stamp of
    // the host's change counter): evaluation compares stamps, never values.
    uint64_t changed = 0;
    std::wstring name;
    Object* parent = nullptr;  // not owning: parents own their children

    virtual siClassID ClassID() const = 0;
    // SIObject::GetType.
    virtual std::wstring TypeName() const { return std::wstring(); }
    // Full name as the host forms it: the parent's full name, ".", then PathSegment();
    // objects directly under the scene root have no prefix.
    virtual std::wstring FullName() const;
    virtual std::wstring PathSegment() const { return name; }
    // The object that SIObject::GetParent returns.
    virtual Object* LogicalParent() const { return parent; }
    // Children reachable by path, in a stable order (used for lookup by full name).
    virtual void Children(std::vector<Object*>& out) const { (void)out; }
    // Geometry components: whether element `index` of component class `cls` exists.
    virtual bool ComponentExists(LONG cls, LLONG index) const { (void)cls; (void)index; return false; }
    virtual std::wstring ComponentText(LONG cls, LLONG index) const;
    // Automation bridge: property get / method call by name.
    virtual CStatus Invoke(const std::wstring& member, LONG flags, const CValueArray& args, CValue& ret);
    // Marks this object and everything below it deleted.
    virtual void MarkDeleted();
};

void AddRef(Object* obj);
void Release(Object* obj);

// The host's change counter: every call gives a larger stamp.
uint64_t NextStamp();
inline void Touch(Object* obj) {
    if (obj) obj->changed = NextStamp();
}

// Intrusive owning pointer.
template <class T>
class Ptr {
public:
    Ptr() = default;
    Ptr(T* p) : m_p(p) { if (m_p) AddRef(m_p); }
    Ptr(const Ptr& o) : m_p(o.m_p) { if (m_p) AddRef(m_p); }
    Ptr(Ptr&& o) noexcept : m_p(std::exchange(o.m_p, nullptr)) {}
    template <class U>
    Ptr(const Ptr<U>& o) : m_p(o.get()) { if (m_p) AddRef(m_p); }
    ~Ptr() { if (m_p) Release(m_p); }
    Ptr& operator=(Ptr o) noexcept { std::swap(m_p, o.m_p); return *this; }
    T* get() const { return m_p; }
    T* operator->() const { return m_p; }
    T& operator*() const { return *m_p; }
    explicit operator bool() const { return m_p != nullptr; }
    bool operator==(const Ptr& o) const { return m_p == o.m_p; }

private:
    T* m_p = nullptr;
};

template <class T, class... Args>
Ptr<T> Make(Args&&... args) {
    return Ptr<T>(new T(std::forward<Args>(args)...));
}

// Class hierarchy of the host's object model: whether `cls` is `target` or derives from it.
bool ClassIsA(siClassID cls, siClassID target);
const wchar_t* ClassName(siClassID cls);

// The object behind a reference when it is alive and of (or derived from) class T's id;
// component references never convert.
template <class T>
T* As(const CRef& ref) {
    Object* o = ref.GetHostObject();
    if (!o || !o->alive || ref.GetComponentClass() != 0) return nullptr;
    return dynamic_cast<T*>(o);
}

inline CRef RefOf(Object* obj) { return CRef::FromHost(obj); }

}  // namespace XSI::Host
