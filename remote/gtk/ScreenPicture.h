#ifndef REMOTE_GTK_SCREEN_PICTURE_H
#define REMOTE_GTK_SCREEN_PICTURE_H

#include "ScpiScreenCommands.h"

#include <gtk/gtk.h>

/// What a person sees in the place of the instrument's window, dialogs before it included.

/// Lets remote control take pictures of this window's place. Main thread with the GDK lock, once.
void ScreenPicture_register(GtkWindow* window);

/// A picture. Takes the GDK lock for as long as the X server needs to hand out the pixels; the
/// file is made afterwards. There is no screen where the window is not shown, or not by an X
/// server. Any thread, without the GDK lock.
ScpiPicture ScreenPicture_take();

#endif
