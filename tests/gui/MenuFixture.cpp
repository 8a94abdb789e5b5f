#include "MenuFixture.h"

#include "About.h"
#include "AppSettingsMenu.h"
#include "GuiHarness.h"
#include "TopLineButtons.h"

void Menus_build() {
    static const bool isBuilt = [] {
        initAbout();
        AppSettingsMenu_create(GTK_WINDOW(entireScreen.mainWindow));
        configureButtons(GTK_FIXED(entireScreen.topFixedLine));
        return true;
    }();
    static_cast<void>(isBuilt);
}
