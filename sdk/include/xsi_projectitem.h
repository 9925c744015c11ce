// Objects that carry parameters.
#pragma once

#include "xsi_siobject.h"
#include "xsi_parameter.h"

namespace XSI {

class Model;
class PPGLayout;
class X3DObject;
// An object with parameters and a page layout.
class ProjectItem : public SIObject {
public:
    ProjectItem();
    ProjectItem(const CRef& ref);
    ProjectItem(const ProjectItem& other) = default;
    ~ProjectItem() override;
    ProjectItem& operator=(const ProjectItem& other);
    ProjectItem& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    Model GetModel() const;
    Parameter GetParameter(const CString& scriptName) const;
    CParameterRefArray GetParameters() const;
    CValue GetParameterValue(const CString& scriptName, double time = DBL_MAX) const;
    CStatus PutParameterValue(const CString& scriptName, const CValue& value, double time = DBL_MAX);
    PPGLayout GetPPGLayout() const;
    CString GetFamilies() const;
    bool IsKindOf(const CString& type) const;
    X3DObject GetParent3DObject() const;
    ULONG GetObjectID() const;
};

}  // namespace XSI
