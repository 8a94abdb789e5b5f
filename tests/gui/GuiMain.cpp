// All GUI tests run with a desktop whose decimal mark is a comma, as the instrument may.

#include "GuiHarness.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <unistd.h>

namespace {

/// Whatever a test did, GTK must have had nothing to complain about: a handler that a builder file
/// names and nobody has is told there only.
class NoWarnings : public testing::Environment {
    void TearDown() override {
        EXPECT_THAT(Gui_warnings(), testing::IsEmpty());
    }
};

} // namespace

int main(int count, char** arguments) {
    testing::InitGoogleMock(&count, arguments);
    if (!GTEST_FLAG_GET(list_tests)) {
        setenv("LOCPATH", GUI_LOCALE_FOLDER, 1);
        setenv("LC_ALL", "de_DE.UTF-8", 1);
        Gui_start();
        testing::AddGlobalTestEnvironment(new NoWarnings);
    }
    return RUN_ALL_TESTS();
}
