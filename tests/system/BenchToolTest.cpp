// The quorvel-bench command as a person types it.

#include "BenchTool.h"

#include "BenchScreen.h"
#include "BenchText.h"
#include "MeterTest.h"
#include "WorldFolder.h"

#include <algorithm>
#include <arpa/inet.h>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <netinet/in.h>
#include <set>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

namespace fs = std::filesystem;

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr char controlC = 0x03;

} // namespace

TEST_F(BenchTool, HelpFitsOnAScreenAndNamesEveryCommand) {
    const Answer help = type("--help");
    EXPECT_EQ(help.status, 0);
    for (const char* word : {"run", "--browser", "plug PORT MODEL", "fault PORT NAME", "screen",
                             "tap NAME", "screenshot FILE", "clock step", "battery", "switch"}) {
        EXPECT_THAT(help.text, HasSubstr(word));
    }
    EXPECT_LE(std::count(help.text.begin(), help.text.end(), '\n'), 45);
}

TEST_F(BenchTool, WithoutABenchItSaysHowToStartOne) {
    const Answer answer = type("status");
    EXPECT_EQ(answer.status, 1);
    EXPECT_THAT(answer.errors, HasSubstr("no bench is running"));
}

TEST_F(BenchTool, MistakesAreNamedWithWhatIsAllowed) {
    const struct {
        const char* line;
        const char* says;
    } cases[] = {
        {"fly", "unknown command 'fly'"},
        {"run --fast", "unknown option '--fast'"},
        {"run --world", "--world needs DIR"},
        {"run --window", "there is no display"},
        {"run --headless --do fly", "unknown command 'fly': there are plug"},
        {"run --headless --program /nowhere/meter", "/nowhere/meter: No such file"},
    };
    for (const auto& c : cases) {
        const Answer answer = type(c.line);
        EXPECT_EQ(answer.status, 1) << c.line;
        EXPECT_THAT(answer.errors, HasSubstr(c.says)) << c.line;
    }
}

TEST_F(BenchTool, ARunningBenchIsFoundAndObeys) {
    run({"--headless", "--plug", "serial1 5132 fwd=25"});
    EXPECT_THAT(type("status").text, HasSubstr("serial1: 5132 fwd=25"));
    EXPECT_EQ(type("set serial1 fwd=9").status, 0);
    EXPECT_THAT(type("status").text, HasSubstr("serial1: 5132 fwd=9"));
    const Answer wrong = type("plug serial7 5132");
    EXPECT_EQ(wrong.status, 1);
    EXPECT_THAT(wrong.errors, HasSubstr("there are serial1, serial2, usb1 and usb2"));
    waitForMainWindow();
    EXPECT_THAT(type("tap nowhere").errors, HasSubstr("nothing on the screen is called 'nowhere'"));
    EXPECT_EQ(type("screenshot " + folder + "/screen.png").status, 0);
    EXPECT_THAT(WorldFolder_readFile(folder + "/screen.png"), StartsWith("\x89PNG"));
}

TEST_F(BenchTool, CtrlCEndsTheProgramAndLeavesNothing) {
    for (const int signal : {SIGINT, SIGTERM}) {
        run({"--headless"});
        const pid_t program = programOf(world);
        ASSERT_GT(program, 0);
        ASSERT_EQ(kill(running, signal), 0);
        EXPECT_EQ(waitForEnd(running), 0);
        running = 0;
        EXPECT_NE(kill(program, 0), 0) << "the program is still there";
        EXPECT_FALSE(fs::exists(world));
        EXPECT_EQ(newestWorld(), "");
    }
}

TEST_F(BenchTool, ABenchThatIsKilledTakesItsProgramAlong) {
    run({"--headless"});
    const pid_t program = programOf(world);
    ASSERT_EQ(kill(running, SIGKILL), 0);
    waitForEnd(running);
    running = 0;
    EXPECT_TRUE(Bench_waitUntil([program] { return kill(program, 0) != 0; }, 5000));
}

TEST_F(BenchTool, AnEarlyPictureIsSavedAndEndsTheBench) {
    const std::string picture = folder + "/start.png";
    const Answer answer = type("run --port auto --screenshot " + picture);
    EXPECT_EQ(answer.status, 0) << answer.errors;
    EXPECT_THAT(WorldFolder_readFile(picture), StartsWith("\x89PNG"));
}

TEST_F(BenchTool, TheProgramsExitStatusIsTheBenchs) {
    EXPECT_EQ(type("run --headless -- -v").status, 0);
    EXPECT_EQ(type("run --headless --program /bin/false").status, 1);
}

TEST_F(BenchTool, WithoutADisplayABrowserOfThisMachineShowsTheMeter) {
    run({});
    const std::string start = "Open http://127.0.0.1:";
    const auto isTold = [&] {
        return WorldFolder_readFile(errorFile()).find(start) != std::string::npos;
    };
    ASSERT_TRUE(Bench_waitUntil(isTold, toolLimit_ms));
    const std::string told = WorldFolder_readFile(errorFile());
    const long port = strtol(told.c_str() + told.find(start) + start.size(), nullptr, 10);
    // Kernel's table: local address of every listening socket of that port, loopback only.
    const std::string wanted = BenchText_format(":%04lX 00000000:0000 0A", port);
    const std::string sockets = WorldFolder_readFile("/proc/net/tcp");
    const size_t at = sockets.find(wanted);
    ASSERT_NE(at, std::string::npos) << "nobody listens";
    EXPECT_EQ(sockets.substr(at - 8, 8), "0100007F");
    EXPECT_EQ(sockets.find(wanted, at + 1), std::string::npos);
    waitForMainWindow();
    EXPECT_EQ(type("screenshot " + folder + "/x.png").status, 0);
    EXPECT_THAT(WorldFolder_readFile(folder + "/x.png"), StartsWith("\x89PNG"));
    const std::string page = fetch(static_cast<uint16_t>(port), "/");
    EXPECT_THAT(page, AllOf(StartsWith("HTTP/1.1 200 OK\r\n"),
                            HasSubstr("<title>Quorvel 8830K</title>"), HasSubstr("<iframe ")));
    EXPECT_THAT(fetch(static_cast<uint16_t>(port), "/more"), StartsWith("HTTP/1.1 404 "));
    const std::string frame = "src=\"http://127.0.0.1:";
    const long screen = strtol(page.c_str() + page.find(frame) + frame.size(), nullptr, 10);
    EXPECT_THAT(fetch(static_cast<uint16_t>(screen), "/"), HasSubstr(" 200 OK"));
}

TEST_F(BenchTool, ABrowsersScreenStartsAndEndsWithoutAWordOfItsOwn) {
    const Answer answer = type("run --browser --port auto --program /bin/true");
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.text, "");
    EXPECT_EQ(std::ranges::count(answer.errors, '\n'), 3) << answer.errors;
    EXPECT_THAT(answer.errors, AllOf(HasSubstr("Remote control is on port "), HasSubstr("\nOpen "),
                                     HasSubstr("\nThe bench plays in ")));
}

TEST_F(BenchTool, APortThatIsTakenIsNotTakenAgain) {
    const int taken = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(5025);
    // Where somebody else has the port already, that is as good.
    if (bind(taken, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
        ASSERT_EQ(listen(taken, 1), 0);
    }
    running = startTool({"run", "--headless", "--world", folder + "/world"});
    const auto port = [this] { return WorldFolder_readFile(folder + "/world/port"); };
    ASSERT_TRUE(Bench_waitUntil([&] { return !port().empty(); }, toolLimit_ms));
    EXPECT_NE(port(), "5025\n");
    close(taken);
}

TEST_F(BenchTool, BenchesRunSideBySide) {
    run({"--headless"});
    const std::string firstWorld = world;
    const std::string secondWorld = folder + "/second";
    const pid_t second = startTool({"run", "--headless", "--port", "auto", "--world", secondWorld});
    ASSERT_TRUE(Bench_waitUntil([&] { return programOf(secondWorld) > 0; }, toolLimit_ms));
    EXPECT_EQ(type("plug serial1 5132").status, 0);
    EXPECT_THAT(type("status").text, HasSubstr("serial1: 5132"));
    EXPECT_THAT(type("--world " + secondWorld + " status").text, HasSubstr("serial1: no sensor"));
    EXPECT_NE(WorldFolder_readFile(firstWorld + "/port"),
              WorldFolder_readFile(secondWorld + "/port"));
    kill(second, SIGTERM);
    waitForEnd(second);
    EXPECT_TRUE(fs::exists(secondWorld)) << "a world that was asked for is kept";
}

TEST_F(BenchTool, TheOlderMetersProtocolAnswersOnItsTerminal) {
    EXPECT_THAT(type("terminal").errors, HasSubstr("no bench is running"));
    run({"--headless", "--legacy"});
    const auto answers = [this] { return pipe("U0").text == " 6610  FCRYYPYYTT1XF\r\n"; };
    EXPECT_TRUE(Bench_waitUntil(answers, toolLimit_ms));
    EXPECT_EQ(pipe("U2U1").text, " 6610   0100 RS232\r\n 6610  VCM VCO FL \r\n");
    EXPECT_EQ(pipe("").text, "");
    EXPECT_THAT(type("terminal now").errors, HasSubstr("usage: quorvel-bench terminal"));
}

TEST_F(BenchTool, APersonTypesOnTheCommandPort) {
    run({"--headless", "--legacy"});
    ASSERT_TRUE(Bench_waitUntil([this] { return !pipe("U0").text.empty(); }, toolLimit_ms));
    TypedTool tool(toolPath(), folder);
    ASSERT_TRUE(tool.shows("Connected to /dev/ttyS4; Ctrl-C ends."));
    ASSERT_TRUE(Bench_waitUntil([&] { return !tool.hasMode(ICANON); }, toolLimit_ms));
    tool.type("u");
    EXPECT_TRUE(tool.shows("u")) << "keys are echoed";
    tool.type("2");
    EXPECT_TRUE(tool.shows(" 6610   0100 RS232")) << "each key is sent as it is typed";
    tool.type(std::string(1, controlC));
    EXPECT_EQ(tool.exitStatus(), 0);
    EXPECT_TRUE(tool.hasMode(ICANON) && tool.hasMode(ISIG) && tool.hasMode(ECHO));
}

TEST_F(BenchTool, APersonsReturnEndsACommandLine) {
    run({"--headless"});
    ASSERT_TRUE(Bench_waitUntil([this] { return !pipe("*OPC?\n").text.empty(); }, toolLimit_ms));
    TypedTool tool(toolPath(), folder);
    ASSERT_TRUE(Bench_waitUntil([&] { return !tool.hasMode(ICANON); }, toolLimit_ms));
    tool.type("*TST?;*IDN?\r");
    EXPECT_TRUE(tool.shows("0;QUORVEL-TECHNOLOGIES,8830K,"));
    kill(running, SIGTERM);
    waitForEnd(running);
    running = 0;
    EXPECT_EQ(tool.exitStatus(), 0) << "it ends with its bench";
}

TEST_F(BenchTool, APersonWhoLeavesEndsTheTerminal) {
    run({"--headless", "--legacy"});
    ASSERT_TRUE(Bench_waitUntil([this] { return !pipe("U0").text.empty(); }, toolLimit_ms));
    TypedTool tool(toolPath(), folder);
    ASSERT_TRUE(tool.shows("Connected to"));
    tool.hangUp();
    EXPECT_TRUE(tool.exitStatus().has_value());
    EXPECT_EQ(pipe("U0").text, " 6610  FCRYYPYYTT1XF\r\n");
}

TEST_F(BenchTool, TheOlderMetersProtocolLeavesTheOtherSettingsOfAKeptWorld) {
    constexpr const char* settingsFile =
        "/etc/QuorvelPowerMeterApp/QuorvelApplicationSettings.conf";
    const std::string kept = folder + "/kept";
    ASSERT_TRUE(WorldFolder_create(kept));
    ASSERT_TRUE(WorldFolder_write(kept, settingsFile,
                                  "displayGraph 1\nuseLegacyRS232Commands 0\nserialSpeed 4800\n"));
    EXPECT_EQ(type("run --headless --legacy --world " + kept + " --program /bin/true").status, 0);
    EXPECT_EQ(WorldFolder_read(kept, settingsFile),
              "displayGraph 1\nserialSpeed 4800\nuseLegacyRS232Commands 1\n");
}

TEST_F(BenchTool, BenchesThatAreStartedAtOnceTakeDifferentPorts) {
    constexpr size_t count = 4;
    std::vector<pid_t> benches;
    for (size_t number = 0; number < count; ++number) {
        // Nobody listens on the ports that were chosen.
        benches.push_back(
            startTool({"run", "--headless", "--world", folder + "/world" + std::to_string(number),
                       "--program", "/bin/sleep", "--", "100"}));
    }
    std::set<std::string> ports;
    for (size_t number = 0; number < count; ++number) {
        const std::string file = folder + "/world" + std::to_string(number) + "/port";
        EXPECT_TRUE(Bench_waitUntil([&] { return fs::exists(file); }, toolLimit_ms));
        ports.insert(WorldFolder_readFile(file));
    }
    EXPECT_EQ(ports.size(), count);
    for (const pid_t bench : benches) {
        end(bench, SIGTERM);
    }
}

TEST_F(BenchTool, WhenTheNewestBenchEndsTheOneBeforeItIsMeant) {
    run({"--headless", "--plug", "serial1 5132"});
    const pid_t first = running;
    for (const int signal : {SIGTERM, SIGKILL}) {
        run({"--headless", "--plug", "serial2 5134"});
        EXPECT_THAT(type("status").text, HasSubstr("serial2: 5134"));
        end(running, signal);
        EXPECT_THAT(type("status").text, HasSubstr("serial1: 5132"));
    }
    end(first, SIGTERM);
}

TEST_F(BenchTool, BenchesAreListedAndStopped) {
    EXPECT_EQ(type("list").text, "");
    EXPECT_THAT(type("stop").errors, HasSubstr("no bench is running"));
    run({"--headless"});
    const pid_t first = running;
    const std::string firstWorld = world;
    run({"--headless"});
    const pid_t second = running;
    const pid_t third =
        startTool({"run", "--headless", "--port", "auto", "--world", folder + "/w"});
    ASSERT_TRUE(Bench_waitUntil([&] { return newestWorld() == folder + "/w"; }, toolLimit_ms));
    EXPECT_THAT(type("list").text,
                AllOf(StartsWith("  " + firstWorld + " port="), HasSubstr("* " + world + " port="),
                      HasSubstr("  " + folder + "/w port="),
                      HasSubstr(" program=" + std::to_string(programOf(world)) + " ")));
    EXPECT_EQ(type("stop").status, 0);
    EXPECT_EQ(waitForEnd(second), 0);
    EXPECT_FALSE(fs::exists(world));
    EXPECT_THAT(type("list").text, StartsWith("* " + firstWorld));
    EXPECT_EQ(type("stop --all").status, 0);
    EXPECT_EQ(waitForEnd(first), 0);
    EXPECT_EQ(waitForEnd(third), 0);
    running = 0;
    EXPECT_EQ(type("list").text, "");
}

TEST_F(BenchTool, AProgramThatFailsIsReportedWithItsStatusAndTheEndOfItsLog) {
    const auto runs = [this](const std::string& script) {
        return answerOf(
            startTool({"run", "--headless", "--program", "/bin/sh", "--", "-c", script}));
    };
    const Answer failed = runs("echo '<3> the port is taken' >>$QUORVEL_BENCH/syslog; exit 7");
    EXPECT_EQ(failed.status, 7);
    EXPECT_THAT(failed.errors, AllOf(HasSubstr("the program has ended with status 7"),
                                     HasSubstr("the port is taken")));
    const Answer killed = runs("kill -SEGV $$");
    EXPECT_EQ(killed.status, 128 + SIGSEGV);
    EXPECT_THAT(killed.errors, HasSubstr("was ended by signal 11 (Segmentation fault)"));
    EXPECT_THAT(runs("exit 0").errors, Not(HasSubstr("ended")));
}

TEST_F(BenchTool, HelpOnACommandNamesAllThatItTakes) {
    EXPECT_THAT(type("help plug").text,
                AllOf(HasSubstr("5132A200"), HasSubstr("3165"), HasSubstr("baud"),
                      HasSubstr("state4"), HasSubstr("file:NAME")));
    EXPECT_THAT(type("help fault").text, AllOf(HasSubstr("chatter"), HasSubstr("cutdevice")));
    EXPECT_THAT(type("help crowd").text, HasSubstr("--base"));
    EXPECT_THAT(type("help me").errors, HasSubstr("no help on 'me'"));
}

TEST_F(BenchTool, TextsAreReadAndAwaited) {
    run({"--headless"});
    EXPECT_EQ(type("wait noConnection.title Detected 60s").status, 0);
    EXPECT_EQ(type("text noConnection.title").text, "No Sensor Detected\n");
    EXPECT_THAT(type("text nowhere").errors, HasSubstr("nothing on the screen is called"));
    EXPECT_THAT(type("text single.fwd.value").errors, HasSubstr("is hidden"));
    EXPECT_THAT(type("wait noConnection.title Moon 0s").errors,
                HasSubstr("'noConnection.title' shows 'No Sensor Detected', not 'Moon'"));
    EXPECT_THAT(type("wait nowhere Moon 0s").errors, HasSubstr("nothing on the screen"));
    EXPECT_THAT(type("wait nowhere").errors, HasSubstr("usage: quorvel-bench wait"));
    EXPECT_THAT(type("wait nowhere Moon soon").errors, HasSubstr("usage: quorvel-bench wait"));
}

TEST_F(BenchTool, AScenarioIsPlayedAtItsTimes) {
    run({"--headless"});
    waitForMainWindow();
    fs::create_directories(folder + "/scenes");
    write("scenes/power.txt", "0 7\n3600 8\n");
    write("scenes/scene", "# The times are the bench's.\n"
                          "0 clock speed 100\n\n"
                          "5s plug serial1 5132 fwd=file:power.txt\n"
                          "+1m wait sensorSettingsDialog_ok \"OK\" 60s # a word in quotes\n"
                          "+0 tap \"sensorSettingsDialog_ok\"\n");
    const Stopwatch watch;
    const Answer played = type("play " + folder + "/scenes/scene");
    EXPECT_EQ(played.status, 0) << played.errors;
    EXPECT_GE(watch.elapsed_ms(), 600);
    EXPECT_THAT(played.text, HasSubstr("65.0 tap sensorSettingsDialog_ok\n"));
    EXPECT_THAT(type("status").text, HasSubstr("serial1: 5132 fwd=7 "));
}

TEST_F(BenchTool, AScenarioWithAMistakeSaysWhere) {
    run({"--headless"});
    const struct {
        const char* content;
        const char* says;
    } cases[] = {
        {"0 status\nsoon status\n", ":2: 'soon' is not a time"},
        {"5 status\n4 status\n", ":2: '4' is not a time such as 30s or +5s, after"},
        {"0 fly\n", ":1: unknown command 'fly'"},
        {"0 play again\n", ":1: unknown command 'play'"},
        {"0\n", ":1: a time without a command"},
        {"0 tap \"OK\n", ":1: a quote is not closed"},
        {"0 status\n0 plug serial9 5132\n0 stop\n", ":2: the play ends here"},
    };
    for (const auto& c : cases) {
        write("scene", c.content);
        const Answer answer = type("play " + folder + "/scene");
        EXPECT_EQ(answer.status, 1) << c.content;
        EXPECT_THAT(answer.errors, HasSubstr(folder + "/scene" + c.says)) << c.content;
    }
    EXPECT_THAT(type("play /nowhere/scene").errors, HasSubstr("/nowhere/scene: cannot be read"));
    EXPECT_EQ(type("status").status, 0);
}

TEST_F(BenchTool, TheAfternoonAmongTheExamplesIsPlayedToItsEnd) {
    run({"--headless"});
    waitForMainWindow();
    const fs::path examples = QUORVEL_EXAMPLES;
    const std::string usual = "clock speed 60";
    std::string scenario = WorldFolder_readFile(examples / "afternoon.play");
    ASSERT_NE(scenario.find(usual), std::string::npos);
    scenario.replace(scenario.find(usual), usual.size(), "clock speed 600");
    write("afternoon.play", scenario);
    fs::copy(examples / "afternoon-power.txt", folder);
    const Answer played = type("play " + folder + "/afternoon.play");
    EXPECT_EQ(played.status, 0) << played.errors;
    EXPECT_THAT(type("status").text, AllOf(HasSubstr("serial1: 5132 fwd="),
                                           HasSubstr("usb1: no sensor"), HasSubstr("speed=1 ")));
    // A busy machine begins the last ramp late, so that the play is over before it.
    EXPECT_EQ(type("clock speed 20").status, 0);
    EXPECT_TRUE(Bench_waitUntil(
        [this] {
            return type("status").text.find("serial1: 5132 fwd=0.0004 ") != std::string::npos;
        },
        toolLimit_ms));
}

TEST_F(BenchTool, AMeterThatHasSwitchedItselfOffIsDark) {
    run({"--headless"});
    waitForMainWindow();
    const pid_t program = programOf(world);
    EXPECT_EQ(type("clock speed 4").status, 0);
    EXPECT_EQ(type("switch").status, 0);
    EXPECT_EQ(waitForEnd(running), 0);
    running = 0;
    EXPECT_NE(kill(program, 0), 0);
    EXPECT_THAT(WorldFolder_readFile(errorFile()), Not(HasSubstr("ended")));
    EXPECT_THAT(type("status").errors, HasSubstr("no bench is running"));
}

TEST_F(BenchTool, AMeterMayStayOnAfterItHasSwitchedItselfOff) {
    const std::string kept = folder + "/kept";
    running = startTool({"run", "--headless", "--stays-on", "--port", "auto", "--world", kept});
    ASSERT_TRUE(Bench_waitUntil([&] { return newestWorld() == kept; }, toolLimit_ms));
    EXPECT_EQ(type("--world " + kept + " clock speed 100").status, 0);
    std::ofstream(kept + "/commands", std::ios::app) << "shutdown\n";
    const auto isOff = [&] {
        return type("--world " + kept + " status").text.find("machine: off") != std::string::npos;
    };
    EXPECT_TRUE(Bench_waitUntil(isOff, toolLimit_ms));
    EXPECT_EQ(kill(programOf(kept), 0), 0) << "it has been ended";
}

TEST_F(BenchTool, RowsOfADropDownAreTappedByTheirText) {
    run({"--headless"});
    waitForMainWindow();
    EXPECT_EQ(type("tap serialButton").status, 0);
    EXPECT_EQ(type("wait serSettingsComboSpeed 9600 60s").status, 1) << "its row has the text";
    EXPECT_EQ(type("tap serSettingsComboSpeed").status, 0);
    EXPECT_TRUE(Bench_waitUntil([this] { return type("tap 4800").status == 0; }, toolLimit_ms));
}

TEST_F(BenchTool, WhatIsInsensitiveIsNotTouchedAndPointsAre) {
    run({"--headless"});
    waitForMainWindow();
    EXPECT_EQ(type("tap ethernetButton").status, 0);
    EXPECT_EQ(type("wait ethInfoDialog_configure Configure 60s").status, 0);
    EXPECT_EQ(type("tap Configure").status, 0);
    EXPECT_EQ(type("wait ethSettingsDialog_cancel Cancel 60s").status, 0);
    EXPECT_THAT(type("tap numKeypadButton1").errors,
                HasSubstr("'numKeypadButton1' is insensitive"));
    std::vector<ScreenWidget> widgets;
    ASSERT_TRUE(BenchScreen_list(world, widgets));
    const ScreenWidget* cancel = BenchScreen_find(widgets, "ethSettingsDialog_cancel");
    ASSERT_NE(cancel, nullptr);
    const std::string point =
        std::to_string(cancel->x + cancel->width / 2) + "," + std::to_string(cancel->y + 10);
    EXPECT_EQ(type("tap " + point).status, 0);
    EXPECT_TRUE(Bench_waitUntil(
        [this] { return type("text ethSettingsDialog_cancel").status != 0; }, toolLimit_ms));
    EXPECT_EQ(type("drag 10,700 900,700").status, 0);
    EXPECT_THAT(type("drag 10,700").errors, HasSubstr("usage: quorvel-bench drag X,Y X,Y"));
    EXPECT_THAT(type("drag 10,700 far").errors, HasSubstr("usage: quorvel-bench drag X,Y X,Y"));
}
