// Objects of the scene that carry properties.
#pragma once

#include "xsi_projectitem.h"

namespace XSI {

class Property;
class CustomProperty;
// A scene object that can own properties.
class SceneItem : public ProjectItem {
public:
    SceneItem();
    SceneItem(const CRef& ref);
    SceneItem(const SceneItem& other) = default;
    ~SceneItem() override;
    SceneItem& operator=(const SceneItem& other);
    SceneItem& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    Property AddProperty(const CString& preset, bool branch = false, const CString& name = CString());
    CStatus AddProperty(const CString& preset, bool branch, const CString& name, Property& out_prop);
    CStatus AddCustomProperty(const CString& name, bool branch, CustomProperty& out_prop);
    CRefArray GetProperties() const;
    CRefArray GetLocalProperties() const;
    CStatus GetPropertyFromName(const CString& name, Property& out_prop) const;
};

}  // namespace XSI
