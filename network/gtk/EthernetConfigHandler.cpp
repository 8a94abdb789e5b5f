#include "EthernetConfigHandler.h"

#include "AppFlags.h"
#include "DialogHelpers.h"
#include "EthernetConfig.h"
#include "EthernetKeypadHandler.h"
#include "EthernetStatus.h"
#include "GdkLock.h"
#include "GtkHelpers.h"
#include "Threads.h"
#include "message.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <iterator>
#include <vector>

EthernetDialogs ethDialogs;

namespace {

constexpr char infoFile[] = "./resources/ethInfoDialog.ui";
constexpr char settingsFile[] = "./resources/ethSettingsDialog.ui";
constexpr uint32_t addressWait_ms = 3000;
constexpr char missingAddress[] = "Address: a static configuration needs one";

struct Part {
    const char* id;
    GtkWidget* EthernetDialogs::*widget;
};

constexpr Part infoParts[] = {
    {"ethInfoDialog", &EthernetDialogs::ethInfoDialog},
    {"ethInfoTable", &EthernetDialogs::ethInfoTable},
    {"ethInfoLabelIP1", &EthernetDialogs::ethInfoLabelIP1},
    {"ethInfoLabelIP2", &EthernetDialogs::ethInfoLabelIP2},
    {"ethInfoLabelStaticIP1", &EthernetDialogs::ethInfoLabelStaticIP1},
    {"ethInfoLabelStaticIP2", &EthernetDialogs::ethInfoLabelStaticIP2},
    {"ethInfoMethod", &EthernetDialogs::ethInfoMethod},
    {"ethInfoNetmask", &EthernetDialogs::ethInfoNetmask},
    {"ethInfoGateway", &EthernetDialogs::ethInfoGateway},
    {"ethInfoMac", &EthernetDialogs::ethInfoMac},
    {"ethInfoLink", &EthernetDialogs::ethInfoLink},
    {"ethInfoDialog_ok", &EthernetDialogs::ethInfoDialog_ok},
    {"ethInfoDialog_configure", &EthernetDialogs::ethInfoDialog_configure},
};

constexpr Part settingsParts[] = {
    {"ethSettingsDialog", &EthernetDialogs::ethSettingsDialog},
    {"ethSettingsHbox", &EthernetDialogs::ethSettingsHbox},
    {"ethSettingsTable", &EthernetDialogs::ethSettingsTable},
    {"ethSettingsLabelMethod", &EthernetDialogs::ethSettingsLabelMethod},
    {"ethSettingsRadioButton1", &EthernetDialogs::ethSettingsRadioButton1},
    {"ethSettingsRadioButton2", &EthernetDialogs::ethSettingsRadioButton2},
    {"ethSettingsLabelAddress", &EthernetDialogs::ethSettingsLabelAddress},
    {"ethSettingsEntryAddress", &EthernetDialogs::ethSettingsEntryAddress},
    {"ethSettingsLabelNetmask", &EthernetDialogs::ethSettingsLabelNetmask},
    {"ethSettingsEntryNetmask", &EthernetDialogs::ethSettingsEntryNetmask},
    {"ethSettingsLabelGateway", &EthernetDialogs::ethSettingsLabelGateway},
    {"ethSettingsEntryGateway", &EthernetDialogs::ethSettingsEntryGateway},
    {"ethSettingsProblem", &EthernetDialogs::ethSettingsProblem},
    {"ethSettingsDialog_apply", &EthernetDialogs::ethSettingsDialog_apply},
    {"ethSettingsDialog_cancel", &EthernetDialogs::ethSettingsDialog_cancel},
};

/// An entry and the edited value behind it, in the order of the keypad's Next.
struct Field {
    GtkWidget* EthernetDialogs::*entry;
    char (ethConfigIp::*current)[ethernetTextSize];
    char (ethConfigNewIp::*edited)[ethernetTextSize];
    bool isNetmask;
    const char* problem; ///< told of a text that is none
};

constexpr std::array<Field, ethernetEntryCount> fields = {{
    {&EthernetDialogs::ethSettingsEntryAddress, &ethConfigIp::address, &ethConfigNewIp::address,
     false, "Address: four numbers from 0 to 255, as in 192.168.1.40"},
    {&EthernetDialogs::ethSettingsEntryNetmask, &ethConfigIp::netmask, &ethConfigNewIp::netmask,
     true, "Netmask: only ones, then only zeros, as in 255.255.255.0"},
    {&EthernetDialogs::ethSettingsEntryGateway, &ethConfigIp::gateway, &ethConfigNewIp::gateway,
     false, "Gateway: four numbers from 0 to 255, as in 192.168.1.1"},
}};

/// What is wrong with each entry since it was last applied, in the order of the fields; null for
/// one that is in order or has been changed.
std::array<const char*, ethernetEntryCount> problems{};

/// Networking is being restarted by a thread, which frees the record at its end.
std::atomic<bool> isRestarting{false};

std::atomic<bool> restartsStatic{false};

/// What the information dialog shows.
EthernetStatus shownStatus;

void closeParts(std::span<const Part> parts) {
    Dialog_close(&(ethDialogs.*parts[0].widget));
    for (const Part& part : parts) {
        ethDialogs.*part.widget = nullptr;
    }
}

void closeSettings() {
    problems = {};
    EthernetKeypad_end();
    closeParts(settingsParts);
}

/// Takes the widgets of a loaded interface; false if one is missing.
bool findParts(GtkBuilder* builder, std::span<const Part> parts) {
    bool isComplete = true;
    for (const Part& part : parts) {
        ethDialogs.*part.widget = Dialog_widget(builder, part.id);
        isComplete = isComplete && ethDialogs.*part.widget != nullptr;
    }
    return isComplete;
}

bool staticIsChosen() {
    return gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(ethDialogs.ethSettingsRadioButton2)) !=
           FALSE;
}

/// Frames the entries that were refused, and tells of the first one why.
void showProblems() {
    const char* told = "";
    for (size_t at = fields.size(); at-- > 0;) {
        setWidgetClass(ethDialogs.*fields[at].entry, dialogRefusedClass, problems[at] != nullptr);
        told = problems[at] != nullptr ? problems[at] : told;
    }
    setLabelText(ethDialogs.ethSettingsProblem, told);
}

/// The values can be edited only where they mean something.
void followMethod() {
    problems = {};
    showProblems();
    for (const Field& field : fields) {
        gtk_widget_set_sensitive(ethDialogs.*field.entry, staticIsChosen());
    }
    EthernetKeypad_setTarget(staticIsChosen() ? ethDialogs.ethSettingsEntryAddress : nullptr);
}

void loadControls() {
    ethernetGetConfig(ethConfig);
    const bool isStatic = ethConfig->method == ethernetMethodStatic;
    const ETHCONFIG_IP_S& ip = isStatic ? ethConfig->ipStatic : ethConfig->ipDhcp;
    for (const Field& field : fields) {
        gtk_entry_set_text(GTK_ENTRY(ethDialogs.*field.entry), ip.*field.current);
    }
    GtkWidget* radio =
        isStatic ? ethDialogs.ethSettingsRadioButton2 : ethDialogs.ethSettingsRadioButton1;
    gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(radio), TRUE);
    followMethod();
}

void takeEditedValues() {
    ethConfig->newIp.method = staticIsChosen() ? ethernetMethodStatic : ethernetMethodDhcp;
    for (const Field& field : fields) {
        snprintf(ethConfig->newIp.*field.edited, ethernetTextSize, "%s",
                 gtk_entry_get_text(GTK_ENTRY(ethDialogs.*field.entry)));
    }
}

bool isValid(const Field& field) {
    const char* text = ethConfig->newIp.*field.edited;
    return *text == '\0' ||
           (ethConfig->checkIp(text) && (!field.isNetmask || ethConfig->checkNetmask(text)));
}

/// Looks every edited value through. True when all can be taken.
bool checkValues() {
    for (size_t at = 0; at < fields.size(); ++at) {
        problems[at] = isValid(fields[at]) ? nullptr : fields[at].problem;
    }
    return std::ranges::all_of(problems, [](const char* problem) { return problem == nullptr; });
}

/// The settings are not applied: tells why, and lets the first entry that is to blame be edited.
void refuse() {
    showProblems();
    const auto* const first =
        std::ranges::find_if(problems, [](const char* problem) { return problem != nullptr; });
    EthernetKeypad_setTarget(ethDialogs.*
                             fields[static_cast<size_t>(first - problems.begin())].entry);
}

void endRestart() {
    Dialog_close(&ethDialogs.ethProgress);
    destroyEthConfig();
    isRestarting = false;
}

/// Thread: takes as long as networking takes, and touches the screen at its end only.
void restartNetworking() {
    network_restart();
    if (restartsStatic) {
        Thread_sleep_ms(addressWait_ms);
        if (*get_ip_address(ethernetInterfaceName) == '\0') {
            network_restart();
        }
    }
    const ScopedGdkLock lock;
    endRestart();
    flushDisplay();
}

void startRestart() {
    isRestarting = true;
    restartsStatic = ethConfig->method == ethernetMethodStatic;
    ethDialogs.ethProgress = Dialog_showProgress("ethProgress", "Applying the LAN settings...");
    pthread_t thread{};
    if (Thread_start(&thread, "lanRestart", restartNetworking) != 0) {
        DIAGNOSTIC("Failed to start the thread that restarts networking.\n");
        endRestart();
    }
}

gboolean refreshInfo(gpointer /*data*/) {
    EthernetStatus_refresh(&shownStatus);
    const struct {
        GtkWidget* label;
        const char* text;
    } lines[] = {
        {ethDialogs.ethInfoMethod, shownStatus.method},
        {ethDialogs.ethInfoLabelStaticIP1, shownStatus.address},
        {ethDialogs.ethInfoNetmask, shownStatus.netmask},
        {ethDialogs.ethInfoGateway, shownStatus.gateway},
        {ethDialogs.ethInfoLabelStaticIP2, shownStatus.fixedAddress},
        {ethDialogs.ethInfoMac, shownStatus.mac},
        {ethDialogs.ethInfoLink, shownStatus.link},
    };
    for (const auto& line : lines) {
        setLabelText(line.label, Dialog_textOrNone(line.text));
    }
    return G_SOURCE_CONTINUE;
}

void on_ethInfoDialog_show(GtkWidget* dialog, gpointer /*data*/) {
    shownStatus = {};
    refreshInfo(nullptr);
    Dialog_keepFresh(dialog, refreshInfo);
}

void closeInfo() {
    closeParts(infoParts);
    destroyEthConfig();
}

void on_ethInfoDialog_ok_clicked(GtkWidget* /*button*/, gpointer /*data*/) {
    if (gtk_init_done) {
        closeInfo();
    }
}

gboolean on_ethInfoDialog_delete_event(GtkWidget* /*window*/, GdkEvent* /*event*/,
                                       gpointer /*data*/) {
    closeInfo();
    return TRUE;
}

void on_ethInfoDialog_configure_clicked(GtkWidget* /*button*/, gpointer /*data*/) {
    if (gtk_init_done) {
        EthernetSettingsDialog_Create();
    }
}

void on_ethSettingsMethod_toggled(GtkToggleButton* button, gpointer /*data*/) {
    const bool isChosen = gtk_toggle_button_get_active(button) != FALSE;
    if (gtk_init_done && isChosen && ethDialogs.ethSettingsDialog != nullptr) {
        followMethod();
    }
}

void on_ethSettingsEntry_edited(GtkWidget* entry, gpointer /*data*/) {
    for (size_t at = 0; at < fields.size(); ++at) {
        if (problems[at] != nullptr && entry == ethDialogs.*fields[at].entry) {
            problems[at] = nullptr;
            showProblems();
        }
    }
}

void on_ethSettingsDialog_apply_clicked(GtkWidget* /*button*/, gpointer /*data*/) {
    if (!gtk_init_done || ethConfig == nullptr) {
        return;
    }
    takeEditedValues();
    const bool isStatic = ethConfig->newIp.method == ethernetMethodStatic;
    if (isStatic && !checkValues()) {
        refuse();
        return;
    }
    if (!ethernetSetConfig(ethConfig)) {
        problems[0] = missingAddress;
        refuse();
        return;
    }
    closeSettings();
    startRestart();
}

void cancelSettings() {
    closeSettings();
    destroyEthConfig();
}

void on_ethSettingsDialog_cancel_clicked(GtkWidget* /*button*/, gpointer /*data*/) {
    if (gtk_init_done) {
        cancelSettings();
    }
}

gboolean on_ethSettingsDialog_delete_event(GtkWidget* /*window*/, GdkEvent* /*event*/,
                                           gpointer /*data*/) {
    cancelSettings();
    return TRUE;
}

void on_ethernetButton_clicked(GtkWidget* /*button*/, gpointer /*data*/) {
    if (gtk_init_done) {
        EthernetInfoDialog_Create();
    }
}

const DialogHandler infoHandlers[] = {
    {"on_ethInfoDialog_show", G_CALLBACK(on_ethInfoDialog_show)},
    {"on_ethInfoDialog_ok_clicked", G_CALLBACK(on_ethInfoDialog_ok_clicked)},
    {"on_ethInfoDialog_delete_event", G_CALLBACK(on_ethInfoDialog_delete_event)},
    {"on_ethInfoDialog_configure_clicked", G_CALLBACK(on_ethInfoDialog_configure_clicked)},
};

const DialogHandler settingsHandlers[] = {
    {"on_ethSettingsMethod_toggled", G_CALLBACK(on_ethSettingsMethod_toggled)},
    {"on_ethSettingsEntry_edited", G_CALLBACK(on_ethSettingsEntry_edited)},
    {"on_ethSettingsDialog_apply_clicked", G_CALLBACK(on_ethSettingsDialog_apply_clicked)},
    {"on_ethSettingsDialog_cancel_clicked", G_CALLBACK(on_ethSettingsDialog_cancel_clicked)},
    {"on_ethSettingsDialog_delete_event", G_CALLBACK(on_ethSettingsDialog_delete_event)},
};

/// Builds the settings dialog, its controls empty; false if its file does not serve.
bool buildSettings() {
    std::vector<DialogHandler> all(std::begin(settingsHandlers), std::end(settingsHandlers));
    std::ranges::copy(EthernetKeypad_handlers(), std::back_inserter(all));
    GtkBuilder* builder = Dialog_load(settingsFile, all.data(), all.size());
    if (builder == nullptr) {
        return false;
    }
    const bool isComplete =
        findParts(builder, settingsParts) && Dialog_widget(builder, "numKeypadTable") != nullptr;
    if (isComplete) {
        EthernetKeypad_begin(builder, {ethDialogs.ethSettingsEntryAddress,
                                       ethDialogs.ethSettingsEntryNetmask,
                                       ethDialogs.ethSettingsEntryGateway});
    }
    g_object_unref(builder);
    return isComplete;
}

} // namespace

GtkWidget* EthernetConfig_Dialog_ButtonCreate() {
    GtkWidget* button =
        newPictureButton("ethernetButton", "./resources/Ethernet.png", "Ethernet button");
    g_signal_connect(button, "clicked", G_CALLBACK(on_ethernetButton_clicked), nullptr);
    return button;
}

void EthernetInfoDialog_Create() {
    if (isRestarting || ethDialogs.ethInfoDialog != nullptr ||
        ethDialogs.ethSettingsDialog != nullptr) {
        return;
    }
    initEthConfig();
    GtkBuilder* builder = Dialog_load(infoFile, infoHandlers, std::size(infoHandlers));
    const bool isComplete = builder != nullptr && findParts(builder, infoParts);
    if (builder != nullptr) {
        g_object_unref(builder);
    }
    if (!isComplete) {
        closeInfo();
        return;
    }
    Dialog_showAbove(ethDialogs.ethInfoDialog);
}

void EthernetSettingsDialog_Create() {
    closeParts(infoParts);
    if (ethConfig == nullptr) {
        return; // there was no memory for it, which has been told
    }
    if (!buildSettings()) {
        cancelSettings();
        return;
    }
    loadControls();
    Dialog_showAbove(ethDialogs.ethSettingsDialog);
    // Being shown has given the focus away.
    gtk_window_set_focus(GTK_WINDOW(ethDialogs.ethSettingsDialog), nullptr);
    followMethod();
}
