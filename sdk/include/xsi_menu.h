// Menus.
#pragma once

#include "xsi_menuitem.h"

namespace XSI {

// A menu: a list of items, separators and sub-menus.
class Menu : public MenuItem {
public:
    Menu();
    Menu(const CRef& ref);
    Menu(const Menu& other) = default;
    ~Menu() override;
    Menu& operator=(const Menu& other);
    Menu& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CStatus AddItem(const CString& label, siMenuItemStyle style, MenuItem& out_item);
    Menu AddSubMenu(const CString& label);
    CStatus AddCommandItem(const CString& label, const CString& commandName, MenuItem& out_item);
    CStatus AddCallbackItem(const CString& label, const CString& callbackName, MenuItem& out_item);
    CStatus AddSeparatorItem();
    CStatus PutFilter(const CString& filterName);
    CRefArray GetItems() const;
};

}  // namespace XSI
