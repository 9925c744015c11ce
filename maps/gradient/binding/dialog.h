// What the gradient commands share: their parameter dialogs (a temporary property under the
// scene root, shown as a modal page, read back and deleted whatever the user answered) and the
// reading of their arguments.
#pragma once

#include <span>

#include "xsi_progressbar.h"
#include "xsi_value.h"

namespace orbelin::gradient {

struct DialogParameter {
    const wchar_t* name;
    XSI::CValue::DataType type;
};

// Items in page order; consecutive items with the same group label share one bordered group.
struct DialogItem {
    const wchar_t* group;
    const wchar_t* parameter;
    const wchar_t* label;
};

struct Dialog {
    const wchar_t* property;  // name of the temporary property, also the page's tab
    const wchar_t* title;     // the modal window's title
    std::span<const DialogParameter> parameters;
    std::span<const DialogItem> items;
};

// `values` holds one value per parameter, in the dialog's parameter order: the page's defaults
// on the way in, what the user left on the page on the way out. True when the user cancelled.
bool AskParameters(const Dialog& dialog, XSI::CValueArray& values);

// The "Arguments" attribute of a command's context (empty when there is none).
XSI::CValueArray CommandArguments(XSI::CRef& context);
// Argument i as a flag or a number, `otherwise` when it is missing or empty.
bool ArgumentFlag(const XSI::CValueArray& args, LONG i, bool otherwise);
double ArgumentNumber(const XSI::CValueArray& args, LONG i, double otherwise);

// The host's progress bar shown from 0 to `maximum` in steps of 1, with its caption, and
// hidden again when this goes out of scope, however the command ends.
class Progress {
public:
    Progress(LONG maximum, const XSI::CString& caption);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    XSI::ProgressBar& Bar() { return m_bar; }

private:
    XSI::ProgressBar m_bar;
};

// The first object of a command's collection argument (or of a command's result), whichever
// form the host hands over; an invalid reference when there is none.
XSI::CRef FirstObject(const XSI::CValue& collection);

}  // namespace orbelin::gradient
