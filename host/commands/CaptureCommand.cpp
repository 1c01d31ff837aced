// SPDX-License-Identifier: MIT
#include "base/Output.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "traffic/CaptureRun.h"

namespace orvo::host {
namespace {

class CaptureCommand : public Command {
public:
    explicit CaptureCommand(Program& program)
        : Command(program, "capture", "Show what a port receives, or write it as pcapng, until interrupted") {
        const auto output =
            line()
                .text("-w,--write", "OUT", request_.output,
                      "Write the frames to this file, as pcapng; - is standard output, for a pipe (default: "
                      "print a line for each frame, and the report on standard error)")
                .notEmpty();
        line().number("-c,--count", request_.limits.frames, {.least = 1},
                      "End after so many frames written or shown");
        addDurationOption(line(), request_.limits.time, "End after so many seconds");
        line()
            .value(
                "--ring", "N:SIZE",
                [this](const std::string& text) {
                    request_.ring =
                        parsed(FileRing::parse(text), text,
                               "FILES:SIZE with at least 2 files of at least 4096 bytes, such as 10:100M");
                },
                "Write N files of at most SIZE bytes (k, M, G) in turn, named OUT with a number")
            .needs(output);
        addAtOption(line(), request_.atWire);
        line().text("--filter", "EXPR", request_.filter,
                    "Take only frames that match, in libpcap's filter language");
        addTrafficOptions(line(), request_, json_);
        const auto recording = addBoardRecordingOptions(line(), request_.boards);
        addRecordingTimeOption(line(), request_.boards, recording);
    }

    int run() override {
        const auto report = runCapture(request_);
        const bool isAccounted = printLedger(report.account.ledger);
        printReport(json_ ? jsonText(captureJson(report)) : captureText(report),
                    request_.output.empty() || request_.output == FrameOutput::standardOutput);
        if (report.result.failure) std::rethrow_exception(report.result.failure);
        return isAccounted ? Done : DifferencesFound;
    }

private:
    CaptureRequest request_;
    bool json_ = false;
};

} // namespace

std::unique_ptr<Command> makeCaptureCommand(Program& program) {
    return std::make_unique<CaptureCommand>(program);
}

} // namespace orvo::host
