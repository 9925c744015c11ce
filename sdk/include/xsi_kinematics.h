// Transforms of 3D objects.
#pragma once

#include "xsi_property.h"
#include "xsi_parameter.h"
#include "xsi_transformation.h"

namespace XSI {

// A transform of an object: local or global.
class KinematicState : public Parameter {
public:
    KinematicState();
    KinematicState(const CRef& ref);
    KinematicState(const KinematicState& other) = default;
    ~KinematicState() override;
    KinematicState& operator=(const KinematicState& other);
    KinematicState& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    MATH::CTransformation GetTransform(double frame = DBL_MAX) const;
    CStatus PutTransform(const MATH::CTransformation& t, double frame = DBL_MAX);
};

// The kinematics property of a 3D object.
class Kinematics : public Property {
public:
    Kinematics();
    Kinematics(const CRef& ref);
    Kinematics(const Kinematics& other) = default;
    ~Kinematics() override;
    Kinematics& operator=(const Kinematics& other);
    Kinematics& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    KinematicState GetGlobal() const;
    KinematicState GetLocal() const;
};

}  // namespace XSI
