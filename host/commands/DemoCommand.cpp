// SPDX-License-Identifier: MIT
// A camera, the port and a client, all by themselves: a lab whose two ends are Aravis' software camera and
// client.
#include "base/ChildProcess.h"
#include "base/Failure.h"
#include "base/Output.h"
#include "base/OutputFile.h"
#include "commands/CommonOptions.h"
#include "commands/HostProgram.h"
#include "device/Installation.h"
#include "frames/FrameReport.h"
#include "frames/streams/StreamText.h"
#include "lab/Lab.h"
#include "lab/ProcessNamespace.h"
#include "traffic/BridgeReport.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace orvo::host {
namespace {

constexpr auto python = "/usr/bin/python3"; // Debian's, which has Aravis' binding
constexpr double rates = 2;                 // at which the client acquires, for half of the time each

std::string quotedForShell(const std::string& word) {
    std::string text = "'";
    for (const char c : word) text += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return text + "'";
}

/// Runs one end ahead of other programs, as hardware does not wait for a processor, where that is allowed.
std::string commandOf(const std::string& script, const std::string& arguments) {
    const auto end = fmt::format("{} {} {}", python, quotedForShell(script), arguments);
    return fmt::format("if chrt --rr 1 true 2>/dev/null; then exec chrt --rr 1 {}; fi; exec {}", end, end);
}

void requireAravis() {
    const auto probe = std::string(python) + " -c \"import gi; gi.require_version('Aravis', '0.8'); "
                                             "from gi.repository import Aravis\" >/dev/null 2>&1";
    if (std::system(probe.c_str()) != 0)
        throw Failure("demo needs Aravis' software camera and client; install them with "
                      "'sudo apt-get install gir1.2-aravis-0.8 python3-gi'");
}

std::uint64_t packetsOf(const StreamsReport& streams) {
    std::uint64_t packets = 0;
    for (const auto& stream : streams.streams) packets += stream.figures.packets;
    return packets;
}

/// The streams, and how many frames each of those on the way counted.
std::string demoText(const BridgeReport& report) {
    auto text = streamsSection(report.streams, report.troubles);
    const auto packets = packetsOf(report.streams), taken = report.totals.takenFromPort();
    const auto numberOr = [](const std::optional<std::uint64_t>& number) {
        return number ? grouped(*number) : std::string("-");
    };
    std::vector<std::vector<std::string>> rows = {
        {"COUNTED BY", "FRAMES", "DAMAGED", "WITHOUT ROOM"},
        {"streams' account", fmt::format("{} and {} others", grouped(packets), grouped(taken - packets)), "-",
         "-"}};
    for (const auto& statistics : report.account.statistics) {
        rows.push_back({"plug-in", numberOr(statistics.frames("Recv")), "-", "-"});
        rows.push_back({"board", numberOr(statistics.figure("Hardware Packet Count")),
                        numberOr(report.troubles.receiveErrors), numberOr(report.troubles.overflowFrames)});
    }
    return text + "\n" + table(rows);
}

class DemoCommand : public Command {
public:
    explicit DemoCommand(Program& program)
        : Command(program, "demo", "Send images from a software camera through a port to a client (root)") {
        line()
            .text("-w,--write", "FILE", file_, "Write the first image as PNG (default camera.png)")
            .notEmpty();
        line().number("-d,--duration", seconds_, {.least = 2, .most = 3600},
                      "Acquire for so many seconds, half of them at each of two rates (default 10)");
        addAddressOptions(line(), lab_.port);
        addRootOption(line(), lab_.root);
    }

    int run() override {
        if (geteuid() != 0)
            throw Failure("demo needs root, for networks of its own; run it with 'sudo orvo-gige demo'");
        requireAravis();
        const auto script =
            (Installation(lab_.root).root() / "share" / "orvo-gige" / "demo-camera.py").string();
        if (access(script.c_str(), R_OK) != 0)
            throw Failure("demo lacks its file " + quoted(script) + "; install the program again");
        ReplacedFile image(file_);
        lab_.cameraAddress = *NetworkAddress::parse("192.168.77.1/24");
        lab_.hostAddress = *NetworkAddress::parse("192.168.77.2/24");
        lab_.camera = commandOf(script, "send");
        const auto received = std::filesystem::absolute(image.temporaryPath()).string();
        const auto client =
            commandOf(script, fmt::format("receive {} {}", static_cast<double>(seconds_) / rates,
                                          quotedForShell(received)));
        lab_.command = {"/bin/sh", "-c", client};
        lab_.report = demoText;
        const int exitCode = runInProcessNamespace([this] { return Lab(lab_).run(); });
        takeImage(image);
        return exitCode;
    }

private:
    void takeImage(ReplacedFile& image) {
        struct stat status {};
        if (stat(image.temporaryPath().c_str(), &status) != 0 || status.st_size == 0) return;
        image.putInPlace();
        print(reportLine("image", file_ + ", received through the port"));
    }

    LabOptions lab_;
    std::string file_ = "camera.png";
    std::uint64_t seconds_ = 10;
};

} // namespace

std::unique_ptr<Command> makeDemoCommand(Program& program) {
    return std::make_unique<DemoCommand>(program);
}

} // namespace orvo::host
