// The order of a replay: what can be refused is refused before the board is touched, and the output before
// that.
#include "commands/ReplayCommand.h"

#include "app/Failure.h"
#include "app/Output.h"
#include "app/Progress.h"
#include "app/Signals.h"
#include "board/Board.h"
#include "board/LinkWait.h"
#include "board/Port.h"
#include "board/Session.h"
#include "commands/ReplayReport.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <memory>

namespace orvo::host {
namespace {

void refuseSameFile(const ReplayOptions& options) {
    std::error_code ignored; // an output that is not there yet is another file
    if (std::filesystem::equivalent(options.input, options.output, ignored))
        throw Failure(quoted(options.output) +
                      " is the capture that is to be sent; name another file with --write");
}

/// Reads the capture through, so that a damaged one is refused before anything is sent or replaced. Returns
/// its number of frames; nothing for a pipe, which can be read only once.
std::optional<std::uint64_t> checkCapture(const CaptureReader& capture, const std::string& path) {
    if (!capture.isRegularFile()) return std::nullopt;
    const Progress progress([&] { return "checking " + path; });
    CaptureReader reader(path);
    std::uint64_t frames = 0;
    for (CapturedFrame frame; reader.next(frame); ++frames) throwIfEndRequested();
    return frames;
}

std::unique_ptr<PcapngWriter> openOutput(const ReplayOptions& options, PortAddress receivingPort) {
    if (options.output.empty()) return nullptr;
    return std::make_unique<PcapngWriter>(options.output, "orvo-gige " + receivingPort.text(),
                                          "frames received at port " + std::to_string(receivingPort.port) +
                                              " of board " + std::to_string(receivingPort.board));
}

PortAddress receivingPortOf(const ReplayOptions& options, const Session& session) {
    if (options.receivingPort) return *options.receivingPort;
    const auto wire = session.simulator ? session.simulator->wire(options.port.address) : std::string();
    const std::string prefix = "port:";
    if (!wire.starts_with(prefix)) return options.port.address;
    return PortAddress::parse(wire.substr(prefix.size())).value_or(options.port.address);
}

/// The port that sends and the port that receives, which may be the same.
class Ports {
public:
    Ports(const ReplayOptions& options, PortAddress receivingAddress, const Session& session)
        : log_(session.installation), plugin_(session.installation),
          sender_(plugin_, log_, options.port.address, !options.port.noReset) {
        if (receivingAddress != options.port.address)
            receiver_.emplace(plugin_, log_, receivingAddress, !options.port.noReset);
    }

    Port& sender() { return sender_; }
    Port& receiver() { return receiver_ ? *receiver_ : sender_; }

    void open(const Session& session) {
        const Progress progress([] {
            return std::string(endRequested() == 0 ? "preparing the ports (resetting a board takes about 5 s)"
                                                   : "ending as soon as the board's reset is over");
        });
        sender_.open();
        throwIfEndRequested();
        if (receiver_) receiver_->open();
        throwIfEndRequested();
        waitForLink(session, sender_.address());
        if (receiver_) waitForLink(session, receiver_->address());
    }

    std::vector<ReplayReport::Statistics> finish() {
        std::vector<ReplayReport::Statistics> statistics;
        statistics.push_back({sender_.address(), sender_.finish()});
        if (receiver_) statistics.push_back({receiver_->address(), receiver_->finish()});
        return statistics;
    }

private:
    const PluginLog log_;
    Plugin plugin_;
    Port sender_;
    std::optional<Port> receiver_; // only when it is another port
};

std::string progressText(const Replay& replay, std::optional<std::uint64_t> frames) {
    return fmt::format("{}{} frames sent, {} received", grouped(replay.sentFrames()),
                       frames ? " of " + grouped(*frames) : "", grouped(replay.receivedFrames()));
}

} // namespace

ReplayCommand::ReplayCommand(CLI::App& program)
    : Command(program, "replay",
              "Send every frame of a capture through a port, and receive what comes back") {
    line()
        .add_option("IN", options_.input, "Capture to send, pcap or pcapng, of Ethernet frames")
        ->required()
        ->type_name("");
    line()
        .add_option("--write", options_.output, "Write what the port receives to this file, as pcapng")
        ->type_name("OUT");
    line().add_flag("--verify", options_.verify, "Demand that every frame comes back identical and in order");
    options_.port.addTo(line());
    line()
        .add_option_function<std::string>(
            "--receive",
            [this](const std::string& text) {
                options_.receivingPort = PortAddress::parse(text);
                if (!options_.receivingPort)
                    throw CLI::ValidationError("--receive",
                                               "'" + text + "' is not of the form BOARD/PORT, such as 0/1");
            },
            "Port that receives (default: the one that the simulated wire leads to, else the sending one)")
        ->type_name("BOARD/PORT");
    options_.installation.addTo(line());
    line().add_flag("--json", options_.json, "Print the report as JSON");
}

int ReplayCommand::run() {
    CaptureReader capture(options_.input);
    refuseSameFile(options_);
    const auto frames = checkCapture(capture, options_.input);
    const auto address = options_.port.address;
    const Session session(options_.installation, address.board);
    const auto receivingPort = receivingPortOf(options_, session);
    const auto output = openOutput(options_, receivingPort);
    requireFrameRegisters(session.libraries, address.board, address.port);
    Ports ports(options_, receivingPort, session);
    ports.open(session);

    if (output) output->begin();
    Verifier verifier;
    ReplayReport report{.options = options_, .sendingPort = address, .receivingPort = receivingPort};
    {
        Replay replay(ports.sender().interface(), ports.receiver().interface(), output.get(),
                      options_.verify ? &verifier : nullptr);
        const Progress progress([&] { return progressText(replay, frames); });
        report.result = replay.run(capture);
    }
    report.interrupted = endRequested() != 0;
    if (options_.verify) report.verification = verifier.finish();
    if (output) report.writtenFrames = output->close(report.lostFrames());
    report.statistics = ports.finish();
    if (session.simulator) session.simulator->flushWires();
    options_.json ? print(jsonOf(report)) : print(textOf(report));
    throwIfEndRequested();
    return report.passed() ? Done : DifferencesFound;
}

} // namespace orvo::host
