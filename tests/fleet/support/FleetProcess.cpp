#include "FleetProcess.h"

#include "Bench.h"
#include "ChildProcess.h"

#include <arpa/inet.h>
#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr uint32_t patience_ms = 30000;

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

std::string programFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

/// A network of 250 addresses for this process and its n-th crowd.
std::string ownNetwork() {
    static unsigned crowds = 0;
    const auto number = static_cast<unsigned>(getpid()) * 4 + crowds++ % 4;
    return "127." + std::to_string(16 + (number >> 8U) % 220) + "." +
           std::to_string(number & 255U) + ".";
}

std::vector<std::string> crowdWords(const std::string& base, size_t count,
                                    std::vector<std::string> options) {
    options.insert(options.begin(),
                   {"quorvel-bench", "crowd", std::to_string(count), "--base", base + "1"});
    return options;
}

} // namespace

FleetProcess::FleetProcess(std::vector<std::string> words) {
    if (!words[0].starts_with('/')) {
        words[0] = programFolder() + "/" + words[0];
    }
    const int output = open(folder.file("out").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    child = ChildProcess_start(words, {}, {.output = output, .errorFile = folder.file("errors")});
    close(output);
    if (child < 1) {
        throw std::runtime_error("cannot start " + words[0]);
    }
}

FleetProcess::~FleetProcess() {
    if (child > 0) {
        signal(SIGKILL);
        end();
    }
}

std::string FleetProcess::output() const {
    return TestFolder_read(folder.file("out"));
}

std::string FleetProcess::errors() const {
    return TestFolder_read(folder.file("errors"));
}

void FleetProcess::signal(int number) const {
    kill(child, number);
}

int FleetProcess::end() {
    int ended = 0;
    rusage usage{};
    if (child > 0 && wait4(child, &ended, 0, &usage) == child) {
        status = WIFEXITED(ended) ? WEXITSTATUS(ended) : -WTERMSIG(ended);
        used = {seconds(usage.ru_utime) + seconds(usage.ru_stime),
                static_cast<double>(usage.ru_maxrss)};
    }
    child = -1;
    return status;
}

FleetRun FleetProcess_run(const std::vector<std::string>& words) {
    FleetProcess process(words);
    const int status = process.end();
    return {status, process.output(), process.errors()};
}

TestCrowd::TestCrowd(size_t count, std::vector<std::string> options)
    : base(ownNetwork()), crowd(crowdWords(base, count, std::move(options))) {
    if (!FleetTest_waitUntil(
            [this] { return crowd.output().find("Ctrl-C") != std::string::npos; })) {
        throw std::runtime_error("the crowd does not start: " + crowd.errors());
    }
}

std::string TestCrowd::address(size_t meter) const {
    // A large crowd has more addresses than a last number can tell.
    in_addr first{};
    inet_pton(AF_INET, (base + "0").c_str(), &first);
    const in_addr address{htonl(ntohl(first.s_addr) + static_cast<uint32_t>(meter))};
    std::array<char, INET_ADDRSTRLEN> text{};
    return inet_ntop(AF_INET, &address, text.data(), text.size());
}

bool FleetTest_waitUntil(const std::function<bool()>& condition) {
    return Bench_waitUntil(condition, patience_ms);
}

std::vector<std::string> FleetTest_lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> FleetTest_fields(const std::string& row) {
    std::vector<std::string> fields(1);
    for (const char c : row) {
        if (c == ',') {
            fields.emplace_back();
        } else {
            fields.back() += c;
        }
    }
    return fields;
}
