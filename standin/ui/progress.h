// The host's progress bar as state, with a scripted Cancel and an optional terminal drawing.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <utility>

namespace standin {

class ProgressBar {
public:
    ProgressBar();  // draws to std::cerr, once drawing is enabled

    int GetMinimum() const { return minimum_; }
    void SetMinimum(int v) { minimum_ = v; Changed(false); }
    int GetMaximum() const { return maximum_; }
    void SetMaximum(int v) { maximum_ = v; Changed(false); }
    int GetStep() const { return step_; }
    void SetStep(int v) { step_ = v; }
    int GetValue() const { return value_; }
    void SetValue(int v);
    const std::wstring& GetCaption() const { return caption_; }
    void SetCaption(std::wstring v) { caption_ = std::move(v); Changed(true); }
    const std::wstring& GetStatusText() const { return status_; }
    void SetStatusText(std::wstring v) { status_ = std::move(v); Changed(true); }
    bool GetVisible() const { return visible_; }
    void SetVisible(bool on);
    bool IsCancelEnabled() const { return cancelEnabled_; }
    void SetCancelEnabled(bool on) { cancelEnabled_ = on; }

    // Adds the bar's step (or `step`), keeping the value within [minimum, maximum];
    // returns the new value.
    int Increment() { return Increment(step_); }
    int Increment(int step);

    // Nobody presses Cancel in a batch run: the script decides. After CancelAfter(n) the bar
    // reports Cancel once it has been incremented n or more times since it was last shown
    // (n = -1, the default: never). A hidden bar or one without Cancel never reports it.
    void CancelAfter(int n) { cancelAfter_ = n; }
    bool IsCancelPressed() const;
    int IncrementsSinceShown() const { return increments_; }

    // Drawing is the owner's choice (default off) so that tests and batch runs stay quiet.
    void SetDrawing(bool on);
    void SetStream(std::ostream& out) { out_ = &out; }  // must outlive the bar's use of it

    // The bar as drawn: "[#####...............] 25% caption - status".
    std::string Render() const;
    int Percent() const;

private:
    void Changed(bool textChanged);
    void FinishLine();

    int minimum_ = 0, maximum_ = 100, step_ = 1, value_ = 0;
    std::wstring caption_, status_;
    bool visible_ = false, cancelEnabled_ = true;
    int cancelAfter_ = -1, increments_ = 0;

    std::ostream* out_;
    bool drawing_ = false, lineOpen_ = false;
    int drawnPercent_ = -1;
    std::size_t drawnWidth_ = 0;
};

}  // namespace standin
