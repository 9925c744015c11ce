#include "shell/live_operator.h"

namespace orbelin {

ExecutionParams ReadExecution(const XSI::CParameterRefArray& params, const ExecutionLayout& layout) {
    ExecutionParams p;
    auto value = [&](LONG index) { return index < 0 ? XSI::CValue() : ParameterValue(params, index); };
    auto readInt = [&](LONG index, int32_t& into) {
        XSI::CValue v = value(index);
        if (!v.IsEmpty()) into = static_cast<LONG>(v);
    };
    XSI::CValue enable = value(layout.enable);
    if (!enable.IsEmpty()) p.enable = static_cast<bool>(enable);
    readInt(layout.opMode, p.opMode);
    readInt(layout.startFrame, p.startFrame);
    readInt(layout.endFrame, p.endFrame);
    readInt(layout.cleanCacheIdx, p.cleanCacheIdx);
    readInt(layout.processingMode, p.processingMode);
    return p;
}

}  // namespace orbelin
