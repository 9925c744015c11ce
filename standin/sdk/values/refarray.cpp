// CRefArray, except Set (which resolves names and needs the scene).
#include <algorithm>

#include "core/object.h"
#include "core/text.h"
#include "xsi_ref.h"
#include "xsi_string.h"

namespace XSI {

namespace {
// The object's own name: the last dot-separated segment of its path.
CString LastSegment(const CString& path) {
    const ULONG dot = path.ReverseFindString(L".");
    return dot == UINT_MAX ? path : path.GetSubString(dot + 1);
}

bool NameMatches(const CRef& item, const CString& name) {
    const CString text = item.GetAsText();
    return text == name || LastSegment(text) == name;
}

// `type` names the item's class ("X3DObject") or its type ("polymsh"), any case; empty matches all.
bool TypeMatches(const CRef& item, const CString& type) {
    if (type.IsEmpty()) return true;
    if (item.GetClassIDName().IsEqualNoCase(type)) return true;
    Host::Object* obj = item.GetHostObject();
    return obj && item.GetComponentClass() == 0 && type.IsEqualNoCase(obj->TypeName().c_str());
}

// Wildcards '*' (any run) and '?' (one character), case-insensitive, over the name or path.
bool Glob(const wchar_t* pattern, const wchar_t* text) {
    if (*pattern == L'\0') return *text == L'\0';
    if (*pattern == L'*') return Glob(pattern + 1, text) || (*text && Glob(pattern, text + 1));
    if (*text == L'\0') return false;
    const bool same = *pattern == L'?' || Host::ToLower(*pattern) == Host::ToLower(*text);
    return same && Glob(pattern + 1, text + 1);
}
}  // namespace

CRefArray::CRefArray(LONG size) : m_items(size > 0 ? static_cast<size_t>(size) : 0) {}

CRefArray::~CRefArray() = default;

CRefArray CRefArray::Run(const CRef& owner, LONG componentClass, LONG count) {
    CRefArray out;
    if (count <= 0 || !owner.IsValid()) return out;
    out.m_runOwner = owner;
    out.m_runClass = componentClass;
    out.m_runCount = count;
    return out;
}

bool CRefArray::GetRun(CRef& owner, LONG& componentClass, LONG& count) const {
    if (!m_runCount) return false;
    owner = m_runOwner;
    componentClass = m_runClass;
    count = m_runCount;
    return true;
}

void CRefArray::ExpandRun() const {
    const LONG n = m_runCount;
    m_runCount = 0;
    m_items.clear();
    m_items.reserve(static_cast<size_t>(n));
    for (LONG i = 0; i < n; ++i) m_items.push_back(CRef::FromHost(m_runOwner.GetHostObject(), m_runClass, i));
}

CRefArray& CRefArray::operator+=(const CRefArray& other) {
    Expand();
    other.Expand();
    const size_t n = other.m_items.size();  // other may be this array
    m_items.reserve(m_items.size() + n);
    for (size_t i = 0; i < n; ++i) m_items.push_back(other.m_items[i]);
    return *this;
}

CRef CRefArray::GetItem(LONG i) const { return i >= 0 && i < GetCount() ? (*this)[i] : CRef(); }

CRef CRefArray::GetItem(const CString& name) const {
    Expand();
    for (const CRef& item : m_items)
        if (NameMatches(item, name)) return item;
    return CRef();
}

void CRefArray::Add(const CRef& item) {
    Expand();
    m_items.push_back(item);
}

// The class shared by every item; siUnknownClassID when empty or mixed.
siClassID CRefArray::GetClassID() const {
    Expand();
    if (m_items.empty()) return siUnknownClassID;
    const siClassID id = m_items.front().GetClassID();
    for (const CRef& item : m_items)
        if (item.GetClassID() != id) return siUnknownClassID;
    return id;
}

// Whether every item is of (or derives from) the class; false when empty.
bool CRefArray::IsA(siClassID id) const {
    Expand();
    return !m_items.empty() && std::all_of(m_items.begin(), m_items.end(), [id](const CRef& r) { return r.IsA(id); });
}

CString CRefArray::GetClassIDName() const {
    const siClassID id = GetClassID();
    return id == siUnknownClassID ? CString(L"CRefArray") : CString(Host::ClassName(id));
}

// Families cannot be checked without the scene's family tables and are ignored.
CStatus CRefArray::Filter(const CString& type, const CStringArray& families, const CString& name, CRefArray& io) const {
    Expand();
    (void)families;
    CRefArray found;
    for (const CRef& item : m_items) {
        if (!TypeMatches(item, type)) continue;
        const CString text = item.GetAsText();
        if (name.IsEmpty() || Glob(name.GetWideString(), LastSegment(text).GetWideString()) ||
            Glob(name.GetWideString(), text.GetWideString()))
            found.Add(item);
    }
    io = found;
    return CStatus::OK;
}

CStatus CRefArray::Find(const CString& type, CRef& io) const {
    Expand();
    for (const CRef& item : m_items)
        if (TypeMatches(item, type)) {
            io = item;
            return CStatus::OK;
        }
    io = CRef();
    return CStatus::False;
}

// The index the item had, or -1 when it is absent; only the first occurrence is removed.
LONG CRefArray::Remove(const CRef& item) {
    Expand();
    const auto it = std::find(m_items.begin(), m_items.end(), item);
    if (it == m_items.end()) return -1;
    const LONG index = static_cast<LONG>(it - m_items.begin());
    m_items.erase(it);
    return index;
}

CString CRefArray::GetAsText() const {
    Expand();
    CString text;
    for (size_t i = 0; i < m_items.size(); ++i) {
        if (i) text += L',';
        text += m_items[i].GetAsText();
    }
    return text;
}

CStatus CRefArray::Resize(LONG n) {
    if (n < 0) return CStatus::InvalidArgument;
    Expand();
    m_items.resize(static_cast<size_t>(n));
    return CStatus::OK;
}

}  // namespace XSI
