// A function curve as plain data: the state and evaluation behind the host's FCurve.
//
// Times are frames. The integer codes are the host's (siFCurveInterpolation,
// siFCurveKeyInterpolation, siFCurveExtrapolation) so the API layer can pass them through.
#pragma once

#include <cfloat>
#include <cstddef>
#include <vector>

namespace standin {

// Host sentinel: DBL_MAX for a tangent component means "default tangent", for the
// RemoveKeys/GetNumKeys bounds "first key" / "last key", for a tolerance "default".
inline constexpr double kFCurveDefault = DBL_MAX;

struct FCurveKey {
    enum Interpolation { Default = 0, Constant = 1, Linear = 2, Cubic = 3 };

    double time = 0.0;
    double value = 0.0;
    int interpolation = Default;
    // Tangent handles as (dx, dy) offsets from the key; left dx <= 0, right dx >= 0.
    double leftX = 0.0, leftY = 0.0, rightX = 0.0, rightY = 0.0;
    // Default tangents are owned by the curve and recomputed when keys change.
    bool defaultLeft = true, defaultRight = true;
};

class FCurve {
public:
    enum Interpolation { DefaultInterpolation = 0, ConstantInterpolation = 1, LinearInterpolation = 2,
                         CubicInterpolation = 3 };
    enum Extrapolation { ConstantExtrapolation = 1, LinearExtrapolation = 2, PeriodicExtrapolation = 3,
                         PeriodicRelativeExtrapolation = 4 };

    // Keys closer than this are one key unless AddKey is given a tolerance. Kept tiny so
    // that keys at fractional frames stay distinct.
    static constexpr double kDefaultTolerance = 1e-6;

    // Adds a key, or replaces the key already within `tolerance` of `time`. Returns its index.
    std::size_t AddKey(double time, double value, int interpolation = FCurveKey::Default,
                       double leftX = kFCurveDefault, double leftY = kFCurveDefault,
                       double rightX = kFCurveDefault, double rightY = kFCurveDefault,
                       double tolerance = kFCurveDefault);
    // Removes the keys with start <= time <= end; DBL_MAX bounds mean the first/last key.
    std::size_t RemoveKeys(double start = kFCurveDefault, double end = kFCurveDefault);

    // Batches edits: default tangents are recomputed once, at the outermost EndEdit.
    // While editing, the default tangents of changed keys are stale.
    void BeginEdit();
    bool EndEdit();  // false when not editing
    bool UndoEdit();  // restores the keys as they were at the outermost BeginEdit
    bool IsEditing() const { return editDepth_ > 0; }

    void SetInterpolation(int interpolation) { interpolation_ = interpolation; }
    int GetInterpolation() const { return interpolation_; }
    void SetExtrapolation(int extrapolation) { extrapolation_ = extrapolation; }
    int GetExtrapolation() const { return extrapolation_; }

    std::size_t NumKeys() const { return keys_.size(); }
    std::size_t NumKeys(double start, double end) const;
    const FCurveKey& key(std::size_t i) const { return keys_.at(i); }
    const std::vector<FCurveKey>& keys() const { return keys_; }
    // Interpolation key i's segment actually uses (Default resolved through the curve).
    int SegmentInterpolation(std::size_t i) const;

    double Eval(double time) const;

private:
    double EvalInRange(double time) const;
    double EndSlope(bool last) const;
    void KeysChanged();
    void ComputeDefaultTangents();

    std::vector<FCurveKey> keys_;  // sorted by time
    std::vector<FCurveKey> undo_;
    int interpolation_ = DefaultInterpolation;
    int extrapolation_ = ConstantExtrapolation;
    int editDepth_ = 0;
    bool dirty_ = false;
};

}  // namespace standin
