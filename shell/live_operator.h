// The callbacks every live operator exports, written once: Init makes the tool's record and
// hands it to the host as the operator's user data, Term frees it, and Update runs the shared
// execution model (Enable, Hold, live, live with a per-frame cache and Keep Maximum) around the
// tool's own evaluation. A tool supplies its record type, where its operator finds the
// execution parameters and ports, and the evaluation itself.
#pragma once

#include <new>

#include "shell/frame_cache.h"
#include "shell/guard.h"
#include "shell/parameters.h"
#include "xsi_cluster.h"
#include "xsi_clusterproperty.h"
#include "xsi_customproperty.h"
#include "xsi_operator.h"
#include "xsi_outputport.h"
#include "xsi_port.h"
#include "xsi_updatecontext.h"

namespace orbelin {

// Where a tool's operator reads what the execution model needs: parameter indices of its
// property (-1 for a parameter the tool does not have), and the ports (port, group) of the
// property, of the weight map read as input and of that map's cluster.
struct ExecutionLayout {
    LONG enable = 0, opMode = 1, startFrame = -1, endFrame = -1, cleanCacheIdx = -1, processingMode = -1;
    LONG propertyPort = 0, propertyGroup = 2;
    LONG mapPort = 0, mapGroup = 0;
    LONG clusterPort = 1, clusterGroup = 0;
};

// The execution parameters as the property holds them; a parameter the tool does not have
// keeps its default.
ExecutionParams ReadExecution(const XSI::CParameterRefArray& params, const ExecutionLayout& layout);

template <class Record>
Record* OperatorRecord(XSI::UpdateContext& ctxt) {
    return static_cast<Record*>(static_cast<XSI::CValue::siPtrType>(ctxt.GetUserData()));
}

// Init: a new record as the operator's user data (a null one when it cannot be allocated:
// the updates then write nothing).
template <class Record>
XSI::CStatus InitOperator(XSI::UpdateContext& ctxt, const wchar_t* callback) {
    return CallbackGuard(callback, [&] {
        ctxt.PutUserData(XSI::CValue(static_cast<XSI::CValue::siPtrType>(new (std::nothrow) Record())));
        return XSI::CStatus(XSI::CStatus::OK);
    });
}

template <class Record>
XSI::CStatus TermOperator(XSI::UpdateContext& ctxt, const wchar_t* callback) {
    return CallbackGuard(callback, [&] {
        delete OperatorRecord<Record>(ctxt);
        ctxt.PutUserData(XSI::CValue());
        return XSI::CStatus(XSI::CStatus::OK);
    });
}

// What a live evaluation is given.
struct LiveInputs {
    XSI::UpdateContext& context;
    XSI::Operator op;
    XSI::CustomProperty property;
    XSI::CParameterRefArray params;
    XSI::ClusterProperty map;  // the weight map read as input (the value below this operator)
};

// Update of a tool with a record of its own shape (its own Hold rule, no frame cache): serves
// only the output port "OutWeightMap"; when the property's Enable is off sets the record's
// `lastMode` to -1 and writes nothing; otherwise calls body(record, inputs, output) to write.
template <class Record, class Body>
XSI::CStatus UpdateWithRecord(XSI::UpdateContext& ctxt, XSI::OutputPort& output, const ExecutionLayout& layout,
                              const wchar_t* callback, Body&& body) {
    return CallbackGuard(callback, [&] {
        if (output.GetName() != XSI::CString(L"OutWeightMap")) return XSI::CStatus(XSI::CStatus::OK);
        Record* record = OperatorRecord<Record>(ctxt);
        if (!record) return XSI::CStatus(XSI::CStatus::OK);
        XSI::Operator op = ctxt.GetOperator();
        LiveInputs in{ctxt, op, XSI::CustomProperty(op.GetPortAt(layout.propertyPort, layout.propertyGroup, 0).GetTarget()),
                      XSI::CParameterRefArray(), XSI::ClusterProperty(op.GetPortAt(layout.mapPort, layout.mapGroup, 0).GetTarget())};
        in.params = in.property.GetParameters();
        if (!ReadExecution(in.params, layout).enable) {
            record->lastMode = -1;
            return XSI::CStatus(XSI::CStatus::OK);
        }
        return XSI::CStatus(body(*record, in, output));
    });
}

// Update of a tool whose record holds a FrameWeightCache (`record.cache`): serves only the
// output port "OutWeightMap", then writes nothing (disabled), the held or the cached weights,
// or calls evaluate(record, inputs, out) to fill `out` with the live result, applies Keep
// Maximum and stores it for the frame, and writes it.
// `prepare(record, inputs)` runs first in every update that is enabled, whatever it then
// writes (held, cached or live weights): what a tool keeps in step with its inputs.
template <class Record, class Prepare, class Evaluate>
XSI::CStatus UpdateOverFrameCache(XSI::UpdateContext& ctxt, XSI::OutputPort& output, const ExecutionLayout& layout,
                                  const wchar_t* callback, Prepare&& prepare, Evaluate&& evaluate) {
    return CallbackGuard(callback, [&] {
        if (output.GetName() != XSI::CString(L"OutWeightMap")) return XSI::CStatus(XSI::CStatus::OK);
        Record* record = OperatorRecord<Record>(ctxt);
        if (!record) return XSI::CStatus(XSI::CStatus::OK);
        FrameWeightCache& cache = record->cache;
        XSI::Operator op = ctxt.GetOperator();
        LiveInputs in{ctxt, op, XSI::CustomProperty(op.GetPortAt(layout.propertyPort, layout.propertyGroup, 0).GetTarget()),
                      XSI::CParameterRefArray(), XSI::ClusterProperty(op.GetPortAt(layout.mapPort, layout.mapGroup, 0).GetTarget())};
        in.params = in.property.GetParameters();
        const ExecutionParams p = ReadExecution(in.params, layout);
        XSI::ClusterProperty out(output.GetValue());
        UpdateStep step = BeginUpdate(
            cache, p, ctxt.GetCurrentFrame(), [&] { return in.map.GetElements().GetArray(); },
            [&] { return XSI::Cluster(op.GetPortAt(layout.clusterPort, layout.clusterGroup, 0).GetTarget()).GetElements().GetCount(); });
        if (step != UpdateStep::WriteNothing) prepare(*record, in);
        switch (step) {
            case UpdateStep::WriteNothing: break;
            case UpdateStep::WriteHeld: out.GetElements().PutArray(cache.heldWeights); break;
            case UpdateStep::WriteCached: out.GetElements().PutArray(cache.Get(cache.currentFrame)); break;
            case UpdateStep::Evaluate: {
                XSI::CDoubleArray& weights = evaluate(*record, in);
                FinishUpdate(cache, p, weights);
                out.GetElements().PutArray(weights);
                break;
            }
        }
        return XSI::CStatus(XSI::CStatus::OK);
    });
}

// The preparation of a tool that keeps nothing in step.
template <class Record>
void NoPreparation(Record&, LiveInputs&) {}

}  // namespace orbelin

// The three exports of an operator over the shared frame cache, which the host finds by name:
// `op`_Init, `op`_Update and `op`_Term, the record of type `record`, the execution parameters
// where `layout` says, `prepare(record&, LiveInputs&)` run before every enabled update writes,
// and `evaluate(record&, LiveInputs&)` giving the live weights as a CDoubleArray& the record
// keeps.
#define ORBELIN_FRAME_CACHE_OPERATOR_PREPARED(op, record, layout, prepare, evaluate)                                 \
    XSIPLUGINCALLBACK XSI::CStatus op##_Init(XSI::UpdateContext& ctxt, LONG) {                                       \
        return orbelin::InitOperator<record>(ctxt, L## #op "_Init");                                                 \
    }                                                                                                                \
    XSIPLUGINCALLBACK XSI::CStatus op##_Update(XSI::UpdateContext& ctxt, XSI::OutputPort& output) {                  \
        return orbelin::UpdateOverFrameCache<record>(ctxt, output, layout, L## #op "_Update", prepare, evaluate);    \
    }                                                                                                                \
    XSIPLUGINCALLBACK XSI::CStatus op##_Term(XSI::UpdateContext& ctxt, LONG) {                                       \
        return orbelin::TermOperator<record>(ctxt, L## #op "_Term");                                                 \
    }

// The same three exports for an operator whose record has its own shape: `update(record&,
// LiveInputs&, XSI::OutputPort&)` runs when the tool is enabled and returns its status.
#define ORBELIN_RECORD_OPERATOR(op, record, layout, update)                                                             \
    XSIPLUGINCALLBACK XSI::CStatus op##_Init(XSI::UpdateContext& ctxt, LONG) {                                       \
        return orbelin::InitOperator<record>(ctxt, L## #op "_Init");                                                 \
    }                                                                                                                \
    XSIPLUGINCALLBACK XSI::CStatus op##_Update(XSI::UpdateContext& ctxt, XSI::OutputPort& output) {                  \
        return orbelin::UpdateWithRecord<record>(ctxt, output, layout, L## #op "_Update", update);                   \
    }                                                                                                                \
    XSIPLUGINCALLBACK XSI::CStatus op##_Term(XSI::UpdateContext& ctxt, LONG) {                                       \
        return orbelin::TermOperator<record>(ctxt, L## #op "_Term");                                                 \
    }
// The same for a tool with nothing to prepare.
#define ORBELIN_FRAME_CACHE_OPERATOR(op, record, layout, evaluate) \
    ORBELIN_FRAME_CACHE_OPERATOR_PREPARED(op, record, layout, orbelin::NoPreparation<record>, evaluate)
