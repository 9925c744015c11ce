#include "core/text.h"

#include "ui/utf8.h"

#include <charconv>
#include <locale.h>
#include <wctype.h>

namespace XSI::Host {

namespace {
constexpr char32_t kReplacement = 0xFFFD;

bool IsScalar(char32_t c) { return c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF); }

// The "C" locale maps ASCII only; C.UTF-8 knows the whole repertoire. Made once, never freed.
locale_t CaseLocale() {
    static const locale_t loc = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(nullptr));
    return loc;
}
}  // namespace

// One encoder for the whole stand-in: the log's (which has no object-model types).
std::string ToUtf8(std::wstring_view text) { return standin::ToUtf8(text); }

std::wstring FromUtf8(std::string_view text) {
    std::wstring out;
    out.reserve(text.size());
    size_t i = 0;
    const size_t n = text.size();
    while (i < n) {
        const unsigned char b = static_cast<unsigned char>(text[i]);
        int extra;
        char32_t c, min;
        if (b < 0x80) { out += static_cast<wchar_t>(b); ++i; continue; }
        if ((b & 0xE0) == 0xC0) { extra = 1; c = b & 0x1F; min = 0x80; }
        else if ((b & 0xF0) == 0xE0) { extra = 2; c = b & 0x0F; min = 0x800; }
        else if ((b & 0xF8) == 0xF0) { extra = 3; c = b & 0x07; min = 0x10000; }
        else { out += static_cast<wchar_t>(kReplacement); ++i; continue; }
        // A truncated or broken sequence yields one replacement and resumes at the first
        // byte that is not a continuation byte.
        size_t j = i + 1;
        for (; j < n && j <= i + extra; ++j) {
            const unsigned char cb = static_cast<unsigned char>(text[j]);
            if ((cb & 0xC0) != 0x80) break;
            c = (c << 6) | (cb & 0x3F);
        }
        const bool complete = j == i + 1 + static_cast<size_t>(extra);
        out += static_cast<wchar_t>(complete && c >= min && IsScalar(c) ? c : kReplacement);
        i = j;
    }
    return out;
}

namespace {
template <class F>
std::wstring Shortest(F value) {
    char buf[64];
    const std::to_chars_result r = std::to_chars(buf, buf + sizeof buf, value);
    return std::wstring(buf, r.ptr);
}
}  // namespace

std::wstring ShortestText(double value) { return Shortest(value); }
std::wstring ShortestText(float value) { return Shortest(value); }

wchar_t ToLower(wchar_t c) {
    if (c < 0x80) return (c >= L'A' && c <= L'Z') ? static_cast<wchar_t>(c + 32) : c;
    locale_t loc = CaseLocale();
    return static_cast<wchar_t>(loc ? towlower_l(static_cast<wint_t>(c), loc) : towlower(static_cast<wint_t>(c)));
}

wchar_t ToUpper(wchar_t c) {
    if (c < 0x80) return (c >= L'a' && c <= L'z') ? static_cast<wchar_t>(c - 32) : c;
    locale_t loc = CaseLocale();
    return static_cast<wchar_t>(loc ? towupper_l(static_cast<wint_t>(c), loc) : towupper(static_cast<wint_t>(c)));
}

}  // namespace XSI::Host
