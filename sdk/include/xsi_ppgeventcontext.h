// Context of property page events.
#pragma once

#include "xsi_context.h"

namespace XSI {

class PPGEventContext : public Context {
public:
    enum PPGEvent {
        siUndefined = 0,
        siOnInit = 1,
        siOnClosed = 2,
        siParameterChange = 3,
        siButtonClicked = 4,
        siTabChange = 5
    };
    PPGEventContext();
    PPGEventContext(const CRef& ref);
    PPGEventContext(const PPGEventContext& other) = default;
    ~PPGEventContext() override;
    PPGEventContext& operator=(const PPGEventContext& other);
    PPGEventContext& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    PPGEvent GetEventID() const;
    CRefArray GetInspectedObjects() const;
};

}  // namespace XSI
