// Menu items.
#pragma once

#include "xsi_siobject.h"
#include "xsi_decl.h"

namespace XSI {

// One entry of a menu.
class MenuItem : public SIObject {
public:
    MenuItem();
    MenuItem(const CRef& ref);
    MenuItem(const MenuItem& other) = default;
    ~MenuItem() override;
    MenuItem& operator=(const MenuItem& other);
    MenuItem& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CStatus PutCallback(const CString& callback);
    CString GetCallback() const;
    CStatus PutCommand(const CString& command);
    CString GetCommand() const;
    siMenuItemStyle GetStyle() const;
    bool IsEnabled() const;
    CStatus PutEnabled(bool enabled);
};

}  // namespace XSI
