#include "ui/progress.h"

#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>

namespace {

using standin::ProgressBar;

TEST(ProgressBar, CancelAfterCountsIncrementsSinceShown) {
    ProgressBar bar;
    bar.CancelAfter(3);
    bar.Increment();  // hidden: does not count
    bar.SetVisible(true);
    EXPECT_FALSE(bar.IsCancelPressed());
    bar.Increment();
    bar.Increment();
    EXPECT_FALSE(bar.IsCancelPressed());
    bar.Increment();
    EXPECT_TRUE(bar.IsCancelPressed());
    bar.Increment();
    EXPECT_TRUE(bar.IsCancelPressed());

    bar.SetCancelEnabled(false);
    EXPECT_FALSE(bar.IsCancelPressed());
    bar.SetCancelEnabled(true);
    bar.SetVisible(false);
    EXPECT_FALSE(bar.IsCancelPressed());
    bar.SetVisible(true);  // shown again: counting restarts
    EXPECT_FALSE(bar.IsCancelPressed());

    bar.CancelAfter(0);
    EXPECT_TRUE(bar.IsCancelPressed());
}

TEST(ProgressBar, NeverCancelsByDefault) {
    ProgressBar bar;
    bar.SetMaximum(1000);
    bar.SetVisible(true);
    for (int i = 0; i < 2000; ++i) bar.Increment();
    EXPECT_FALSE(bar.IsCancelPressed());
    EXPECT_EQ(bar.GetValue(), 1000);  // kept within the range
}

TEST(ProgressBar, IncrementUsesStepAndReturnsValue) {
    ProgressBar bar;
    bar.SetMaximum(10);
    bar.SetStep(3);
    EXPECT_EQ(bar.Increment(), 3);
    EXPECT_EQ(bar.Increment(1), 4);
    EXPECT_EQ(bar.Increment(), 7);
    EXPECT_EQ(bar.Increment(), 10);
    EXPECT_EQ(bar.Percent(), 100);
}

TEST(ProgressBar, DrawsOnlyWhenEnabled) {
    std::ostringstream out;
    ProgressBar bar;
    bar.SetStream(out);
    bar.SetMaximum(400);
    bar.SetCaption(L"Proximity");
    bar.SetVisible(true);
    bar.Increment();
    EXPECT_EQ(out.str(), "");  // drawing is off by default

    bar.SetVisible(false);
    bar.SetValue(0);
    bar.SetDrawing(true);
    bar.SetVisible(true);
    for (int i = 0; i < 400; ++i) bar.Increment();
    bar.SetVisible(false);
    const std::string text = out.str();
    EXPECT_LE(std::count(text.begin(), text.end(), '\r'), 101);  // once per whole percent
    EXPECT_TRUE(text.starts_with("\r[....................] 0% Proximity\r")) << text.substr(0, 40);
    EXPECT_NE(text.find("\r[#####...............] 25% Proximity"), std::string::npos);
    const std::string last = "\r[####################] 100% Proximity\n";
    EXPECT_EQ(text.substr(text.size() - last.size()), last);
}

}  // namespace
