// Context of operator updates.
#pragma once

#include "xsi_siobject.h"
#include "xsi_operator.h"

namespace XSI {

// What an operator's update is given: the operator, the frame, its user data.
class UpdateContext : public SIObject {
public:
    UpdateContext();
    UpdateContext(const CRef& ref);
    UpdateContext(const UpdateContext& other) = default;
    ~UpdateContext() override;
    UpdateContext& operator=(const UpdateContext& other);
    UpdateContext& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    Operator GetOperator() const;
    double GetCurrentFrame() const;
    CValue GetUserData() const;
    CStatus PutUserData(const CValue& value);
};

}  // namespace XSI
