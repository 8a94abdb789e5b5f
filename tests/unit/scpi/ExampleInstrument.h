// An instrument that uses everything of the library: the far end of the tests.
#pragma once

#include "scpi/scpi.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// An error as it stands in the queue.
struct QueuedError {
    int code;
    std::optional<std::string_view> info;
};

// A context with a fresh queue, and all that its callbacks were given.
struct ExampleInstrument {
    explicit ExampleInstrument(int queueSize = 17, const scpi_unit_def_t* units = scpi_units_def,
                               const scpi_command_t* commands = nullptr, size_t bufferSize = 256);
    ~ExampleInstrument();
    ExampleInstrument(const ExampleInstrument&) = delete;
    ExampleInstrument& operator=(const ExampleInstrument&) = delete;

    // One SCPI_Input call with exactly these bytes, none for a forced end.
    bool input(std::string_view bytes);

    // Takes the queue's errors out as "code" or "code <info>", joined by ", ".
    std::string takeErrors();

    // The callbacks in order, "error(-113) control(1,68) ...", with write and flush or without.
    std::string callbacks(bool withOutput) const;

    scpi_t* context() {
        return &scpi;
    }

    scpi_t scpi{};
    scpi_interface_t interface {};
    std::string output;
    std::vector<std::string> calls;

private:
    std::unique_ptr<char[]> buffer;
    std::vector<scpi_error_t> queue;
};

// The form in which takeErrors gives errors.
std::string describeErrors(const std::vector<QueuedError>& errors);

// The instrument's command table.
const scpi_command_t* exampleCommands();
