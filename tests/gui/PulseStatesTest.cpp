#include "PulseFixture.h"
#include "ScreenSize.h"

namespace {

class PulseStates : public PulseScreens {};

TEST_F(PulseStates, APageInDBmNamesItsUnitBesideEachState) {
    setTriggered(true, 2);
    for (const bool isdBm : {true, false}) {
        configuration_setPowerUnitsIsdBm(isdBm);
        for (const PulseScreen& screen : pulseScreens) {
            Gui_showScreen(screen.instance);
            read(readings(), screen.instance);
            CGTKPulseDisplay* display = displayOf(screen.instance);
            turnTo(display->pGridState);
            Gui_settle();
            for (uint32_t i = 0; i < pulseStateCount; ++i) {
                const gtkPowerDisplay_PulseState& state = display->stateArray[i];
                EXPECT_EQ(gtk_widget_get_mapped(state.dBm) != 0, isdBm && i < 2) << i;
                EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(state.dBm)), "dBm");
                if (isdBm && i < 2) {
                    const GdkRectangle value = Gui_place(state.min);
                    const GdkRectangle unit = Gui_place(state.dBm);
                    EXPECT_GE(unit.x, value.x + value.width);
                    EXPECT_LE(unit.y, value.y + value.height / 2);
                    EXPECT_GE(unit.y + unit.height, value.y + value.height / 2);
                }
            }
        }
    }
}

TEST_F(PulseStates, APageWithoutStatesSaysSoOnEitherHalfToo) {
    setTriggered(true, 0);
    for (const PulseScreen& screen : pulseScreens) {
        Gui_showScreen(screen.instance);
        read(readings(), screen.instance);
        CGTKPulseDisplay* display = displayOf(screen.instance);
        turnTo(display->pGridState);
        ASSERT_TRUE(gtk_widget_get_mapped(display->noStates));
        EXPECT_STREQ(gtk_label_get_text(GTK_LABEL(display->noStates)),
                     "No state has been added.\nThe gear opens the configuration.");
        // The screens' containers may be larger than what is seen of them.
        GdkRectangle page = Gui_place(display->power.container);
        page.height =
            screen.instance == gtkSensorSinglePulse ? 2 * halfScreenHeight : halfScreenHeight;
        const GdkRectangle text = Gui_place(display->noStates);
        GdkRectangle common;
        EXPECT_TRUE(gdk_rectangle_intersect(&page, &text, &common));
        EXPECT_TRUE(gdk_rectangle_equal(&common, &text)) << "whole on its half";
        EXPECT_GE(Gui_contrast(display->noStates), 4.5);
    }
}

} // namespace
