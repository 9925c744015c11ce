// Operators whose callbacks come from a plug-in.
#pragma once

#include "xsi_operator.h"

namespace XSI {

// An operator implemented by a plug-in.
class CustomOperator : public Operator {
public:
    CustomOperator();
    CustomOperator(const CRef& ref);
    CustomOperator(const CustomOperator& other) = default;
    ~CustomOperator() override;
    CustomOperator& operator=(const CustomOperator& other);
    CustomOperator& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    bool GetAlwaysEvaluate() const;
    CStatus PutAlwaysEvaluate(bool always);
};

}  // namespace XSI
