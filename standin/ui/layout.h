// A property page layout kept as data: the state behind the host's PPGLayout and PPGItem.
//
// Nothing is drawn; Describe() renders the page as text so scripts and tests can look at it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace standin {

using AttrValue = std::variant<std::monostate, bool, int64_t, double, std::wstring>;
using AttrList = std::vector<std::pair<std::wstring, AttrValue>>;

// Set-or-replace and lookup on an attribute list. Names match case-insensitively, as the
// host's own attribute constants mix cases ("label", "NoLabel"); insertion order is kept.
void SetAttr(AttrList& list, std::wstring_view name, AttrValue value);
AttrValue GetAttr(const AttrList& list, std::wstring_view name);  // monostate when absent

struct LayoutItem {
    enum class Kind { Tab, Group, EndGroup, Row, EndRow, Item, Button, EnumControl, String, FCurve, StaticText, Spacer };

    Kind kind = Kind::Item;
    std::wstring name;  // parameter or button script name
    std::wstring label;
    std::wstring controlType;
    AttrList attributes;
    AttrList uiItems;  // label/value pairs of an enumeration
    int64_t height = 0;
    int64_t width = 0;
    bool showFrame = false;
    int64_t widthPercentage = 0;
    bool multiline = false;

    void SetAttribute(std::wstring_view n, AttrValue v) { SetAttr(attributes, n, std::move(v)); }
    AttrValue GetAttribute(std::wstring_view n) const { return GetAttr(attributes, n); }
};

class Layout {
public:
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    void Clear() { items_.clear(); }  // the page's items; help file, logic etc. stay
    void Delete() { items_.clear(); attributes_.clear(); }

    // Each adder returns the index of the item it added. Defaults are the host's.
    std::size_t AddTab(std::wstring label);
    std::size_t AddGroup(std::wstring label = {}, bool showFrame = true, int64_t widthPercentage = 0);
    std::size_t EndGroup();
    std::size_t AddRow();
    std::size_t EndRow();
    std::size_t AddItem(std::wstring name, std::wstring label = {}, std::wstring controlType = {});
    std::size_t AddButton(std::wstring name, std::wstring label = {});
    std::size_t AddEnumControl(std::wstring name, AttrList items, std::wstring label = {},
                               std::wstring controlType = L"Combo");
    std::size_t AddString(std::wstring name, std::wstring label = {}, bool multiline = false, int64_t height = 120);
    std::size_t AddFCurve(std::wstring name, int64_t height = 300);
    std::size_t AddStaticText(std::wstring text, int64_t width = 0, int64_t height = 0);
    std::size_t AddSpacer(int64_t width = 0, int64_t height = 0);

    std::size_t Count() const { return items_.size(); }
    LayoutItem& item(std::size_t i) { return items_.at(i); }
    const LayoutItem& item(std::size_t i) const { return items_.at(i); }
    const std::vector<LayoutItem>& items() const { return items_; }
    // Index of the first item with this script name, npos when none.
    std::size_t FindItem(std::wstring_view name) const;

    void SetAttribute(std::wstring_view n, AttrValue v) { SetAttr(attributes_, n, std::move(v)); }
    AttrValue GetAttribute(std::wstring_view n) const { return GetAttr(attributes_, n); }
    const AttrList& attributes() const { return attributes_; }

    // One line per item, two spaces of indent per open tab, group or row; layout attributes
    // first, each item's attributes on "@name = value" lines under it. Strings are quoted,
    // doubles always carry a '.' or exponent so they read apart from integers.
    std::wstring Describe() const;
    // Empty when groups and rows are balanced (and closed before the next tab), else the
    // first problem found.
    std::wstring Validate() const;

private:
    std::size_t Push(LayoutItem::Kind kind, std::wstring name = {}, std::wstring label = {},
                     std::wstring controlType = {});

    std::vector<LayoutItem> items_;
    AttrList attributes_;
};

const wchar_t* KindName(LayoutItem::Kind kind);
std::wstring FormatAttrValue(const AttrValue& value);

}  // namespace standin
