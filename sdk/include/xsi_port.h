// Ports of operators.
#pragma once

#include "xsi_siobject.h"
#include "xsi_decl.h"

namespace XSI {

// A port of an operator, connected to a target object.
class Port : public SIObject {
public:
    Port();
    Port(const CRef& ref);
    Port(const Port& other) = default;
    ~Port() override;
    Port& operator=(const Port& other);
    Port& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CRef GetTarget() const;
    bool IsConnected() const;
    LONG GetIndex() const;
    siPortType GetPortType() const;
    LONG GetGroupIndex() const;
    CString GetGroupName() const;
    LONG GetGroupInstance() const;
    CString GetTargetPath() const;
};

// A port the operator reads.
class InputPort : public Port {
public:
    InputPort();
    InputPort(const CRef& ref);
    InputPort(const InputPort& other) = default;
    ~InputPort() override;
    InputPort& operator=(const InputPort& other);
    InputPort& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CValue GetValue() const;
    bool GetOptional() const;
};

// A port the operator writes.
class OutputPort : public Port {
public:
    OutputPort();
    OutputPort(const CRef& ref);
    OutputPort(const OutputPort& other) = default;
    ~OutputPort() override;
    OutputPort& operator=(const OutputPort& other);
    OutputPort& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CValue GetValue() const;
    CStatus PutValue(const CValue& value);
};

}  // namespace XSI
