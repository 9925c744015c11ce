// Base definitions shared by every header of the host's C++ object model.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cfloat>

typedef int32_t LONG;
typedef uint32_t ULONG;
typedef int64_t LLONG;
typedef uint64_t ULLONG;
typedef int INT;
typedef unsigned int UINT;

// Callbacks are plain C symbols so that the host finds them by name.
#define XSIPLUGINCALLBACK extern "C" __attribute__((visibility("default")))
#define SICALLBACK extern "C" __attribute__((visibility("default"))) XSI::CStatus

#ifndef NULL
#define NULL nullptr
#endif

namespace XSI {
class CStatus;
class CString;
class CValue;
class CRef;
class CRefArray;
class CValueArray;
class CStringArray;
class CLongArray;
class CDoubleArray;
class CFloatArray;
class CBoolArray;
namespace MATH {
class CVector3;
class CVector3Array;
class CTransformation;
}  // namespace MATH
}  // namespace XSI
