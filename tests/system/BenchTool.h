#ifndef TESTS_SYSTEM_BENCH_TOOL_H
#define TESTS_SYSTEM_BENCH_TOOL_H

#include "Bench.h"
#include "BenchText.h"
#include "ChildProcess.h"
#include "WorldFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <pty.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

constexpr uint32_t toolLimit_ms = 60000;

/// What a command of the tool has printed.
struct Answer {
    int status;
    std::string text;
    std::string errors;
};

/// `quorvel-bench terminal` in a terminal of its own, with a person's fingers on the keys.
class TypedTool {
public:
    TypedTool(const std::string& tool, const std::string& runtimeFolder)
        : child(forkpty(&keys, nullptr, nullptr, nullptr)) {
        if (child == 0) {
            unsetenv("LD_PRELOAD");
            unsetenv("QUORVEL_BENCH");
            setenv("XDG_RUNTIME_DIR", runtimeFolder.c_str(), 1);
            execl(tool.c_str(), tool.c_str(), "terminal", nullptr);
            _exit(127);
        }
        fcntl(keys, F_SETFD, FD_CLOEXEC);
    }
    ~TypedTool() {
        hangUp();
        exitStatus();
    }
    TypedTool(const TypedTool&) = delete;
    TypedTool& operator=(const TypedTool&) = delete;

    void type(const std::string& text) const {
        EXPECT_EQ(write(keys, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    /// Waits until the text has appeared behind what was looked for last.
    bool shows(const std::string& text) {
        while (screen.find(text) == std::string::npos) {
            pollfd input{keys, POLLIN, 0};
            std::array<char, 1024> piece{};
            const bool isReady = poll(&input, 1, toolLimit_ms) > 0;
            const ssize_t count = isReady ? read(keys, piece.data(), piece.size()) : 0;
            if (count <= 0) {
                return false;
            }
            screen.append(piece.data(), static_cast<size_t>(count));
        }
        screen.erase(0, screen.find(text) + text.size());
        return true;
    }
    bool hasMode(tcflag_t mode) const {
        termios settings{};
        return tcgetattr(keys, &settings) == 0 && (settings.c_lflag & mode) != 0;
    }
    void hangUp() {
        if (keys >= 0) {
            close(keys);
            keys = -1;
        }
    }
    /// Exit status, 128 and the number for a signal, nothing within the limit.
    std::optional<int> exitStatus() {
        int status = 0;
        if (child > 0 && Bench_waitUntil([&] { return waitpid(child, &status, WNOHANG) == child; },
                                         toolLimit_ms)) {
            child = 0;
            ended = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
        return ended;
    }

private:
    int keys = -1;
    pid_t child;
    std::string screen;
    std::optional<int> ended;
};

/// What a web server of this machine answers.
inline std::string fetch(uint16_t port, const std::string& path) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    const std::string request = "GET " + path + " HTTP/1.0\r\n\r\n";
    std::string answer;
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        send(fd, request.data(), request.size(), MSG_NOSIGNAL) > 0) {
        std::array<char, 4096> buffer{};
        for (ssize_t count = 0; (count = recv(fd, buffer.data(), buffer.size(), 0)) > 0;) {
            answer.append(buffer.data(), static_cast<size_t>(count));
        }
    }
    close(fd);
    return answer;
}

/// Has a folder of its own for running benches, so that it meets no bench of the developer's.
class BenchTool : public testing::Test {
protected:
    void SetUp() override {
        folder = WorldFolder_makeTemporary("quorvel-tool");
        ASSERT_NE(folder, "");
        ASSERT_EQ(pipe2(output.data(), O_CLOEXEC | O_NONBLOCK), 0);
    }

    void TearDown() override {
        if (running > 0) {
            kill(running, SIGTERM);
            waitForEnd(running);
        }
        close(output[0]);
        close(output[1]);
        WorldFolder_remove(folder);
    }

    static std::string toolPath() {
        return std::filesystem::read_symlink("/proc/self/exe").parent_path() / "quorvel-bench";
    }

    pid_t startTool(std::vector<std::string> words, const std::string& display = "") {
        words.insert(words.begin(), toolPath());
        return startProgram(words, display);
    }

    pid_t startProgram(const std::vector<std::string>& words, const std::string& display = "") {
        WorldFolder_remove(errorFile());
        return ChildProcess_start(
            words,
            {{"LD_PRELOAD", ""},
             {"QUORVEL_BENCH", ""},
             {"WAYLAND_DISPLAY", ""},
             {"DISPLAY", display},
             {"XDG_RUNTIME_DIR", folder}},
            {.output = output[1], .signalAtOurEnd = SIGTERM, .errorFile = errorFile()});
    }

    static int waitForEnd(pid_t child) {
        int status = 0;
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    Answer type(const std::string& line) {
        std::vector<std::string> words;
        for (const std::string_view word : BenchText_words(line)) {
            words.emplace_back(word);
        }
        return answerOf(startTool(words));
    }

    /// A text piped into the command port's terminal.
    Answer pipe(const std::string& text) {
        return answerOf(
            startProgram({"/bin/sh", "-c", R"(printf %s "$0" | "$1" terminal)", text, toolPath()}));
    }

    Answer answerOf(pid_t child) {
        const int status = waitForEnd(child);
        std::string text;
        std::array<char, 4096> buffer{};
        for (ssize_t count = 0; (count = read(output[0], buffer.data(), buffer.size())) > 0;) {
            text.append(buffer.data(), static_cast<size_t>(count));
        }
        return {status, text, WorldFolder_readFile(errorFile())};
    }

    /// Starts a bench and waits until it answers.
    void run(std::vector<std::string> words) {
        words.insert(words.begin(), {"run", "--port", "auto"});
        const std::string before = newestWorld();
        running = startTool(words);
        ASSERT_GT(running, 0);
        ASSERT_TRUE(Bench_waitUntil(
            [&] { return !newestWorld().empty() && newestWorld() != before; }, toolLimit_ms))
            << WorldFolder_readFile(errorFile());
        world = newestWorld();
    }

    std::string errorFile() const {
        return folder + "/errors";
    }

    /// World of the bench that was started last; empty when none runs.
    std::string newestWorld() const {
        std::error_code none;
        std::string newest;
        for (const auto& entry :
             std::filesystem::directory_iterator(folder + "/quorvel-bench/running", none)) {
            newest = std::max(newest, entry.path().string());
        }
        return newest.empty() ? newest : std::filesystem::read_symlink(newest, none).string();
    }

    void end(pid_t bench, int signal) {
        ASSERT_EQ(kill(bench, signal), 0);
        waitForEnd(bench);
        running = bench == running ? 0 : running;
    }

    void waitForMainWindow() {
        const auto isListed = [this] {
            return type("screen").text.find("mainWindow8830K") != std::string::npos;
        };
        ASSERT_TRUE(Bench_waitUntil(isListed, toolLimit_ms));
    }

    void write(const std::string& name, const std::string& content) const {
        ASSERT_TRUE(WorldFolder_writeFile(folder + "/" + name, content));
    }

    pid_t programOf(const std::string& folderOfWorld) const {
        return static_cast<pid_t>(
            strtol(WorldFolder_readFile(folderOfWorld + "/program.pid").c_str(), nullptr, 10));
    }

    std::string folder;
    std::string world;
    std::array<int, 2> output{-1, -1};
    pid_t running = 0;
};

#endif
