#include "frames.h"

#include <charconv>
#include <limits>
#include <stdexcept>
#include <string>

namespace orbelin::app {

namespace {

std::string Quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }

[[noreturn]] void NotARange(std::string_view text) {
    throw std::invalid_argument(Quoted(text) + " is not a frame range: expected FIRST-LAST or FRAME in whole numbers, e.g. 1-48, -5-10 or 12");
}

// Reads a whole number at `at` (a leading "-" allowed, nothing else before the digits) and
// moves `at` past it.
int ReadFrame(std::string_view text, size_t& at) {
    int value = 0;
    const auto [ptr, ec] = std::from_chars(text.data() + at, text.data() + text.size(), value);
    if (ec == std::errc::result_out_of_range)
        throw std::invalid_argument("the frame range " + Quoted(text) + " has a frame beyond " +
                                    std::to_string(std::numeric_limits<int>::min()) + " to " +
                                    std::to_string(std::numeric_limits<int>::max()));
    if (ec != std::errc()) NotARange(text);
    at = static_cast<size_t>(ptr - text.data());
    return value;
}

}  // namespace

FrameRange ParseFrameRange(std::string_view text) {
    if (text.empty()) throw std::invalid_argument("no frame range given: expected FIRST-LAST or FRAME, e.g. 1-48");
    size_t at = 0;
    FrameRange range;
    range.first = range.last = ReadFrame(text, at);
    if (at < text.size()) {
        if (text[at] != '-') NotARange(text);
        ++at;
        range.last = ReadFrame(text, at);
        if (at < text.size()) NotARange(text);
    }
    if (range.first > range.last)
        throw std::invalid_argument("the frame range " + Quoted(text) + " is reversed: its first frame " +
                                    std::to_string(range.first) + " comes after its last, " + std::to_string(range.last));
    return range;
}

}  // namespace orbelin::app
