// SPDX-License-Identifier: MIT
#include "base/Output.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "traffic/EventRun.h"

namespace orvo::host {
namespace {

constexpr double shortestSeconds = 0.001;
constexpr double longestSeconds = 1e9; // 31 years

class EventsCommand : public Command {
public:
    explicit EventsCommand(Program& program)
        : Command(program, "events", "Print a port's events as they come, until interrupted") {
        line().number("-c,--count", request_.events, {.least = 1}, "End after so many events");
        line().value(
            "-d,--duration", "S",
            [this](const std::string& text) {
                request_.time = secondsFrom(text, shortestSeconds, longestSeconds);
            },
            "End after so many seconds");
        addTrafficOptions(line(), request_, json_, "Print a JSON document a line for each event");
    }

    int run() override {
        const auto account = runEvents(request_, [this](const PortEvent& event) {
            print(json_ ? eventJsonLine(event) : eventText(event) + "\n");
        });
        return printLedger(account.ledger) ? Done : DifferencesFound;
    }

private:
    EventRequest request_;
    bool json_ = false;
};

} // namespace

std::unique_ptr<Command> makeEventsCommand(Program& program) {
    return std::make_unique<EventsCommand>(program);
}

} // namespace orvo::host
