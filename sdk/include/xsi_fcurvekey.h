// One key of a function curve: its time, value, interpolation and tangent handles.
#pragma once

#include "xsi_base.h"
#include "xsi_decl.h"
#include "xsi_time.h"
#include "xsi_value.h"

namespace XSI {

class FCurveKey : public CBase {
public:
    FCurveKey();
    FCurveKey(const CRef& ref);
    FCurveKey(const FCurveKey& other) = default;
    ~FCurveKey() override;
    FCurveKey& operator=(const FCurveKey& other);
    FCurveKey& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CTime GetTime() const;
    CValue GetValue() const;
    siFCurveKeyInterpolation GetInterpolation() const;
    // Tangent handles as offsets from the key: (time, value) toward the previous and next keys.
    double GetLeftTanX() const;
    double GetLeftTanY() const;
    double GetRightTanX() const;
    double GetRightTanY() const;
};

}  // namespace XSI
