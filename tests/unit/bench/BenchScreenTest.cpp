#include "BenchScreen.h"

#include <gtest/gtest.h>

namespace {

const char* const listing =
    "0\tGtkWindow\tmain\t\t8830K\t1\t1\t0\t-\t0\t0\t1024\t768\t#ffffff\t#000000\tSans 10\tQuorvel\n"
    "1\tGtkLabel\tsingle.fwd.value\t\t\t0\t1\t0\t-\t10\t20\t300\t100\t#ffffff\t#000000\tSans 90\t "
    "25.000\n"
    "a line that is none\n"
    "1\tGtkLabel\tsingle.fwd.value\t\t\t1\t0\t0\t-\t10\t20\t300\t100\t#ff0000\t#000000\tSans 90\t  "
    "Range\n"
    "1\tGtkRadioButton\tGtkRadioButton\tchan1\tSay\t1\t1\t1\t1\t5\t6\t48\t48\t#ffffff\t#"
    "000000\tSans 20\tO\\tK\\n\\\\\n";

} // namespace

TEST(BenchScreen, EveryFieldOfALineIsRead) {
    const auto widgets = BenchScreen_parse(listing);
    ASSERT_EQ(widgets.size(), 4U);
    const ScreenWidget& value = widgets[2];
    EXPECT_EQ(value.depth, 1);
    EXPECT_EQ(value.type, "GtkLabel");
    EXPECT_EQ(value.name, "single.fwd.value");
    EXPECT_TRUE(value.isVisible);
    EXPECT_FALSE(value.isSensitive);
    EXPECT_EQ(value.x, 10);
    EXPECT_EQ(value.y, 20);
    EXPECT_EQ(value.width, 300);
    EXPECT_EQ(value.height, 100);
    EXPECT_EQ(value.foreground, "#ff0000");
    EXPECT_EQ(value.background, "#000000");
    EXPECT_EQ(value.font, "Sans 90");
    EXPECT_FALSE(value.hasFocus);
    EXPECT_FALSE(value.isActive);
    EXPECT_EQ(value.text, "  Range");
}

TEST(BenchScreen, AWidgetOfABuilderFileHasItsIdAndState) {
    const auto widgets = BenchScreen_parse(listing);
    ASSERT_EQ(widgets.size(), 4U);
    EXPECT_EQ(widgets[3].id, "chan1");
    EXPECT_EQ(widgets[3].caption, "Say");
    EXPECT_TRUE(widgets[3].hasFocus);
    EXPECT_TRUE(widgets[3].isActive);
    EXPECT_EQ(BenchScreen_find(widgets, "chan1"), &widgets[3]);
}

TEST(BenchScreen, EscapesAreUndone) {
    EXPECT_EQ(BenchScreen_parse(listing)[3].text, "O\tK\n\\");
}

TEST(BenchScreen, AVisibleWidgetIsFoundBeforeAHiddenOneOfItsName) {
    const auto widgets = BenchScreen_parse(listing);
    EXPECT_EQ(BenchScreen_find(widgets, "single.fwd.value"), &widgets[2]);
}

TEST(BenchScreen, AWidgetWithoutNameIsFoundByItsText) {
    const auto widgets = BenchScreen_parse(listing);
    EXPECT_EQ(BenchScreen_find(widgets, "O\tK\n\\"), &widgets[3]);
}

TEST(BenchScreen, NothingIsFoundByAnUnknownName) {
    EXPECT_EQ(BenchScreen_find(BenchScreen_parse(listing), "lower.fwd.value"), nullptr);
}

TEST(BenchScreen, ATextIsFoundInTheTopmostWindowThatHasIt) {
    const std::string end = "\t\t\t1\t1\t0\t-\t0\t0\t9\t9\t#ffffff\t#000000\tSans 10\t";
    const auto widgets = BenchScreen_parse(
        "0\tGtkWindow\tmain" + end + "meter\n" + "1\tGtkCellView\tGtkCellView" + end + "9600\n" +
        "0\tGtkWindow\tGtkWindow" + end + "\n" + "1\tGtkTreeMenu\tGtkTreeMenu" + end + "\n" +
        "3\tGtkCellView\tGtkCellView" + end + "9600\n" + "0\tGtkWindow\tlast" + end + "300\n");
    ASSERT_EQ(widgets.size(), 6U);
    EXPECT_EQ(BenchScreen_find(widgets, "9600"), &widgets[4]);
    EXPECT_EQ(BenchScreen_find(widgets, "300"), &widgets[5]);
    EXPECT_EQ(BenchScreen_find(widgets, "none"), nullptr);
}
