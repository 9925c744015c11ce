// Interactive picking through the host's automation "PickElement" (the C++ object model has
// no picking call of its own).
#pragma once

#include "xsi_ref.h"
#include "xsi_status.h"
#include "xsi_string.h"

namespace orbelin {

// One pick. out_button is 0 when the user cancelled (right button or Esc), 1 left, 2 middle;
// out_modifier 0 none, 1 Shift, 2 Ctrl, 3 both. A failed call reports a cancel.
XSI::CStatus PickElementEx(const XSI::CString& filter, const XSI::CString& leftMessage,
                           const XSI::CString& rightMessage, XSI::CRef& out_picked, LONG& out_button,
                           LONG& out_modifier);

// Picks until the user cancels; each object is logged, added to the selection and returned
// in pick order.
XSI::CRefArray PickTargets(const XSI::CString& filter);

// One pick of a `what` ("Cluster", "Curve" ...): the object, or an invalid reference when
// the user cancelled.
XSI::CRef PickOne(const XSI::CString& what, const XSI::CString& filter);

}  // namespace orbelin
