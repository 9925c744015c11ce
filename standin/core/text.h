// Text conversions for the host's wide strings.
//
// Host strings are wchar_t (UTF-32 on Linux); files, the terminal and the plug-in's
// narrow strings are UTF-8. Malformed input never fails: bad UTF-8 sequences, surrogates
// and values beyond U+10FFFF become U+FFFD.
#pragma once

#include <string>
#include <string_view>

namespace XSI::Host {

std::string ToUtf8(std::wstring_view text);
std::wstring FromUtf8(std::string_view text);

// The shortest decimal text that reads back as the same value: 10.0 gives "10", 0.1f "0.1".
std::wstring ShortestText(double value);
std::wstring ShortestText(float value);

// Case mapping of one character by Unicode simple case rules (not only ASCII).
wchar_t ToLower(wchar_t c);
wchar_t ToUpper(wchar_t c);

}  // namespace XSI::Host
