// SPDX-License-Identifier: MIT
#include "base/Output.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "frames/CaptureReader.h"
#include "frames/streams/StreamText.h"
#include "traffic/StreamRun.h"

#include <cstdio>

namespace orvo::host {
namespace {

class StreamsCommand : public Command {
public:
    explicit StreamsCommand(Program& program)
        : Command(program, "streams",
                  "Account for the images of cameras: in a capture, or at a port until interrupted") {
        line()
            .text("FILE", "", request_.capture,
                  "Capture to read: pcap or pcapng, also gzip-compressed; - is standard input (default: "
                  "take frames from the port)")
            .notEmpty();
        line().flag("--images", showImages_, "Print a line for each image that is not complete, as it ends");
        line().number("-c,--count", request_.limits.frames, {.least = 1},
                      "End after so many frames of any kind at the port");
        addDurationOption(line(), request_.limits.time, "End after so many seconds at the port");
        addAtOption(line(), request_.atWire);
        addTrafficOptions(line(), request_, json_);
    }

    int run() override {
        if (!request_.capture.empty())
            line().refuseOthers({"--images", "--json"}, "for a port, not for a capture");
        StreamAccount::Take take;
        if (showImages_) take = showImage;
        const auto report = runStreams(request_, take);
        const bool isAccounted = !report.account || printLedger(report.account->ledger);
        const auto text = json_ ? jsonText(streamRunJson(report)) : streamRunText(report);
        if (showImages_)
            std::fputs(text.c_str(), stderr); // standard output has the images
        else
            printReport(text);
        return isAccounted && isReadWhole(report.captureFault) ? Done : DifferencesFound;
    }

private:
    static void showImage(const StreamEnds& ends, const EndedImage& image) {
        if (!image.isWhole()) print(streamEndsText(ends) + " " + endedImageText(image) + "\n");
    }

    StreamRequest request_;
    bool showImages_ = false;
    bool json_ = false;
};

} // namespace

std::unique_ptr<Command> makeStreamsCommand(Program& program) {
    return std::make_unique<StreamsCommand>(program);
}

} // namespace orvo::host
