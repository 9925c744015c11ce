#include "core/text.h"

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

std::string ToUtf8(std::wstring_view text) {
    std::string out;
    out.reserve(text.size());
    for (wchar_t wc : text) {
        char32_t c = static_cast<char32_t>(wc);
        if (!IsScalar(c)) c = kReplacement;
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

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
