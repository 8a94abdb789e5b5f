#ifndef TESTS_SUPPORT_WORLD_H
#define TESTS_SUPPORT_WORLD_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// What tests ask of the bench world that their process runs in. The instrument's own paths need no
/// help: the preload library sends "/etc/QuorvelPowerMeterApp/..." and its like into the world.

/// The world's folder on this machine, without a trailing slash.
std::string World_folder();

/// Where an instrument path such as "/dev/ttyS1" really lies.
std::string World_realPath(const std::string& instrumentPath);

/// Writes or reads a file by its instrument path; missing folders are made. Reading a missing file
/// gives an empty text.
void World_writeFile(const std::string& instrumentPath, const std::string& content);
std::string World_readFile(const std::string& instrumentPath);
void World_removeFile(const std::string& instrumentPath);

/// Every message that reached the system log so far, one line each, as in "<7> text": the severity
/// as a number, the text with its line ends written as "\n".
std::vector<std::string> World_syslog();
void World_clearSyslog();
/// True when a system log line contains the text.
bool World_syslogContains(const std::string& text);

/// Every shell command that the bench wrote down instead of running it (shutdown, network restart).
std::vector<std::string> World_commands();
void World_clearCommands();

/// Puts a pseudo-terminal behind a serial port such as "/dev/ttyS1" and returns the far side's
/// descriptor (-1 on failure). The port itself stays open, as cable ends do, until it is unplugged.
/// What a program sets is kept by the bench: size, parity and speed, which World_serialSettings
/// tells as in "9600 8 N 1" (empty before the first opening).
int World_plugTerminal(const std::string& instrumentPath);
/// Takes the port away and closes both ends; a program that holds it open reads its end.
void World_unplugTerminal(const std::string& instrumentPath);
std::string World_serialSettings(const std::string& instrumentPath);
/// Forgets the settings of all ports, as a power cycle does.
void World_resetSerialSettings();

/// The port on 127.0.0.1 that really stands for the instrument's port 5025, once it is bound; 0
/// before. A connect to 5025 from within the world goes there by itself.
uint16_t World_commandPort();

/// Steps the wall clock (not the monotonic clock) of this process. Steps add up until the process
/// ends.
void World_stepWallClock_ms(int64_t step_ms);

/// Lets all clocks and waits of this process run faster by this factor (1 is real time). The clocks
/// do not jump. A sleep follows a change at once; a wait for a condition, a file or a lock keeps
/// the speed with which it began. CLOCK_MONOTONIC_RAW stays real, for tests that measure.
void World_setSpeed(double factor);

/// Lets a sleep of this process take no real time: it advances the clocks by its length instead.
/// For prescribed pauses; waits for something that may come sooner still take their time.
void World_skipSleeps(bool skips);

/// Lets a wait in poll of this process take no real time, too, while nothing is there: the clocks
/// advance to its end, or to the moment before it at which the player lets something happen. The
/// player is called with the end, returns that moment or the end, and is not asked any more once
/// it is null.
void World_playWaits(int64_t (*player)(int64_t end_ns));

/// What can fail in a world, on an instrument path and below or beside it.
enum class WorldFault {
    open,   ///< opening fails, for reading as well (EMFILE, EACCES, ...)
    change, ///< a read-only place: making, writing, renaming and removing fail (EROFS, EACCES)
    full,   ///< a full disk: files open, but every write to a file opened from now on fails
    rename, ///< renaming to the path fails (EBUSY: something is mounted there)
    sync,   ///< flushing to the disk fails (EIO)
    slow, ///< flushing to the disk takes as many milliseconds as the number says, or until it ends
    freeze, ///< the thread of this name, in place of a path, stands still where it waits
};
/// Lets it fail with this error number (ENOSPC, whatever is given, for a full disk) until the
/// faults are cleared. At most eight at a time; false beyond.
bool World_fail(WorldFault fault, const std::string& instrumentPath, int error);
void World_clearFaults();

/// Asks again every few milliseconds until the condition holds or the limit has gone by, in real
/// time whatever the speed.
bool World_waitUntil(const std::function<bool()>& condition, uint32_t limit_ms);

#endif
