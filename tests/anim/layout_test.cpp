#include "ui/layout.h"

#include <gtest/gtest.h>

namespace {

using standin::AttrValue;
using standin::Layout;
using standin::LayoutItem;

TEST(Layout, DescribeSmallPage) {
    Layout page;
    page.SetAttribute(L"HelpFile", std::wstring(L"proximitymap.html"));
    EXPECT_EQ(page.AddTab(L"Main"), 0u);
    page.AddGroup(L"Connexions");
    page.AddRow();
    page.AddButton(L"Connect", L"Connect");
    page.AddButton(L"Disconnect", L"Remove");
    page.EndRow();
    const auto mode = page.AddEnumControl(
        L"OpMode", {{L" Read From Objects ", int64_t{1}}, {L"Write", int64_t{2}}, {L"Off", int64_t{0}}}, L"Mode");
    page.item(mode).SetAttribute(L"NoLabel", true);
    page.EndGroup();
    page.AddGroup(L"", false, 50);
    const auto range = page.AddItem(L"Range", L"Range", L"Number");
    page.item(range).SetAttribute(L"decimals", int64_t{3});
    page.item(range).SetAttribute(L"cx", 0.5);
    page.AddFCurve(L"Falloff");
    page.EndGroup();
    page.AddTab(L"Notes");
    page.AddStaticText(L"Say \"hi\"");
    page.AddSpacer(10, 4);
    EXPECT_EQ(page.AddString(L"Text", L"Text", true, 80), 15u);

    EXPECT_EQ(page.Describe(),
              L"@HelpFile = \"proximitymap.html\"\n"
              L"Tab \"Main\"\n"
              L"  Group \"Connexions\"\n"
              L"    Row\n"
              L"      Button Connect \"Connect\" [commandbutton]\n"
              L"      Button Disconnect \"Remove\" [commandbutton]\n"
              L"    EndRow\n"
              L"    EnumControl OpMode \"Mode\" [Combo] {\" Read From Objects \"=1, \"Write\"=2, \"Off\"=0}\n"
              L"      @NoLabel = true\n"
              L"  EndGroup\n"
              L"  Group noframe width=50%\n"
              L"    Item Range \"Range\" [Number]\n"
              L"      @decimals = 3\n"
              L"      @cx = 0.5\n"
              L"    FCurve Falloff [FCurveWidget] height=300\n"
              L"  EndGroup\n"
              L"Tab \"Notes\"\n"
              L"  StaticText \"Say \\\"hi\\\"\" [Static]\n"
              L"  Spacer width=10 height=4\n"
              L"  String Text \"Text\" [String] multiline height=80\n");
    EXPECT_EQ(page.Validate(), L"");
}

TEST(Layout, ItemsAndAttributes) {
    Layout page;
    page.AddItem(L"A");
    const auto b = page.AddItem(L"B", L"Bee");
    EXPECT_EQ(page.FindItem(L"B"), b);
    EXPECT_EQ(page.FindItem(L"C"), Layout::npos);

    LayoutItem& item = page.item(b);
    item.SetAttribute(L"cx", int64_t{10});
    item.SetAttribute(L"NoLabel", true);
    item.SetAttribute(L"CX", 2.0);  // replaces in place: names are case-insensitive
    ASSERT_EQ(item.attributes.size(), 2u);
    EXPECT_EQ(item.attributes[0].first, L"cx");
    EXPECT_EQ(item.GetAttribute(L"cx"), AttrValue(2.0));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(item.GetAttribute(L"style")));
    EXPECT_EQ(standin::FormatAttrValue(2.0), L"2.0");
    EXPECT_EQ(standin::FormatAttrValue(AttrValue()), L"empty");
}

TEST(Layout, ValidateFindsUnbalancedStructure) {
    Layout page;
    page.AddTab(L"Main");
    page.AddGroup(L"Options");
    page.AddItem(L"A");
    EXPECT_EQ(page.Validate(), L"group \"Options\" (item 1) is not closed");
    page.AddTab(L"Other");
    EXPECT_EQ(page.Validate(), L"Tab (item 3): group \"Options\" (item 1) is not closed");

    Layout rows;
    rows.AddGroup(L"G");
    rows.AddRow();
    rows.EndGroup();
    EXPECT_EQ(rows.Validate(), L"EndGroup (item 2): row (item 1) is not closed");

    Layout stray;
    stray.EndRow();
    EXPECT_EQ(stray.Validate(), L"EndRow (item 0) closes nothing");
}

TEST(Layout, ClearKeepsLayoutAttributesDeleteDoesNot) {
    Layout page;
    page.SetAttribute(L"HelpFile", std::wstring(L"cachemap.html"));
    page.SetAttribute(L"Logic", std::wstring(L"function OnInit() {}"));
    page.AddTab(L"Main");
    page.AddItem(L"A");
    page.Clear();
    EXPECT_EQ(page.Count(), 0u);
    EXPECT_EQ(page.GetAttribute(L"HelpFile"), AttrValue(std::wstring(L"cachemap.html")));
    EXPECT_EQ(page.attributes().size(), 2u);
    page.AddItem(L"B");
    page.Delete();
    EXPECT_EQ(page.Count(), 0u);
    EXPECT_TRUE(page.attributes().empty());
    EXPECT_EQ(page.Describe(), L"");
}

}  // namespace
