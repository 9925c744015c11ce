// The application: scene, selection, commands, log.
#pragma once

#include "xsi_siobject.h"
#include "xsi_decl.h"
#include "xsi_value.h"
#include "xsi_selection.h"
#include "xsi_uitoolkit.h"
#include "xsi_model.h"

namespace XSI {

// The host application.
class Application : public SIObject {
public:
    Application();
    Application(const CRef& ref);
    Application(const Application& other) = default;
    ~Application() override;
    Application& operator=(const Application& other);
    Application& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    Selection GetSelection() const;
    Model GetActiveSceneRoot() const;
    CString GetInstallationPath(siInstallationPath which) const;
    UIToolkit GetUIToolkit() const;
    CStatus LogMessage(const CString& message, siSeverityType severity = siInfoMsg) const;
    CStatus ExecuteCommand(const CString& name, const CValueArray& args, CValue& io_return) const;
    CStatus ExecuteCommand(const CString& name, CValueArray& args, CValue& io_return) const;
    CString GetVersion() const;
    bool IsInteractive() const;
};

}  // namespace XSI
