// Command arguments.
#pragma once

#include "xsi_siobject.h"
#include "xsi_value.h"

namespace XSI {

class Argument : public SIObject {
public:
    Argument();
    Argument(const CRef& ref);
    Argument(const Argument& other) = default;
    ~Argument() override;
    Argument& operator=(const Argument& other);
    Argument& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    CValue GetValue() const;
    CStatus PutValue(const CValue& value);
    siArgumentFlags GetFlags() const;
    CStatus PutHandler(const CString& handler);
    CString GetHandler() const;
};

// The arguments of a command, in declaration order.
class ArgumentArray : public CBase {
public:
    ArgumentArray();
    ArgumentArray(const CRef& ref);
    ArgumentArray(const ArgumentArray& other) = default;
    ~ArgumentArray() override;
    ArgumentArray& operator=(const ArgumentArray& other);
    ArgumentArray& operator=(const CRef& ref);
    bool IsA(siClassID id) const override;
    siClassID GetClassID() const override;
    Argument Add(const CString& name, const CValue& defaultValue = CValue());
    Argument AddWithHandler(const CString& name, const CString& handler, const CString& defaultValue = CString());
    Argument AddObjectArgument(const CString& name);
    Argument GetItem(LONG index) const;
    Argument GetItem(const CString& name) const;
    Argument operator[](LONG index) const { return GetItem(index); }
    LONG GetCount() const;
};

}  // namespace XSI
