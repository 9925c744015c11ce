// Frame ranges as the commands take them: "FIRST-LAST" or a single "FRAME", whole numbers,
// negative ones allowed ("-5-10", "-10--5", "7").
#pragma once

#include <string_view>

namespace orbelin::app {

struct FrameRange {
    int first = 1;
    int last = 1;
};

// The range `text` names. Throws std::invalid_argument, with a message that quotes the text
// and says what is wrong, for anything else: no text, not numbers, a number beyond int, a
// first frame after the last.
FrameRange ParseFrameRange(std::string_view text);

}  // namespace orbelin::app
