// The reference: a GTK program with one full-screen label, and nothing else; no OpenGL either.

#include <gtk/gtk.h>

#include <cstdlib>

int main(int argc, char** argv) {
    setenv("GDK_GL", "disable", 1);
    gtk_init(&argc, &argv);
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_decorated(GTK_WINDOW(window), FALSE);
    gtk_window_set_default_size(GTK_WINDOW(window), 1024, 768);
    gtk_container_add(GTK_CONTAINER(window), gtk_label_new("No Sensor Detected"));
    gtk_widget_show_all(window);
    gtk_main();
    return 0;
}
