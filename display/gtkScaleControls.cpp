#include "gtkScaleControls.h"

#include "AppFlags.h"
#include "GtkHelpers.h"
#include "message.h"

namespace {

constexpr char autoOnFile[] = "./resources/scaleAutoOn.png";
constexpr char autoOffFile[] = "./resources/scaleAutoOff.png";

/// Stores a changed scale; every setter also writes the settings file.
using SaveScale = void (*)(const CallbackData_AutoScale& data);

void saveRfPower(const CallbackData_AutoScale& data) {
    configuration_setRfPowerScale(*data.scale, data.mpOwner->displayIndex, data.direction);
}

void saveState(const CallbackData_AutoScale& data) {
    configuration_setStatePowerScale(*data.scale, data.mpOwner->displayIndex, data.direction);
}

void saveGatedPower(const CallbackData_AutoScale& data) {
    configuration_setGatedPowerScale(*data.scale, data.mpOwner->displayIndex);
}

void switchToManual(const CallbackData_AutoScale& data) {
    if (data.scale->autoScale) {
        data.scale->autoScale = false;
        CGTKScaleControls_setAuto(data.button, false);
    }
}

// At the end of the table the index stays, but the scale is saved all the same: a step on an
// automatic scale is also how the user takes it over.
void stepUp(gpointer data, SaveScale save) {
    if (!gtk_init_done) {
        return;
    }
    const auto& step = *static_cast<CallbackData_AutoScale*>(data);
    switchToManual(step);
    if (step.scale->scaleIndex < rfPowerScaleMaxIndex) {
        ++step.scale->scaleIndex;
    }
    save(step);
}

void stepDown(gpointer data, SaveScale save) {
    if (!gtk_init_done) {
        return;
    }
    const auto& step = *static_cast<CallbackData_AutoScale*>(data);
    switchToManual(step);
    if (step.scale->scaleIndex > 0) {
        --step.scale->scaleIndex;
    }
    save(step);
}

// The index is left where it is: the next reading finds the range.
void toggleAuto(gpointer data, SaveScale save) {
    if (!gtk_init_done) {
        return;
    }
    const auto& toggle = *static_cast<CallbackData_AutoScale*>(data);
    toggle.scale->autoScale = !toggle.scale->autoScale;
    CGTKScaleControls_setAuto(toggle.button, toggle.scale->autoScale);
    save(toggle);
}

GtkWidget* addButton(GtkWidget* container, const char* name, const char* suffix, const char* image,
                     const GdkRectangle& place) {
    char fullName[64];
    g_snprintf(fullName, sizeof fullName, "%s.%s", name, suffix);
    GtkWidget* button = newTouchButton(fullName);
    gtk_widget_set_size_request(button, place.width, place.height);
    gtk_button_set_image(GTK_BUTTON(button), newImageFromFile(image));
    gtk_button_set_always_show_image(GTK_BUTTON(button), TRUE);
    gtk_fixed_put(GTK_FIXED(container), button, place.x, place.y);
    gtk_widget_show(button);
    return button;
}

} // namespace

void CGTKScaleControls_Create(CGTKScaleControls* controls, const char* name,
                              const ScaleControlsLayout& layout, uint32_t sensorDirection,
                              CallbackData_AutoScale* data) {
    char containerName[64];
    g_snprintf(containerName, sizeof containerName, "%s.scale", name);
    controls->container = gtk_fixed_new();
    gtk_widget_set_name(controls->container, containerName);
    controls->gtkScaleUp =
        addButton(controls->container, name, "scaleUp", "./resources/scaleUp.png", layout.up);
    controls->gtkScaleDown =
        addButton(controls->container, name, "scaleDown", "./resources/scaleDown.png", layout.down);
    controls->gtkScaleAutoOn =
        addButton(controls->container, name, "scaleAuto", autoOffFile, layout.automatic);
    controls->sensorDirection = sensorDirection;
    data->button = controls->gtkScaleAutoOn;
    g_signal_connect(controls->gtkScaleUp, "clicked", G_CALLBACK(CGTKScaleControls_CallbackUp),
                     data);
    g_signal_connect(controls->gtkScaleDown, "clicked", G_CALLBACK(CGTKScaleControls_CallbackDown),
                     data);
    g_signal_connect(controls->gtkScaleAutoOn, "clicked",
                     G_CALLBACK(CGTKScaleControls_CallbackAuto), data);
}

void CGTKScaleControls_setAuto(GtkWidget* button, bool on) {
    static const GQuark key = g_quark_from_static_string("quorvel-auto-image");
    const char* file = on ? autoOnFile : autoOffFile;
    if (button == nullptr || g_object_get_qdata(G_OBJECT(button), key) == file) {
        return;
    }
    gtk_button_set_image(GTK_BUTTON(button), newImageFromFile(file));
    g_object_set_qdata(G_OBJECT(button), key, const_cast<char*>(file));
}

void CGTKScaleControls_updateScale(CGTKScaleControls* controls, uint32_t displayIndex,
                                   uint32_t direction) {
    const bool autoScale = configuration_getRfPowerScale(displayIndex, direction).autoScale;
    DIAGNOSTIC("ch/dir/autoScale = %d/%d/%d\n", static_cast<int>(displayIndex),
               static_cast<int>(direction), autoScale);
    CGTKScaleControls_setAuto(controls->gtkScaleAutoOn, autoScale);
}

void CGTKScaleControls_setVisible(CGTKScaleControls* controls, bool visible) {
    setWidgetVisible(controls->container, visible);
}

void CGTKScaleControls_CallbackUp(GtkWidget* /*button*/, gpointer data) {
    stepUp(data, saveRfPower);
}

void CGTKScaleControls_CallbackDown(GtkWidget* /*button*/, gpointer data) {
    stepDown(data, saveRfPower);
}

void CGTKScaleControls_CallbackAuto(GtkWidget* /*button*/, gpointer data) {
    toggleAuto(data, saveRfPower);
}

void CGTKScaleControls_CallbackStateUp(GtkWidget* /*button*/, gpointer data) {
    stepUp(data, saveState);
}

void CGTKScaleControls_CallbackStateDown(GtkWidget* /*button*/, gpointer data) {
    stepDown(data, saveState);
}

void CGTKScaleControls_CallbackStateAuto(GtkWidget* /*button*/, gpointer data) {
    toggleAuto(data, saveState);
}

void CGTKScaleControls_CallbackGatedPowerUp(GtkWidget* /*button*/, gpointer data) {
    stepUp(data, saveGatedPower);
}

void CGTKScaleControls_CallbackGatedPowerDown(GtkWidget* /*button*/, gpointer data) {
    stepDown(data, saveGatedPower);
}

void CGTKScaleControls_CallbackGatedPowerAuto(GtkWidget* /*button*/, gpointer data) {
    toggleAuto(data, saveGatedPower);
}
