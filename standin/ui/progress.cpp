#include "ui/progress.h"

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <limits>

#include "ui/utf8.h"

namespace standin {

namespace {
constexpr int kCells = 20;
}

ProgressBar::ProgressBar() : out_(&std::cerr) {}

void ProgressBar::SetValue(int v) {
    value_ = minimum_ <= maximum_ ? std::clamp(v, minimum_, maximum_) : v;
    Changed(false);
}

int ProgressBar::Increment(int step) {
    if (visible_) ++increments_;
    using Limits = std::numeric_limits<int>;
    SetValue(static_cast<int>(std::clamp<int64_t>(int64_t{value_} + step, Limits::min(), Limits::max())));
    return value_;
}

bool ProgressBar::IsCancelPressed() const {
    return visible_ && cancelEnabled_ && cancelAfter_ >= 0 && increments_ >= cancelAfter_;
}

void ProgressBar::SetVisible(bool on) {
    if (on && !visible_) {
        increments_ = 0;
        visible_ = true;
        Changed(true);
    } else if (!on && visible_) {
        visible_ = false;
        FinishLine();
    }
}

void ProgressBar::SetDrawing(bool on) {
    if (!on) FinishLine();
    drawing_ = on;
    if (on) Changed(true);
}

int ProgressBar::Percent() const {
    const int64_t range = int64_t{maximum_} - minimum_;
    if (range <= 0) return 100;
    return static_cast<int>(std::clamp<int64_t>((int64_t{value_} - minimum_) * 100 / range, 0, 100));
}

std::string ProgressBar::Render() const {
    const int pct = Percent();
    const int filled = pct * kCells / 100;
    // Appended piece by piece: GCC 12 gives a false -Wrestrict on "literal" + std::string at -O3.
    std::string line = "[";
    line.append(filled, '#').append(kCells - filled, '.').append("] ").append(std::to_string(pct)).append("%");
    if (!caption_.empty()) line.append(" ").append(ToUtf8(caption_));
    if (!status_.empty()) line.append(" - ").append(ToUtf8(status_));
    return line;
}

// Redraws in place with '\r', only when the whole percent moves (or the text changes), so a
// loop of a million increments writes about a hundred times.
void ProgressBar::Changed(bool textChanged) {
    if (!drawing_ || !visible_ || !out_) return;
    const int pct = Percent();
    if (!textChanged && pct == drawnPercent_) return;
    std::string line = Render();
    const std::size_t width = line.size();
    if (width < drawnWidth_) line += std::string(drawnWidth_ - width, ' ');  // wipe a longer line
    *out_ << '\r' << line << std::flush;
    drawnPercent_ = pct;
    drawnWidth_ = width;
    lineOpen_ = true;
}

void ProgressBar::FinishLine() {
    if (lineOpen_ && out_) *out_ << '\n' << std::flush;
    lineOpen_ = false;
    drawnPercent_ = -1;
    drawnWidth_ = 0;
}

}  // namespace standin
