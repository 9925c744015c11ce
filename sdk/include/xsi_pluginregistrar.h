// Registration of a plug-in's items.
#pragma once

#include "xsi_siobject.h"
#include "xsi_decl.h"

namespace XSI {

// A registered item: command, property or menu.
// An item that a plug-in registered.
class PluginItem : public SIObject {
public:
    PluginItem();
    PluginItem(const CRef& ref);
    PluginItem(const PluginItem& other) = default;
    ~PluginItem() override;
    PluginItem& operator=(const PluginItem& other);
    PluginItem& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CStatus PutHelp(const CString& help);
    CStatus PutCategories(const CString& categories);
};

// What a plug-in's load callback is given to declare itself.
class PluginRegistrar : public SIObject {
public:
    PluginRegistrar();
    PluginRegistrar(const CRef& ref);
    PluginRegistrar(const PluginRegistrar& other) = default;
    ~PluginRegistrar() override;
    PluginRegistrar& operator=(const PluginRegistrar& other);
    PluginRegistrar& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CStatus PutAuthor(const CString& author);
    CStatus PutURL(const CString& url);
    CStatus PutEmail(const CString& email);
    CStatus PutVersion(LONG major, LONG minor);
    CStatus GetVersion(LONG& out_major, LONG& out_minor) const;
    CStatus PutHelp(const CString& help);
    CStatus PutCategories(const CString& categories);
    CStatus PutUserData(const CValue& value);
    CValue GetUserData() const;
    CString GetAuthor() const;
    CString GetURL() const;
    CString GetEmail() const;
    CString GetFilename() const;
    CString GetOriginPath() const;
    PluginItem RegisterProperty(const CString& name);
    PluginItem RegisterCommand(const CString& scriptName);
    PluginItem RegisterCommand(const CString& name, const CString& scriptName);
    PluginItem RegisterMenu(siMenuAnchorPoints anchor, const CString& menuName, bool displayAsSubmenu = true,
                            bool dynamic = true);
    PluginItem RegisterOperator(const CString& name);
};

}  // namespace XSI
