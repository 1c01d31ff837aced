// SPDX-License-Identifier: MIT
#include "base/Output.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "traffic/ReplayRun.h"

#include <fmt/format.h>

namespace orvo::host {
namespace {

Pace paceFrom(const std::string& text) {
    if (const auto pace = Pace::parse(text)) return *pace;
    throw WrongValue(
        fmt::format("{} is not a pace: give recorded, max, a factor such as 2x ({:.6f}x to {:.0f}x), or "
                    "frames per second such as 1000 ({} to {:.0f})",
                    quoted(text), Pace::leastFactor, Pace::mostFactor, Pace::leastFramesPerSecond,
                    Pace::mostFramesPerSecond));
}

class ReplayCommand : public Command {
public:
    explicit ReplayCommand(Program& program)
        : Command(program, "replay",
                  "Send every frame of a capture through a port, and receive what comes back") {
        line()
            .text("IN", "", request_.input,
                  "Capture to send: pcap or pcapng, also gzip-compressed, with Ethernet frames; - is "
                  "standard input")
            .required();
        line()
            .text("-w,--write", "OUT", request_.output,
                  "Write what the port receives to this file, as pcapng; - is standard output")
            .notEmpty();
        line().flag("--verify", request_.verify,
                    "Demand that every frame is sent and comes back identical and in order");
        line().value(
            "--pace", "recorded|Nx|PPS|max",
            [this](const std::string& text) { request_.sending.pace = paceFrom(text); },
            "Send as recorded, N times as fast (2x, 0.5x), at a rate in frames per second (1000), or as fast "
            "as the receiving side keeps up (max, default)");
        line().number("--loop", request_.times, {},
                      "Send the capture N times; 0: until interrupted (default 1)");
        line().value(
            "--receive", "BOARD/PORT",
            [this](const std::string& text) {
                request_.receivingPort = parsed(PortAddress::parse(text), text, "BOARD/PORT, such as 0/1");
            },
            "Port that receives (default: the one that the simulated wire leads to, else the sending one)");
        line().choice(
            "--fcs", {"board", "host"}, [this](const std::string& text) { fcsMaker_ = text; },
            "Who makes the frame check sequences: the board (default), or this program");
        line().number("--bad-fcs", request_.sending.spoiledEvery, {.least = 1},
                      "Send every Nth frame with a wrong check sequence; implies --fcs host");
        addTrafficOptions(line(), request_, json_);
        addTimeOption(line(), request_.boards);
        addBoardRecordingOptions(line(), request_.boards);
    }

    int run() override {
        const bool spoils = request_.sending.spoiledEvery != 0;
        if (spoils && fcsMaker_ == "board")
            throw UsageFailure(
                "the board makes right check sequences only; leave --fcs board or --bad-fcs out");
        request_.hostMakesFcs = spoils || fcsMaker_ == "host";
        const auto report = runReplay(request_);
        const bool isAccounted = printLedger(report.account.ledger);
        printReport(json_ ? jsonText(replayJson(report)) : replayText(report), request_.writesToOutput());
        if (report.interrupted) throw Interruption();
        const bool isWhole = isReadWhole(report.captureFault);
        return report.passed() && isAccounted && isWhole ? Done : DifferencesFound;
    }

private:
    ReplayRequest request_;
    std::string fcsMaker_;
    bool json_ = false;
};

} // namespace

std::unique_ptr<Command> makeReplayCommand(Program& program) {
    return std::make_unique<ReplayCommand>(program);
}

} // namespace orvo::host
