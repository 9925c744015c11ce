// The Cache Map's operator: its own record (a RAM cache indexed by the clamped frame), the time
// remapping, and the five modes: Hold, Cache To RAM, Read From File - Cache To RAM, Read From
// File and Write To File. Its log lines carry the operator's own prefix, not the plug-in's tag.
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "cache/files.h"
#include "cache/remap.h"
#include "maps/cache/binding/cache_tool.h"
#include "shell/live_operator.h"
#include "xsi_application.h"
#include "xsi_fcurve.h"
#include "xsi_parameter.h"

using namespace XSI;

namespace orbelin::cache {

namespace {

// A RAM cache longer than this is not made: the host's frame range cannot ask for one.
constexpr int32_t kMostCachedFrames = 1 << 20;

struct CacheMapUserData {
    int32_t lastMode = -1;   // -1: created, or last seen disabled
    int32_t lastCount = -1;  // frame count of the previous evaluation
    FilesSequence files;
    std::unique_ptr<CDoubleArray[]> frameCache;  // one array per frame of the range; empty: not recorded
    int32_t cachedFrames = 0;
    CDoubleArray lastOutput;  // the input weights of the evaluation, or the weights last read
    CDoubleArray readBuffer;  // where a read from the files lands (kept: no new memory per frame)
    std::vector<double> nextWeights;  // the second file of a blend
};

void Log(const CString& text, siSeverityType severity) {
    Application().LogMessage(L"[zrCacheMapOp] > " + text, severity);
}

CString Text(int64_t n) { return CString(std::to_wstring(n).c_str()); }

void ResizeCache(CacheMapUserData& data, int32_t frameCount) {
    data.frameCache.reset();
    data.cachedFrames = 0;
    if (frameCount <= 0) return;  // a reversed range has no cache: the input passes through
    if (frameCount > kMostCachedFrames) {
        Log(L"The frame range is too long for a RAM cache (" + Text(frameCount) + L" frames): the input passes through",
            siWarningMsg);
        return;
    }
    data.frameCache.reset(new (std::nothrow) CDoubleArray[static_cast<size_t>(frameCount)]);
    if (data.frameCache) data.cachedFrames = frameCount;
}

CDoubleArray* Slot(CacheMapUserData& data, int32_t index) {
    return data.frameCache && index >= 0 && index < data.cachedFrames ? &data.frameCache[static_cast<size_t>(index)] : nullptr;
}

// A name part that can stand as one folder or file name: not empty, no separator, not a
// step up or in place. The host's names always are; a FullPath edited by hand may not be.
bool UsablePart(const std::wstring& part) {
    return !part.empty() && part != L"." && part != L".." && part.find(kSeparator) == std::wstring::npos;
}

// The file names of this evaluation: the root from RootPath, the name parts from the
// operator's FullPath (model, object, -, -, cluster, weight map), the directories made. False
// (and nothing made) when FullPath does not name a weight map.
bool PrepareFiles(CacheMapUserData& data, const Operator& op, const CustomProperty& property, const CacheTime& time,
                  CString& current, CString& next) {
    const CString fullPath = op.GetParameterValue(L"FullPath").GetAsText();
    std::vector<std::wstring> parts = SplitFullPath(fullPath.GetWideString());
    if (parts.size() < 6 || !UsablePart(parts[0]) || !UsablePart(parts[1]) || !UsablePart(parts[4]) || !UsablePart(parts[5])) {
        Log(L"FullPath does not name a weight map (model.object.primitive.container.cluster.map): \"" + fullPath +
                L"\"; the input passes through",
            siWarningMsg);
        return false;
    }
    const CString root = ResolvePath(property.GetParameterValue(L"RootPath").GetAsText());
    const CString model = root + kSeparator + parts[0].c_str();
    MakeDirectory(model);
    const CString object = model + kSeparator + parts[1].c_str();
    if (MakeDirectory(object) == 0) Log(L"Created : " + object, siInfoMsg);
    data.files.Init(root.GetWideString(), parts[0], parts[1], parts[4], parts[5]);
    current = data.files.GetFileName(L"wmc", 5, time.fileFrame).c_str();
    if (!time.exact) next = data.files.GetFileName(L"wmc", 5, time.fileFrame + 1).c_str();
    return true;
}

CString Problem(const ReadOutcome& r) {
    switch (r.problem) {
        case ReadOutcome::NotAFile: return L"it is not a file";
        case ReadOutcome::NoCount: return L"it is shorter than its 4-byte count";
        case ReadOutcome::NegativeCount: return L"its count is negative: " + Text(r.count);
        case ReadOutcome::ReadFailed: return CString(L"read error: ") + std::strerror(r.error);
        case ReadOutcome::None: break;
    }
    return CString();
}

// Reads (or blends) the frame into `into`. On success logs where it read from and gives true;
// otherwise says why and gives false, and the caller passes the input through.
bool ReadFrom(const CString& current, const CString& next, const CacheTime& time, LONG elementCount, CDoubleArray& into,
              std::vector<double>& scratch) {
    const std::string currentPath = FileSystemPath(current), nextPath = FileSystemPath(next);
    const ReadOutcome r = ReadFrame(currentPath, time.exact ? nullptr : &nextPath, time.fraction,
                                    static_cast<size_t>(elementCount > 0 ? elementCount : 0), [&](size_t n) {
                                        into.Resize(static_cast<LONG>(n));
                                        return into.GetData();
                                    },
                                    scratch);
    if (r.result == ReadOutcome::Missing) {
        Log(L"Not found: " + current, siWarningMsg);
        return false;
    }
    if (r.result == ReadOutcome::Unreadable) {
        Log(L"Unreadable: " + (r.inNext ? next : current) + L" (" + Problem(r) + L"); the input passes through", siWarningMsg);
        return false;
    }
    Log(L"Read from: " + current, siInfoMsg);
    if (r.Incomplete()) {
        CString held = Text(static_cast<int64_t>(r.held)) + L" weights";
        if (r.blended) held += L" (the next file " + Text(static_cast<int64_t>(r.heldNext)) + L")";
        Log(L"Incomplete: " + current + L" counts " + Text(r.count) + L" weights and holds " + held + L"; " +
                Text(static_cast<int64_t>(r.values)) + L" were read, the missing ones as 0",
            siWarningMsg);
    }
    return true;
}

CStatus Update(UpdateContext& ctxt, OutputPort& output) {
    if (output.GetName() != CString(L"OutWeightMap")) return CStatus::OK;
    CacheMapUserData* data = OperatorRecord<CacheMapUserData>(ctxt);
    if (!data) return CStatus::OK;
    Operator op = ctxt.GetOperator();
    CustomProperty property(op.GetPortAt(0, 1, 0).GetTarget());
    const CParameterRefArray params = property.GetParameters();
    if (!ParameterValueOr<bool>(params, kEnable, true)) {
        data->lastMode = -1;
        return CStatus::OK;
    }

    const LONG mode = ParameterValueOr<LONG>(params, kOpMode, kCacheToRam);
    TimingInputs timing;
    timing.frame = ctxt.GetCurrentFrame();
    timing.startFrame = ParameterValueOr<LONG>(params, kStartFrame, 1);
    timing.endFrame = ParameterValueOr<LONG>(params, kEndFrame, 100);
    timing.offset = ParameterValueOr<double>(params, kOffset, 0.0);
    timing.timingMode = ParameterValueOr<LONG>(params, kTimingMode, kTimingNone);
    timing.timingScale = ParameterValueOr<double>(params, kTimingScale, 0.0);
    CValue warp = FCurve(ParameterValue(params, kTimingWarp)).Eval(timing.frame);
    timing.warpValue = warp.IsEmpty() ? timing.frame : static_cast<double>(warp);
    const CacheTime time = RemapCacheTime(data->lastCount, timing);

    ClusterProperty in(op.GetPortAt(0, 0, 0).GetTarget());
    CString current, next;
    const bool fileMode = mode >= kReadFileCacheToRam && mode <= kWriteFile;
    const bool named = fileMode && PrepareFiles(*data, op, property, time, current, next);
    CClusterPropertyElementArray out = ClusterProperty(output.GetValue()).GetElements();

    if (time.sizeChanged) ResizeCache(*data, time.frameCount);
    if (data->lastMode != mode)
        for (int32_t i = 0; i < data->cachedFrames; ++i) data->frameCache[static_cast<size_t>(i)].Clear();
    CDoubleArray* slot = Slot(*data, time.cacheIndex);

    // The output is the input unless the mode replaces it; the input is read only when it is.
    bool haveInput = false;
    auto input = [&]() -> CDoubleArray& {
        if (!haveInput) data->lastOutput = in.GetElements().GetArray();
        haveInput = true;
        return data->lastOutput;
    };
    const CDoubleArray* result = nullptr;
    switch (fileMode && !named ? -1 : mode) {
        case kHold:
            // Entering Hold captures the input, and so has every evaluation before it looks at
            // the mode: Hold shows the input as it is now.
            result = &input();
            break;
        case kCacheToRam:
            data->lastMode = kCacheToRam;
            if (slot && slot->GetCount() == 0) *slot = input();
            result = slot ? slot : &input();
            break;
        case kReadFileCacheToRam:
            data->lastMode = kReadFileCacheToRam;
            if (slot && slot->GetCount() > 0) {
                result = slot;
                break;
            }
            if (slot) {
                if (ReadFrom(current, next, time, in.GetElements().GetCount(), *slot, data->nextWeights)) result = slot;
                else slot->Clear();
            } else if (ReadFrom(current, next, time, in.GetElements().GetCount(), data->readBuffer, data->nextWeights)) {
                result = &data->readBuffer;
            }
            if (!result) result = &input();
            break;
        case kReadFile:
            data->lastMode = kReadFile;
            if (ReadFrom(current, next, time, in.GetElements().GetCount(), data->readBuffer, data->nextWeights)) {
                std::swap(data->lastOutput, data->readBuffer);
                result = &data->lastOutput;
            } else {
                result = &input();
            }
            break;
        case kWriteFile: {
            data->lastMode = kWriteFile;
            const CDoubleArray& weights = input();
            result = &weights;
            const WriteOutcome w = WriteFrameFile(
                FileSystemPath(current), std::span<const double>(weights.GetArray(), static_cast<size_t>(weights.GetCount())));
            if (w.result == WriteOutcome::CannotCreate) {
                Log(L"Unable to Create: " + current, siInfoMsg);
                break;
            }
            Log(L"Write to: " + current, siInfoMsg);
            if (w.result == WriteOutcome::Failed)
                Log(L"Unable to Write: " + current + L" (" + std::strerror(w.error) + L"); the frame was not written",
                    siWarningMsg);
            break;
        }
        default: result = &input(); break;
    }
    out.PutArray(*result);
    data->lastMode = mode;
    return CStatus::OK;
}

}  // namespace

}  // namespace orbelin::cache

using namespace orbelin;

XSIPLUGINCALLBACK CStatus zrCacheMapOp_Init(UpdateContext& ctxt, LONG) {
    return InitOperator<cache::CacheMapUserData>(ctxt, L"zrCacheMapOp_Init");
}

XSIPLUGINCALLBACK CStatus zrCacheMapOp_Update(UpdateContext& ctxt, OutputPort& output) {
    return CallbackGuard(L"zrCacheMapOp_Update", [&] { return cache::Update(ctxt, output); });
}

XSIPLUGINCALLBACK CStatus zrCacheMapOp_Term(UpdateContext& ctxt, LONG) {
    return TermOperator<cache::CacheMapUserData>(ctxt, L"zrCacheMapOp_Term");
}
