#include "StyleSheet.h"

#include "message.h"

#include <gtk/gtk.h>

const char styleSheetText[] = R"(
checkbutton check, radiobutton radio { min-width: 24px; min-height: 24px; }
.combo, .popup { font-size: 24px; }
window#mainWindow8830K grid { background-color: black; }
window#mainWindow8830K button {
    background-color: black; background-image: none; border: 1px solid black; box-shadow: none;
}
window#mainWindow8830K entry { background-color: black; color: yellow; border: none; }
window#mainWindow8830K label { background-color: black; color: white; border: none; }
window#appSettings button {
    background-color: black; background-image: none; border: 1px solid black; box-shadow: none;
}
dialog#serSettingsDlg .popup { font-size: 18px; }
window#graphSettingsDialog { background-color: ivory; }
window#graphSettingsDialog button { background-color: white; border: 1px solid gray; }
window#graphSettingsDialog button label { color: black; }
window#graphSettingsDialog entry { background-color: white; color: black; }
window#graphSettingsDialog label { background-color: ivory; color: black; }

/* What can be tapped on the measurement screens looks like a key and answers to the finger. A touch
   screen leaves the pointer where the finger was: hovering must not change anything. */
window#mainWindow8830K button.touch, window#mainWindow8830K button.touch:hover {
    background-color: #1d1f21; border: 1px solid #6a6e72; border-bottom: 3px solid #6a6e72;
    border-radius: 8px; padding: 0; min-width: 0; min-height: 0; outline-style: none;
    text-shadow: none; -gtk-icon-shadow: none; transition: none;
}
window#mainWindow8830K button.touch:active {
    background-color: #5a5e62; border: 1px solid #ffd766; border-top: 3px solid #ffd766;
}
window#mainWindow8830K button.touch:disabled { border-color: #333333; }
window#mainWindow8830K button.touch label { background-color: transparent; }
window#mainWindow8830K button.touch:disabled label { color: #6a6e72; }
/* Figures fill their lines: the tail of the g in "Range" reaches below its own. */
window#mainWindow8830K label.value { background-color: transparent; }
window#mainWindow8830K separator { background-color: #6a6e72; min-height: 2px; }
window#mainWindow8830K button.touch.title { background-color: black; }
window#mainWindow8830K button.touch.title:active { background-color: #5a5e62; }
/* The pulse screens come from interface files: their sizes stand there, their letters here. */
window#mainWindow8830K label.pulseTitle { font: 30px Monospace; color: #ffd766; }
window#mainWindow8830K label.pulseCaption { font: 40px Monospace; color: #adacac; }
window#mainWindow8830K label.pulseCaptionMedium { font: 34px Monospace; color: #adacac; }
window#mainWindow8830K label.pulseCaptionSmall { font: 26px Monospace; color: #adacac; }
window#mainWindow8830K label.pulseCaptionHalf { font: 22px Monospace; color: #adacac; }
window#mainWindow8830K label.pulseUnits { font: 46px Monospace; color: #ffd766; }
window#mainWindow8830K label.pulseUnitsMedium { font: 38px Monospace; color: #ffd766; }
window#mainWindow8830K label.pulseUnitsSmall { font: 32px Monospace; color: #ffd766; }
window#mainWindow8830K button.touch.blank { background-color: transparent; border-color: transparent; }

/* The graph settings: large enough for a finger, and the entry that the keypad edits stands out. */
window#graphSettingsDialog { border: 3px solid #6a6e72; font-size: 24px; }
window#graphSettingsDialog label.heading { font-size: 30px; font-weight: bold; }
window#graphSettingsDialog label.section { font-weight: bold; }
window#graphSettingsDialog label:disabled { color: #909090; }
window#graphSettingsDialog button {
    background-image: none; border-bottom-width: 3px; border-radius: 8px; box-shadow: none;
    text-shadow: none; outline-style: none; transition: none;
}
window#graphSettingsDialog button:active { background-color: #c8c8c8; }
window#graphSettingsDialog button label { background-color: transparent; font-size: 28px; }
window#graphSettingsDialog checkbutton label { background-color: transparent; }
window#graphSettingsDialog checkbutton check { min-width: 36px; min-height: 36px; }
window#graphSettingsDialog entry {
    font-family: Monospace; font-size: 28px; border: 2px solid #909090; border-radius: 6px;
    box-shadow: none; background-image: none; padding: 0 10px; caret-color: black;
}
window#graphSettingsDialog entry:disabled { color: #909090; background-color: #e8e8e0; }
window#graphSettingsDialog entry.target { border: 3px solid #4f81bd; padding: 0 9px; }
window#graphSettingsDialog entry selection { background-color: #4f81bd; color: white; }

/* Every list of choices is touched with a finger. */
menu menuitem { min-height: 56px; padding: 0 16px; font-size: 26px; }
menu.instrument { background-color: #1d1f21; border: 2px solid #6a6e72; padding: 6px; }
menu.instrument menuitem { min-height: 72px; min-width: 220px; color: white; }
menu.instrument menuitem:hover { background-color: #5a5e62; }
menu.instrument menuitem label { color: white; font-size: 28px; }

/* The side window and all other dialogs: white on black, and what can be tapped looks like a key. */
window#appSettings, .instrument.background { background-color: black; color: white; }
window#appSettings { border-left: 3px solid #6a6e72; }
.instrument.background { border: 3px solid #6a6e72; }
window#appSettings label, .instrument.background label {
    color: white; background-color: transparent; font-size: 24px;
}
window#appSettings label.heading, .instrument.background label.heading {
    font-size: 32px; font-weight: bold;
}
window#appSettings label.section, .instrument.background label.section { color: #ffd766; }
window#appSettings label.note, .instrument.background label.note {
    color: #b8bcc0; font-size: 20px;
}
.instrument.background label.problem { color: #ff6b5e; }
.instrument.background label.value { font-family: Monospace; font-size: 24px; }
window#appSettings label:disabled { color: #6a6e72; }
window#appSettings button, .instrument.background button {
    background-color: #1d1f21; background-image: none; border: 1px solid #6a6e72;
    border-bottom: 3px solid #6a6e72; border-radius: 8px; padding: 0 4px; box-shadow: none;
    text-shadow: none; -gtk-icon-shadow: none; outline-style: none; transition: none;
}
window#appSettings button label, .instrument.background button label { font-size: 26px; }
window#appSettings button:active, .instrument.background button:active {
    background-color: #5a5e62; border-color: #ffd766;
}
window#appSettings button:disabled, .instrument.background button:disabled {
    border-color: #333333;
}
window#appSettings button:disabled label, .instrument.background button:disabled label {
    color: #6a6e72;
}
window#appSettings button:checked, .instrument.background button:checked {
    background-color: #ffd766; border-color: #ffd766;
}
window#appSettings button:checked label, .instrument.background button:checked label {
    color: black;
}
window#appSettings button:checked:disabled, .instrument.background button:checked:disabled {
    background-color: #4a4432; border-color: #4a4432;
}
window#appSettings checkbutton {
    background-color: #1d1f21; border: 1px solid #6a6e72; border-bottom: 3px solid #6a6e72;
    border-radius: 8px; padding: 0 14px; outline-style: none; transition: none;
}
window#appSettings checkbutton:disabled { border-color: #333333; }
window#appSettings checkbutton check {
    min-width: 32px; min-height: 32px; margin-right: 14px; border: 2px solid #b8bcc0;
    background-color: black; background-image: none; color: #ffd766; transition: none;
}
window#appSettings checkbutton check:disabled { border-color: #4a4e52; color: #6a6e72; }
.instrument.background #numKeypadTable button { background-color: #f4f4ee; }
.instrument.background #numKeypadTable button:active { background-color: #ffd766; }
.instrument.background #numKeypadTable button label { color: black; font-size: 30px; }
.instrument.background entry {
    background-color: #1d1f21; background-image: none; color: white; caret-color: white;
    font-family: Monospace; font-size: 28px; border: 2px solid #6a6e72; border-radius: 6px;
    box-shadow: none; padding: 0 10px; transition: none;
}
.instrument.background entry:disabled { color: #6a6e72; background-color: black; }
.instrument.background entry.target { border-color: #ffd766; }
.instrument.background entry.refused { border-color: #ff3b30; border-width: 4px; padding: 0 8px; }
.instrument.background entry selection { background-color: #4f81bd; color: white; }
.instrument.background textview, .instrument.background textview text {
    background-color: #101112; color: white; font-family: Monospace; font-size: 20px;
}
.instrument.background combobox cellview, .instrument.background combobox arrow {
    color: white; font-size: 26px;
}
/* The key of a list stays yellow while the list is open. The list itself is a window of its own, which
   follows the style of its key. */
.instrument.background combobox button:checked cellview,
.instrument.background combobox button:checked arrow { color: black; }
.instrument.background combobox menu {
    background-color: #1d1f21; border: 2px solid #6a6e72; padding: 6px;
}
.instrument.background combobox menu menuitem { min-width: 96px; color: white; }
.instrument.background combobox menu menuitem:hover { background-color: #5a5e62; }
)";

// "pulseDisplayctive" reaches no widget: existing test programs know the screens without that rule
// (docs/compatibility.md: style-never-matches).
const char pulseStyleSheetText[] = R"(
notebook, stack, box#pulseDisplay, grid#pulseDisplay {
    background-color: black; background-image: none; border: none;
}
tabs, tab { background-color: black; border: 1px solid black; }
button#pulseDisplayctive { background-color: black; }
button#pulseDisplayActive label { color: #ffd766; background-color: black; }

/* Of two sheets the later one wins, whatever its rules say: the style of the tabs stands here. */
window#mainWindow8830K notebook header { background-color: black; border: none; padding: 0; margin: 0; }
window#mainWindow8830K notebook tabs { border: none; padding: 0; margin: 0 0 0 8px; }
window#mainWindow8830K notebook tab {
    background-color: #1d1f21; background-image: none; border: 1px solid #6a6e72;
    border-bottom: 3px solid #6a6e72; border-radius: 8px; padding: 0; margin: 0 4px 0 0; min-width: 0;
    min-height: 0; box-shadow: none; outline-style: none; transition: none;
}
window#mainWindow8830K notebook tab:checked { background-color: #ffd766; border-color: #ffd766; }
window#mainWindow8830K notebook tab label.pulseTab {
    font: 22px Monospace; color: #ffd766; background-color: transparent;
}
window#mainWindow8830K notebook tab:checked label.pulseTab { color: black; }
)";

void StyleSheet_add(const char* rules) {
    GtkCssProvider* provider = gtk_css_provider_new();
    GError* error = nullptr;
    if (!gtk_css_provider_load_from_data(provider, rules, -1, &error)) {
        DIAGNOSTIC("Style sheet: %s\n", error->message);
        g_error_free(error);
    }
    gtk_style_context_add_provider_for_screen(gdk_screen_get_default(),
                                              GTK_STYLE_PROVIDER(provider),
                                              GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    g_object_unref(provider);
}

void StyleSheet_install() {
    StyleSheet_add(styleSheetText);
}

void StyleSheet_installForPulseScreens() {
    StyleSheet_add(pulseStyleSheetText);
}
