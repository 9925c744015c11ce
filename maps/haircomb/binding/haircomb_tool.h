// The Gradient Hair Comb's property: its parameters in definition order (the operator reads
// them by these indices) and the names its command and operator share.
#pragma once

#include <iterator>

#include "shell/parameters.h"

namespace orbelin::haircomb {

enum Param : LONG {
    kEnable,
    kCombHigh,
    kCombWidth,
    kShape,
    kParamCount,
};

inline constexpr ParamRow kRows[] = {
    {L"Enable", L"Enable", ParamType::Bool, 5, 1, false, 0, 0, 0, 0},
    {L"CombHigh", L"Comb High", ParamType::Double, 5, 1, true, 0, 1, 0, 1},
    {L"CombWidth", L"Comb Width", ParamType::Double, 5, 1, true, 0, 1, 0, 1},
    {L"Shape", L"Shape", ParamType::FCurve, 0, 0, false, 0, 0, 0, 0},
};
static_assert(std::size(kRows) == kParamCount, "one row per parameter, in index order");

inline constexpr const wchar_t* kPropertyType = L"Orbelin_zrGradientMapHairCombProp";
inline constexpr const wchar_t* kPropertyName = L"GradientMapHairComb";
inline constexpr const wchar_t* kOperator = L"zrGradientMapHairCombOp";
inline constexpr const wchar_t* kCombCluster = L"HairCombCls";
inline constexpr const wchar_t* kGenerator = L"hairGenOp";

// The operator's port groups, in connection-set order (port 0 of each; the weight map's
// cluster is port 1 of its group).
enum Group : LONG { kHairGroup, kPropertyGroup, kMapGroup, kEmitterGroup, kEmitterClusterGroup, kCombClusterGroup };

}  // namespace orbelin::haircomb
