// Wide text to UTF-8 for the byte streams the stand-in prints to.
#pragma once

#include <string>
#include <string_view>
#include <type_traits>

namespace standin {

// wchar_t is UTF-32 on Linux and UTF-16 on Windows: surrogate pairs are joined when they
// come, and anything that is not a Unicode scalar value becomes U+FFFD rather than bad bytes.
inline std::string ToUtf8(std::wstring_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto cp = static_cast<char32_t>(static_cast<std::make_unsigned_t<wchar_t>>(text[i]));
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < text.size()) {
            const auto lo = static_cast<char32_t>(static_cast<std::make_unsigned_t<wchar_t>>(text[i + 1]));
            if (lo >= 0xDC00 && lo <= 0xDFFF) {
                cp = 0x10000 + ((cp - 0xD800) << 10) + (lo - 0xDC00);
                ++i;
            }
        }
        if ((cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF) cp = 0xFFFD;
        if (cp < 0x80) {
            out += static_cast<char>(cp);
        } else if (cp < 0x800) {
            out += static_cast<char>(0xC0 | (cp >> 6));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        } else if (cp < 0x10000) {
            out += static_cast<char>(0xE0 | (cp >> 12));
            out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (cp >> 18));
            out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        }
    }
    return out;
}

}  // namespace standin
