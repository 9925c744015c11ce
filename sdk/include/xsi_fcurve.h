// Function curves.
#pragma once

#include "xsi_siobject.h"
#include "xsi_time.h"
#include "xsi_decl.h"
#include "xsi_fcurvekey.h"

namespace XSI {

// A function curve: keys, interpolation and extrapolation.
class FCurve : public SIObject {
public:
    FCurve();
    FCurve(const CRef& ref);
    FCurve(const FCurve& other) = default;
    ~FCurve() override;
    FCurve& operator=(const FCurve& other);
    FCurve& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CValue Eval(const CTime& frame) const;
    CValue Eval(const double& frame) const;
    LONG RemoveKeys(const CTime& start = CTime(DBL_MAX, CTime::CUSTOM), const CTime& end = CTime(DBL_MAX, CTime::CUSTOM),
                    bool overrideKeyLock = false);
    CStatus BeginEdit();
    CStatus EndEdit();
    CStatus UndoEdit();
    bool IsEditing() const;
    LONG AddKey(const CTime& frame, const CValue& value, siFCurveKeyInterpolation interpolation = siDefaultKeyInterpolation,
                double ltx = DBL_MAX, double lty = DBL_MAX, double rtx = DBL_MAX, double rty = DBL_MAX,
                double tolerance = DBL_MAX, bool overrideKeyLock = false);
    CStatus PutInterpolation(siFCurveInterpolation interpolation);
    siFCurveInterpolation GetInterpolation() const;
    CStatus PutExtrapolation(siFCurveExtrapolation extrapolation);
    siFCurveExtrapolation GetExtrapolation() const;
    LONG GetNumKeys() const;
    CTime GetKeyTime(LONG index) const;
    CValue GetKeyValue(LONG index) const;
    FCurveKey GetKeyAtIndex(LONG index) const;
    siFCurveType GetFCurveType() const;
};

}  // namespace XSI
