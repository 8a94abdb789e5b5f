#include "FleetOptions.h"

#include "FleetText.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>

namespace {

constexpr int64_t shortestInterval_ms = 10;

/// The texts as they were typed.
struct LogTexts {
    std::vector<std::string> hosts;
    std::string every = "1s";
    std::string poll;
    std::string duration;
};

[[noreturn]] void refuse(const std::string& why) {
    throw CLI::ValidationError(why);
}

int64_t duration(const char* option, const std::string& text) {
    const std::optional<int64_t> time_ms = FleetText_parseDuration(text);
    if (!time_ms) {
        refuse(std::string(option) + ": '" + text +
               "' is no time such as 100ms, 10s, 5min, 1h or 7d");
    }
    return *time_ms;
}

int64_t interval(const char* option, const std::string& text) {
    const int64_t time_ms = duration(option, text);
    if (time_ms < shortestInterval_ms) {
        refuse(std::string(option) + ": the shortest interval is 10ms");
    }
    return time_ms;
}

MeterAddress address(const std::string& text) {
    const std::optional<MeterAddress> parsed = MeterAddress_parse(text);
    if (!parsed) {
        refuse("'" + text + "' is no address such as meter.local, 10.0.0.5:5025 or [fe80::1%eth0]");
    }
    return *parsed;
}

void readLog(const LogTexts& texts, LogOptions& options) {
    for (const std::string& host : texts.hosts) {
        options.meters.push_back(address(host));
        if (std::ranges::count(options.meters, options.meters.back()) > 1) {
            refuse(host + " is given twice");
        }
    }
    options.every_ms = interval("--every", texts.every);
    options.poll_ms = texts.poll.empty() ? options.every_ms : interval("--poll", texts.poll);
    if (options.poll_ms > options.every_ms) {
        refuse("--poll is longer than --every");
    }
    options.duration_ms = texts.duration.empty() ? 0 : duration("--for", texts.duration);
}

CLI::App* addDiscover(CLI::App& app, DiscoverOptions& options) {
    CLI::App* discover =
        app.add_subcommand("discover", "List the meters that are announced on the network");
    discover->add_flag("--json", options.isJson, "for programs");
    return discover;
}

CLI::App* addRun(CLI::App& app, ServiceOptions& options) {
    CLI::App* run = app.add_subcommand("run", "Watch meters and keep their readings, as a service");
    run->add_option("FILE", options.file, "configuration, such as fleet.toml")->required();
    run->add_flag("--check", options.isCheck, "only read the file");
    return run;
}

CLI::App* addLog(CLI::App& app, LogTexts& texts, LogOptions& options) {
    CLI::App* log = app.add_subcommand("log", "Write the readings of meters into a file");
    log->add_option("HOST", texts.hosts, "meters: HOST[:PORT], port 5025 if left out")->required();
    log->add_option("--every", texts.every, "time between rows, such as 100ms (default 1s)");
    log->add_option(
        "--poll", texts.poll,
        "poll more often; a row then has mean, least and greatest since the one before");
    log->add_option("--for", texts.duration, "end after this time, such as 1h");
    log->add_option("--to", options.path,
                    "file.csv or file.sqlite, which goes on if it is there (default: CSV on the "
                    "standard output)");
    log->add_flag("--hold", options.holds, "keep the connection between polls 5 s and more apart");
    return log;
}

} // namespace

std::optional<FleetOptions> FleetOptions_parse(int argc, const char* const* argv, int& status) {
    FleetOptions options;
    LogTexts logTexts;
    CLI::App app("Logs and watches Quorvel 8830K power meters over the network", "quorvel-fleet");
    app.set_version_flag("--version", FLEET_VERSION);
    app.require_subcommand(1);
    const CLI::App* discover = addDiscover(app, options.discover);
    const CLI::App* log = addLog(app, logTexts, options.log);
    addRun(app, options.service);
    try {
        app.parse(argc, argv);
        if (log->parsed()) {
            readLog(logTexts, options.log);
        }
        options.command = log->parsed()        ? FleetCommand::log
                          : discover->parsed() ? FleetCommand::discover
                                               : FleetCommand::run;
    } catch (const CLI::Success& end) {
        status = app.exit(end); // prints the help or the version
        return {};
    } catch (const CLI::ParseError& error) {
        fprintf(stderr, "quorvel-fleet: %s\n", error.what());
        status = fleetStatusUsage;
        return {};
    }
    return options;
}
