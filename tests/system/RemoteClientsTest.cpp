// The programs with which people talk to the meter: the examples of this tree, lxi, PyVISA, nc and
// a terminal.
#include "MeterTest.h"
#include "Picture.h"
#include "ScpiClient.h"
#include "WorldFolder.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr uint32_t mirrorLimit_ms = 30000;
constexpr const char* nobody = "-220,\"Parameter error;No sensor connected on the channel\"";

struct Outcome {
    int status;
    std::string output;
};

/// Runs a shell command and gives all that it prints, line ends as line feeds.
Outcome run(const std::string& command) {
    Outcome outcome{-1, ""};
    FILE* output = popen(("{ " + command + "; } 2>&1").c_str(), "re");
    if (output == nullptr) {
        return outcome;
    }
    std::array<char, 4096> piece;
    for (size_t count = 0; (count = fread(piece.data(), 1, piece.size(), output)) > 0;) {
        outcome.output.append(piece.data(), count);
    }
    const int status = pclose(output);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::erase(outcome.output, '\r');
    return outcome;
}

class RemoteClients : public MeterTest {
protected:
    /// The meter with a sensor of 25 W on channel 1.
    void startMeasuring() {
        start();
        plugFirst("serial1", "5132 fwd=25");
        ASSERT_TRUE(Bench_waitUntil([this] { return ScpiClient(bench).ask("MEAS:AVER?") == "25"; },
                                    mirrorLimit_ms));
    }
    [[nodiscard]] std::string port() const {
        const std::string text = WorldFolder_readFile(bench.world + "/port.bound");
        return std::to_string(strtoul(text.c_str(), nullptr, 10));
    }
    [[nodiscard]] Outcome lxi(const std::string& task, const std::string& words) const {
        return run("lxi " + task + " --raw --address 127.0.0.1 --port " + port() + " " + words);
    }
    /// What nc prints for these bytes; it hangs up once the server has.
    [[nodiscard]] Outcome nc(const std::string& source) const {
        return run(source + " | timeout 20 nc -N 127.0.0.1 " + port());
    }
};

TEST_F(RemoteClients, TheExamplesReadThePowerOfBothChannels) {
    startMeasuring();
    const std::string one = "channel 1: 25 W\n";
    for (const char* example : {QUORVEL_EXAMPLE_READ_POWER, QUORVEL_EXAMPLES "/read_power.sh",
                                QUORVEL_EXAMPLES "/read_power.py"}) {
        const std::string command = std::string(example) + " 127.0.0.1 " + port();
        EXPECT_EQ(run(command).output, one + "channel 2: " + nobody + "\n") << example;
        EXPECT_EQ(run(command).status, 0) << example;
    }
    plug("serial2", "5134 fwd=4");
    ASSERT_TRUE(Bench_waitUntil([this] { return ScpiClient(bench).ask("MEAS:AVER? 2") == "4"; },
                                mirrorLimit_ms));
    for (const char* example : {QUORVEL_EXAMPLE_READ_POWER, QUORVEL_EXAMPLES "/read_power.sh",
                                QUORVEL_EXAMPLES "/read_power.py"}) {
        EXPECT_EQ(run(std::string(example) + " 127.0.0.1 " + port()).output,
                  one + "channel 2: 4 W\n")
            << example;
    }
}

TEST_F(RemoteClients, TheExamplesSayWhenNoMeterAnswers) {
    for (const char* example :
         {QUORVEL_EXAMPLE_READ_POWER, QUORVEL_EXAMPLES "/read_power.sh",
          QUORVEL_EXAMPLES "/read_power.py", QUORVEL_EXAMPLES "/quorvel_8830k.py"}) {
        const Outcome outcome = run(std::string(example) + " 127.0.0.1 1");
        EXPECT_EQ(outcome.status, 1) << example;
        EXPECT_THAT(outcome.output, EndsWith("127.0.0.1 does not answer\n")) << example;
        EXPECT_EQ(run(example).status, 2) << example;
    }
}

TEST_F(RemoteClients, TheExamplesSaveTheScreen) {
    startMeasuring();
    const std::string file = bench.world + "/screen.png";
    for (const char* example :
         {QUORVEL_EXAMPLES "/save_screen.sh", QUORVEL_EXAMPLES "/save_screen.py"}) {
        const std::string saving = std::string(example) + " 127.0.0.1 " + file + " ";
        const Outcome saved = run(saving + port());
        EXPECT_EQ(saved.status, 0) << example << ": " << saved.output;
        const Picture picture = Picture_read(WorldFolder_readFile(file));
        EXPECT_EQ(picture.width, 1024) << example;
        EXPECT_EQ(picture.height, 768) << example;
        std::filesystem::remove(file);
        EXPECT_EQ(run(saving + "1").status, 1) << example << ": nobody there";
        EXPECT_EQ(run(example).status, 2) << example;
    }
}

/// What stands in code blocks below a heading of the manual, a line each.
std::vector<std::string> documentedCode(const std::string& heading) {
    std::ifstream manual(QUORVEL_REMOTE_CONTROL_MANUAL);
    std::vector<std::string> code;
    bool isInSection = false;
    bool isCode = false;
    for (std::string line; std::getline(manual, line);) {
        isInSection = line.starts_with("## ") ? line == heading : isInSection;
        isCode = line.starts_with("```") ? !isCode : isCode;
        if (isInSection && isCode && !line.starts_with("```")) {
            code.push_back(line);
        }
    }
    return code;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

TEST_F(RemoteClients, WhatTheManualTellsToTypeFetchesPicturesAndHistories) {
    startMeasuring();
    const std::string tool =
        std::filesystem::read_symlink("/proc/self/exe").parent_path() / "quorvel-bench";
    std::string python = "import pyvisa\n"
                         "meter = pyvisa.ResourceManager('@py').open_resource(\n"
                         "    'TCPIP::127.0.0.1::" +
                         port() +
                         "::SOCKET',\n"
                         "    read_termination='\\r\\n', write_termination='\\n')\n";
    int typed = 0;
    for (std::string line : documentedCode("## The screen and the history")) {
        if (!line.starts_with("$ ")) {
            python += line + "\n";
            continue;
        }
        const bool isExample = line.starts_with("$ examples/");
        line = replaced(line, "$ examples", QUORVEL_EXAMPLES);
        line = replaced(line, "$ ", "");
        line = replaced(line, "build/release/bin/quorvel-bench", tool + " --world " + bench.world);
        line = replaced(line, "192.168.1.50 5025", "127.0.0.1 " + port());
        line = replaced(line, "--address 192.168.1.50", "--address 127.0.0.1 --port " + port());
        line = replaced(line, "192.168.1.50", "127.0.0.1");
        const Outcome outcome =
            run("cd " + bench.world + "; " + line + (isExample ? " " + port() : ""));
        EXPECT_EQ(outcome.status, 0) << line << ": " << outcome.output;
        ++typed;
    }
    EXPECT_GE(typed, 5);
    EXPECT_EQ(Picture_read(WorldFolder_readFile(bench.world + "/screen.png")).width, 1024);
    EXPECT_EQ(WorldFolder_readFile(bench.world + "/history.block"), "#10\r\n");
    std::ofstream(bench.world + "/manual.py") << python << "print(len(png) > 8, watts)\n";
    EXPECT_EQ(run(QUORVEL_PYTHON " " + bench.world + "/manual.py").output, "True []\n");
}

TEST_F(RemoteClients, LxiSendsCommandsAndPrintsReplies) {
    startMeasuring();
    EXPECT_THAT(lxi("scpi", "'*IDN?'").output, StartsWith("QUORVEL-TECHNOLOGIES,8830K,"));
    EXPECT_EQ(lxi("scpi", "'MEAS:AVER?'").output, "25\n");
    EXPECT_EQ(lxi("scpi", "'*IDN?;:MEAS:AVER?;:SYST:VERS?'").output.substr(0, 21),
              "QUORVEL-TECHNOLOGIES,");
    EXPECT_EQ(lxi("scpi", "'SYST:PULS ON'").output, "");
    EXPECT_EQ(lxi("scpi", "'SYST:PULS?'").output, "1\n");
}

TEST_F(RemoteClients, LxiBenchmarksTwentyTimesInARow) {
    startMeasuring();
    const ProgramUse before = Bench_programUse(bench);
    for (int round = 0; round < 20; ++round) {
        const Outcome outcome = lxi("benchmark", "--count 100");
        ASSERT_EQ(outcome.status, 0) << outcome.output;
        ASSERT_THAT(outcome.output, HasSubstr("requests/second")) << round;
    }
    ScpiClient client(bench);
    EXPECT_EQ(client.ask("*OPC?"), "1");
    const auto isAsBefore = [&] {
        const ProgramUse after = Bench_programUse(bench);
        return after.threads <= before.threads &&
               after.descriptors <= before.descriptors + 1; // this client's
    };
    EXPECT_TRUE(Bench_waitUntil(isAsBefore, mirrorLimit_ms));
}

TEST_F(RemoteClients, PyVisaQueriesWritesAndMeetsErrors) {
    startMeasuring();
    const Outcome outcome =
        run(QUORVEL_PYTHON " " QUORVEL_SYSTEM_TESTS "/pyvisa_session.py 127.0.0.1 " + port());
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "identity: QUORVEL-TECHNOLOGIES 8830K\n"
                              "power: 25.0\n"
                              "pulse mode: [1]\n"
                              "a hundred replies: 100\n"
                              "failed query: VI_ERROR_TMO\n"
                              "error: -220,\"Parameter error;The channel number is not valid\"\n"
                              "queue: 0,\"No error\"\n");
}

TEST_F(RemoteClients, ThePyMeasureInstrumentReadsEveryValue) {
    start({.prepare = [](const std::string& world) {
        WorldFolder_write(world, instrumentFile::settings, "displayGraph 1\n");
    }});
    ASSERT_TRUE(Bench_do(bench, "plug usb1 3162 fwd=100 rfl=1 serial=77012 period=1ms width=250us "
                                "temp=36.5"));
    ASSERT_TRUE(chooseChannel(1));
    ASSERT_TRUE(Bench_waitUntil([this] { return ScpiClient(bench).ask("MEAS:AVER?") == "100"; },
                                mirrorLimit_ms));
    const Outcome outcome =
        run(QUORVEL_PYTHON " " QUORVEL_SYSTEM_TESTS "/pymeasure_session.py " QUORVEL_EXAMPLES
                           " 127.0.0.1 " +
            port());
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "");
}

TEST_F(RemoteClients, NcIsAnsweredBeforeItHangsUp) {
    startMeasuring();
    EXPECT_EQ(nc(R"(printf 'MEAS:AVER?\n')").output, "25\n");
    EXPECT_EQ(nc(R"(printf 'MEAS:AVER?\r\n*TST?\r\nSYST:VERS?\n')").output, "25\n0\n1999.0\n");
    const Outcome burst = nc("yes '*OPC?' | head -n 1000");
    EXPECT_EQ(burst.output.size(), 2000U) << "1000 replies of two bytes";
    EXPECT_EQ(nc(R"(printf '*OPC?')").output, "") << "half a command is discarded";
}

TEST_F(RemoteClients, ATerminalAt9600BaudTypesLineByLine) {
    startMeasuring();
    const std::string tool =
        std::filesystem::read_symlink("/proc/self/exe").parent_path() / "quorvel-bench";
    // One line, then its reply, as a person types.
    const std::string session = R"(bash -c '
        coproc meter { "$0" --world "$1" terminal; }
        for line in SYST:COMM:RS232:BAUD? "*TST?" "MEAS:AVER?;:SYST:VERS?" "FOO;:SYST:ERR?"; do
            echo "$line" >&"${meter[1]}"
            read -r -t 10 reply <&"${meter[0]}" && echo "$reply"
        done' )";
    EXPECT_EQ(run(session + tool + " " + bench.world).output,
              "9600\n0\n25;1999.0\n-113,\"Undefined header;FOO;\"\n");
}

TEST_F(RemoteClients, AHundredThatHangUpWithoutReadingLeaveNothingBehind) {
    startMeasuring();
    std::string burst;
    for (int query = 0; query < 200; ++query) {
        burst += query % 2 == 0 ? "*IDN?\n" : "MEAS:AVER?\n";
    }
    burst.pop_back();
    const ProgramUse before = Bench_programUse(bench);
    for (int number = 0; number < 100; ++number) {
        ScpiClient client(bench);
        // Some hang up before they are served at all; with a backlog of one, the next client may
        // then have to knock again.
        if (number % 20 != 0) {
            ASSERT_EQ(client.ask("*TST?"), "0") << number;
        }
        ASSERT_TRUE(client.send(burst)) << number;
    }
    EXPECT_EQ(ScpiClient(bench).ask("*TST?"), "0");
    const auto isAsBefore = [&] {
        const ProgramUse after = Bench_programUse(bench);
        return after.threads <= before.threads && after.descriptors <= before.descriptors;
    };
    EXPECT_TRUE(Bench_waitUntil(isAsBefore, mirrorLimit_ms));
    // Nothing is waited for: a busy machine may hold up one answer, but not every one.
    const auto isQuick = [&] {
        const Stopwatch watch;
        EXPECT_EQ(ScpiClient(bench).ask("*TST?"), "0");
        return static_cast<bool>(within(watch, 500));
    };
    EXPECT_TRUE(Bench_waitUntil(isQuick, screenLimit_ms));
    expectSameMemory(before, Bench_programUse(bench));
}

} // namespace

TEST_F(RemoteClients, OneThatHasVanishedWithoutAWordMakesRoomForTheNext) {
    start();
    ScpiClient first(bench);
    ASSERT_EQ(first.ask("*OPC?"), "1");
    if (!first.vanish()) {
        GTEST_SKIP() << "a connection can be put away by root only";
    }
    ScpiClient second(bench);
    // Ten seconds of silence, then a question that nobody answers.
    EXPECT_TRUE(Bench_waitUntil([&] { return second.ask("*OPC?") == "1"; }, 30000));
}

TEST_F(RemoteClients, OneThatIsSilentButThereKeepsItsConnectionWhileAnotherWaits) {
    start();
    ScpiClient first(bench);
    ASSERT_EQ(first.ask("*OPC?"), "1");
    ScpiClient second(bench);
    const Stopwatch watch;
    constexpr double askedTwice_ms = 26000; // after 10 s, and again after another 4 + 10 s
    while (watch.elapsed_ms() < askedTwice_ms) {
        ASSERT_EQ(second.ask("*OPC?"), "") << "one client is served at a time";
    }
    EXPECT_EQ(first.ask("*OPC?"), "1");
}
