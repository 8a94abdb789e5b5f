// The instrument's start, in its fixed order.

#include "About.h"
#include "AppSettingsMenu.h"
#include "ApplicationDirectory.h"
#include "BatteryIndicator.h"
#include "BatteryMonitor.h"
#include "CSensorDisplayFSM.h"
#include "CloseWindow.h"
#include "CommandLine.h"
#include "Configuration.h"
#include "CrashHandler.h"
#include "EntireScreen.h"
#include "EthernetUtilities.h"
#include "Files.h"
#include "GdkLock.h"
#include "GraphSettingsDialog.h"
#include "GtkHelpers.h"
#include "GtkStart.h"
#include "GtkThread.h"
#include "InstrumentFiles.h"
#include "InstrumentIdentity.h"
#include "LogManager.h"
#include "MainWindow.h"
#include "PowerControl.h"
#include "Process.h"
#include "PulseConfig.h"
#include "PulseConfigDialog.h"
#include "ScpiParser.h"
#include "ScpiRecord.h"
#include "ScreenPicture.h"
#include "SensorChannelDialog.h"
#include "SensorHandOff.h"
#include "SensorInformationDialog.h"
#include "SensorManager.h"
#include "SensorPolling.h"
#include "SensorPortHandler.h"
#include "SerialCommand.h"
#include "SerialConfig.h"
#include "SerialPort.h"
#include "ShutDownWarning.h"
#include "Shutdown.h"
#include "StackLimit.h"
#include "StartThreads.h"
#include "ThreadWatch.h"
#include "TopLineButtons.h"
#include "Watchdog.h"
#include "message.h"

#include <gtk/gtk.h>

namespace {

constexpr uint32_t shutdownLimit_ms = 11000;

void startLogging() {
    File_runShellCommand("touch /var/run/Quorvel_autorun");
    LogManager_create();
}

void readSettings() {
    SerialConfig_registerWithSettings();
    setConfigurationFile(settingsFileName);
    readConfigFile();
    network_removeAbandonedFiles();
}

void logIdentity() {
    InstrumentIdentity_read();
    DIAGNOSTIC("Model number = %s\n", InstrumentIdentity_get().modelNumber);
    DIAGNOSTIC("Serial number = %s\n", InstrumentIdentity_get().serialNumber);
}

/// Everything that can be seen, under the GDK lock.
void buildScreens() {
    const ScopedGdkLock lock;
    SensorManager_Create();
    loadBatteryImages();
    initColors();
    loadFonts();
    MainWindowCallbacks callbacks{};
    callbacks.deleteEvent = CloseWindow_onDelete;
    callbacks.destroy = CloseWindow_onDestroy;
    callbacks.screens.measurementSettings = AppSettingsMenu_onGearClicked;
    callbacks.screens.sensorInformation = SensorInformationDialog_onSensorClicked;
    MainWindow_registerCallbacks(callbacks);
    createGTKDisplays();
    BatteryIndicator_place(GTK_FIXED(entireScreen.topFixedLine));
    Process_rememberStart();
    checkModelForBattery();
    ShutDownWarning_create(GTK_WINDOW(entireScreen.mainWindow));
    initAbout();
    AppSettingsMenu_create(GTK_WINDOW(entireScreen.mainWindow));
    configureButtons(GTK_FIXED(entireScreen.topFixedLine));
    graphSettingsDialog_Create(GTK_WINDOW(entireScreen.mainWindow));
    pulseConfigDialog_Create(gPulseConfigDlg3163, pulseConfigForm3163);
    pulseConfigDialog_Create(gPulseConfigDlg3164, pulseConfigForm3164);
    SensorChannelDialog_register(GTK_WINDOW(entireScreen.mainWindow));
    SensorChannelDialog_registerWhileWaiting(GtkThread_serviceWhileWaiting);
    ScreenPicture_register(GTK_WINDOW(entireScreen.mainWindow));
}

/// Remote control answers what the screens show.
void mirrorReadings(uint32_t port, const SENSOR_MEASUREMENTS& measurements) {
    scpiUpdateMeasurement(port, measurements);
}

void runMainLoop() {
    Watchdog_start();
    GdkLock_enter();
    gtk_main();
    GdkLock_leave();
    ThreadWatch_rest(); // what follows has its own limits
}

} // namespace

int main(int argc, char* argv[]) {
    Process_setUpInherited();
    CrashHandler_openLog();
    CrashHandler_install();
    StackLimit_raise();
    if (CommandLine_handle(argc, argv)) {
        Process_leave(0);
    }
    startLogging();
    initI2CDevices();
    initGPIO();
    SerialPort_Open(serialCommandPortName);
    readSettings();
    findINA219Devices();
    ApplicationDirectory_enter();
    GtkStart_initialize(&argc, &argv);
    logIdentity();
    buildScreens();
    SensorHandOff_create();
    CSensorDisplayFSM_registerMeasurementListener(mirrorReadings);
    StartThreads_startGui();
    StartThreads_createDisplaySlots();
    sensorPortHandler_setPulseConfigFile(pulseSensorFileName);
    sensorPortHandler_createAll();
    StartThreads_startWorkers();
    startScpiParser();
    SerialCommand_Start();
    runMainLoop();
    disableBatteryMonitor();
    // The remote-control record is not given back: its servers still answer until the process ends.
    Shutdown_waitForCommand(shutdownLimit_ms);
    Process_leave(0);
}
