// Operators.
#pragma once

#include "xsi_projectitem.h"
#include "xsi_port.h"

namespace XSI {

// An operator of the evaluation graph.
class Operator : public ProjectItem {
public:
    Operator();
    Operator(const CRef& ref);
    Operator(const Operator& other) = default;
    ~Operator() override;
    Operator& operator=(const Operator& other);
    Operator& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    Port GetPortAt(LONG port, LONG group = 0, LONG instance = 0) const;
    LONG GetNumInstancesInGroup(LONG group) const;
    LONG GetNumPortGroups() const;
    LONG GetNumPortsInGroup(LONG group) const;
    CStatus ConnectToGroup(LONG group, CRef& object, LONG& out_instance);
    CStatus DisconnectGroup(LONG group, LONG instance, bool force = false);
    CValue GetInputValue(LONG port, LONG group = 0, LONG instance = 0) const;
    CRefArray GetInputPorts() const;
    CRefArray GetOutputPorts() const;
    bool GetMute() const;
    CStatus PutMute(bool mute);
};

}  // namespace XSI
