// Calls into the host's automation interface by member name.
#pragma once

#include "xsi_value.h"
#include "xsi_status.h"

namespace XSI {

class CComAPIHandler {
public:
    enum InvokeFlag { Method = 0, PropertyGet = 1, PropertyPut = 2, PropertyPutRef = 3 };

    CComAPIHandler();
    CComAPIHandler(const CValue& object);
    CComAPIHandler(const CComAPIHandler& other);
    virtual ~CComAPIHandler();
    CComAPIHandler& operator=(const CComAPIHandler& other);

    CStatus CreateInstance(const CString& progID);
    CStatus Attach(const CValue& object);
    CStatus Detach();
    CValue GetProperty(const CString& name) const;
    CStatus PutProperty(const CString& name, const CValue& value) const;
    CStatus Call(const CString& method, CValue& io_return, const CValueArray& args = CValueArray()) const;
    CStatus Call(const CString& method, CValue& io_return, const CValue& a1) const;
    CStatus Call(const CString& method, CValue& io_return, const CValue& a1, const CValue& a2) const;
    CStatus Call(const CString& method, CValue& io_return, const CValue& a1, const CValue& a2, const CValue& a3) const;
    CStatus Call(const CString& method, CValue& io_return, const CValue& a1, const CValue& a2, const CValue& a3,
                 const CValue& a4) const;
    CStatus Invoke(const CString& name, LONG flags, CValue& io_return, const CValueArray& args = CValueArray()) const;
    CValue GetRef() const;

private:
    CRef m_object;
};

}  // namespace XSI
