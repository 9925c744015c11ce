#include "ui/layout.h"

#include <algorithm>
#include <charconv>
#include <cwctype>

namespace standin {

namespace {

bool SameName(std::wstring_view a, std::wstring_view b) {
    return std::ranges::equal(a, b, [](wchar_t x, wchar_t y) { return std::towlower(x) == std::towlower(y); });
}

std::wstring Quote(std::wstring_view s) {
    std::wstring out = L"\"";
    for (wchar_t c : s) {
        switch (c) {
        case L'"': out += L"\\\""; break;
        case L'\\': out += L"\\\\"; break;
        case L'\n': out += L"\\n"; break;
        case L'\t': out += L"\\t"; break;
        default: out += c;
        }
    }
    return out + L"\"";
}

std::wstring Where(const LayoutItem& item, std::size_t index) {
    std::wstring what = item.kind == LayoutItem::Kind::Group ? L"group " + Quote(item.label) : L"row";
    return what + L" (item " + std::to_wstring(index) + L")";
}

}  // namespace

void SetAttr(AttrList& list, std::wstring_view name, AttrValue value) {
    for (auto& [n, v] : list) {
        if (SameName(n, name)) {
            v = std::move(value);
            return;
        }
    }
    list.emplace_back(std::wstring(name), std::move(value));
}

AttrValue GetAttr(const AttrList& list, std::wstring_view name) {
    for (const auto& [n, v] : list)
        if (SameName(n, name)) return v;
    return {};
}

const wchar_t* KindName(LayoutItem::Kind kind) {
    using K = LayoutItem::Kind;
    switch (kind) {
    case K::Tab: return L"Tab";
    case K::Group: return L"Group";
    case K::EndGroup: return L"EndGroup";
    case K::Row: return L"Row";
    case K::EndRow: return L"EndRow";
    case K::Item: return L"Item";
    case K::Button: return L"Button";
    case K::EnumControl: return L"EnumControl";
    case K::String: return L"String";
    case K::FCurve: return L"FCurve";
    case K::StaticText: return L"StaticText";
    case K::Spacer: return L"Spacer";
    }
    return L"?";
}

std::wstring FormatAttrValue(const AttrValue& value) {
    struct Visitor {
        std::wstring operator()(std::monostate) const { return L"empty"; }
        std::wstring operator()(bool b) const { return b ? L"true" : L"false"; }
        std::wstring operator()(int64_t i) const { return std::to_wstring(i); }
        std::wstring operator()(double d) const {
            char buf[64];
            const auto end = std::to_chars(buf, buf + sizeof buf, d).ptr;  // shortest round trip
            std::wstring s(buf, end);
            if (s.find_first_of(L".eni") == std::wstring::npos) s += L".0";  // not "inf"/"nan"
            return s;
        }
        std::wstring operator()(const std::wstring& s) const { return Quote(s); }
    };
    return std::visit(Visitor{}, value);
}

std::size_t Layout::Push(LayoutItem::Kind kind, std::wstring name, std::wstring label, std::wstring controlType) {
    LayoutItem& item = items_.emplace_back();
    item.kind = kind;
    item.name = std::move(name);
    item.label = std::move(label);
    item.controlType = std::move(controlType);
    return items_.size() - 1;
}

std::size_t Layout::AddTab(std::wstring label) { return Push(LayoutItem::Kind::Tab, {}, std::move(label)); }

std::size_t Layout::AddGroup(std::wstring label, bool showFrame, int64_t widthPercentage) {
    const std::size_t i = Push(LayoutItem::Kind::Group, {}, std::move(label));
    items_[i].showFrame = showFrame;
    items_[i].widthPercentage = widthPercentage;
    return i;
}

std::size_t Layout::EndGroup() { return Push(LayoutItem::Kind::EndGroup); }
std::size_t Layout::AddRow() { return Push(LayoutItem::Kind::Row); }
std::size_t Layout::EndRow() { return Push(LayoutItem::Kind::EndRow); }

std::size_t Layout::AddItem(std::wstring name, std::wstring label, std::wstring controlType) {
    return Push(LayoutItem::Kind::Item, std::move(name), std::move(label), std::move(controlType));
}

// Control types of the special adders are the host's siPPGControlType strings.
std::size_t Layout::AddButton(std::wstring name, std::wstring label) {
    return Push(LayoutItem::Kind::Button, std::move(name), std::move(label), L"commandbutton");
}

std::size_t Layout::AddEnumControl(std::wstring name, AttrList items, std::wstring label, std::wstring controlType) {
    const std::size_t i = Push(LayoutItem::Kind::EnumControl, std::move(name), std::move(label), std::move(controlType));
    items_[i].uiItems = std::move(items);
    return i;
}

std::size_t Layout::AddString(std::wstring name, std::wstring label, bool multiline, int64_t height) {
    const std::size_t i = Push(LayoutItem::Kind::String, std::move(name), std::move(label), L"String");
    items_[i].multiline = multiline;
    items_[i].height = height;
    return i;
}

std::size_t Layout::AddFCurve(std::wstring name, int64_t height) {
    const std::size_t i = Push(LayoutItem::Kind::FCurve, std::move(name), {}, L"FCurveWidget");
    items_[i].height = height;
    return i;
}

std::size_t Layout::AddStaticText(std::wstring text, int64_t width, int64_t height) {
    const std::size_t i = Push(LayoutItem::Kind::StaticText, {}, std::move(text), L"Static");
    items_[i].width = width;
    items_[i].height = height;
    return i;
}

std::size_t Layout::AddSpacer(int64_t width, int64_t height) {
    const std::size_t i = Push(LayoutItem::Kind::Spacer);
    items_[i].width = width;
    items_[i].height = height;
    return i;
}

std::size_t Layout::FindItem(std::wstring_view name) const {
    for (std::size_t i = 0; i < items_.size(); ++i)
        if (!items_[i].name.empty() && items_[i].name == name) return i;
    return npos;
}

std::wstring Layout::Describe() const {
    using K = LayoutItem::Kind;
    std::wstring out;
    auto line = [&](int depth, const std::wstring& text) { out += std::wstring(2 * depth, L' ') + text + L'\n'; };
    auto attrLines = [&](int depth, const AttrList& attrs) {
        for (const auto& [n, v] : attrs) line(depth, L"@" + n + L" = " + FormatAttrValue(v));
    };

    attrLines(0, attributes_);
    int base = 0, depth = 0;  // base: 1 inside a tab, so stray ends cannot leave it
    for (const LayoutItem& it : items_) {
        if (it.kind == K::Tab) depth = base = 0;
        if (it.kind == K::EndGroup || it.kind == K::EndRow) depth = std::max(depth - 1, base);

        std::wstring text = KindName(it.kind);
        if (!it.name.empty()) text += L" " + it.name;
        if (!it.label.empty()) text += L" " + Quote(it.label);
        if (!it.controlType.empty()) text += L" [" + it.controlType + L"]";
        switch (it.kind) {
        case K::Group:
            if (!it.showFrame) text += L" noframe";
            if (it.widthPercentage) text += L" width=" + std::to_wstring(it.widthPercentage) + L"%";
            break;
        case K::EnumControl: {
            text += L" {";
            for (std::size_t i = 0; i < it.uiItems.size(); ++i)
                text += (i ? L", " : L"") + Quote(it.uiItems[i].first) + L"=" + FormatAttrValue(it.uiItems[i].second);
            text += L"}";
            break;
        }
        case K::String:
            if (it.multiline) text += L" multiline";
            text += L" height=" + std::to_wstring(it.height);
            break;
        case K::FCurve: text += L" height=" + std::to_wstring(it.height); break;
        case K::StaticText:
        case K::Spacer:
            if (it.width || it.height || it.kind == K::Spacer)
                text += L" width=" + std::to_wstring(it.width) + L" height=" + std::to_wstring(it.height);
            break;
        default: break;
        }
        line(depth, text);
        attrLines(depth + 1, it.attributes);

        if (it.kind == K::Tab) depth = base = 1;
        if (it.kind == K::Group || it.kind == K::Row) ++depth;
    }
    return out;
}

std::wstring Layout::Validate() const {
    using K = LayoutItem::Kind;
    std::vector<std::size_t> open;  // indices of the groups and rows not yet closed
    for (std::size_t i = 0; i < items_.size(); ++i) {
        const K kind = items_[i].kind;
        const std::wstring at = std::wstring(KindName(kind)) + L" (item " + std::to_wstring(i) + L")";
        if (kind == K::Group || kind == K::Row) {
            open.push_back(i);
        } else if (kind == K::Tab && !open.empty()) {
            return at + L": " + Where(items_[open.back()], open.back()) + L" is not closed";
        } else if (kind == K::EndGroup || kind == K::EndRow) {
            const K opener = kind == K::EndGroup ? K::Group : K::Row;
            if (open.empty()) return at + L" closes nothing";
            if (items_[open.back()].kind != opener)
                return at + L": " + Where(items_[open.back()], open.back()) + L" is not closed";
            open.pop_back();
        }
    }
    if (!open.empty()) return Where(items_[open.back()], open.back()) + L" is not closed";
    return {};
}

}  // namespace standin
