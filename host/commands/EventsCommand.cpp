// SPDX-License-Identifier: MIT
#include "base/Output.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "traffic/EventRun.h"

namespace orvo::host {
namespace {

class EventsCommand : public Command {
public:
    explicit EventsCommand(Program& program)
        : Command(program, "events", "Print a port's events as they come, until interrupted") {
        line().number("-c,--count", request_.events, {.least = 1}, "End after so many events");
        addDurationOption(line(), request_.time, "End after so many seconds");
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
