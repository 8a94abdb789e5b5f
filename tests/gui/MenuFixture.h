#ifndef TESTS_GUI_MENU_FIXTURE_H
#define TESTS_GUI_MENU_FIXTURE_H

/// Builds the side window and the top line's buttons, once for the program.
void Menus_build();

#endif
