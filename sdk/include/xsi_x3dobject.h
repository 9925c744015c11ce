// 3D objects and models.
#pragma once

#include "xsi_sceneitem.h"
#include "xsi_primitive.h"
#include "xsi_kinematics.h"

namespace XSI {

// An object of the scene with a transform and a primitive.
class X3DObject : public SceneItem {
public:
    X3DObject();
    X3DObject(const CRef& ref);
    X3DObject(const X3DObject& other) = default;
    ~X3DObject() override;
    X3DObject& operator=(const X3DObject& other);
    X3DObject& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    Primitive GetActivePrimitive() const;
    Primitive GetActivePrimitive(double frame) const;
    Kinematics GetKinematics() const;
    CRefArray GetChildren() const;
    CRefArray GetPrimitives() const;
    CRefArray GetModels(bool recursive = true) const;
    X3DObject FindChild(const CString& name, const CString& type, const CStringArray& families, bool recursive = true) const;
    CRefArray FindChildren(const CString& name, const CString& type, const CStringArray& families, bool recursive = true) const;
};

}  // namespace XSI
