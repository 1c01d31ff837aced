// SPDX-License-Identifier: MIT
#include "commands/ExtcapCall.h"

#include "base/Failure.h"
#include "base/Output.h"
#include "base/OutputFile.h"
#include "cli/CommandLine.h"
#include "device/Board.h"
#include "traffic/CaptureRun.h"

#include <fmt/format.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <span>
#include <string_view>

namespace orvo::host {
namespace {

constexpr const char* programName = "orvo-gige";
constexpr const char* interfacePrefix = "orvo-"; // "orvo-BOARD-PORT"

/// The analyser's question.
struct Call {
    bool interfaces = false, dlts = false, config = false, capture = false;
    std::string interface, fifo, filter;
    CaptureRequest request;
};

/// Nothing when the call asked for help, which has been printed.
std::optional<Call> parse(int argc, const char* const* argv) {
    Program program(programName, "Answers an analyser.");
    auto line = program.options(); // newer analysers may pass options that are not needed here
    Call call;
    std::string version;
    line.flag("--extcap-interfaces", call.interfaces, "List the ports");
    line.flag("--extcap-dlts", call.dlts, "Print a port's link type");
    line.flag("--extcap-config", call.config, "List what can be set for a port");
    line.flag("--capture", call.capture, "Capture at a port");
    line.text("--extcap-interface", "NAME", call.interface, "The port");
    line.text("--extcap-version", "VERSION", version, "The analyser's version").optionalValue();
    line.text("--extcap-capture-filter", "EXPR", call.filter, "Filter to capture with, or to check");
    line.text("--fifo", "PIPE", call.fifo, "Where the capture goes");
    line.flag("--no-reset", call.request.port.noReset, "Leave the board running");
    if (!program.parse(argc, argv, "only Wireshark and tshark use these options")) return std::nullopt;
    return call;
}

std::string interfaceName(unsigned board, unsigned port) {
    return fmt::format("{}{}-{}", interfacePrefix, board, port);
}

PortAddress addressOf(const std::string& interface) {
    std::string text = interface;
    if (text.starts_with(interfacePrefix)) text.erase(0, std::string(interfacePrefix).size());
    std::replace(text.begin(), text.end(), '-', '/');
    if (const auto address = PortAddress::parse(text)) return *address;
    throw UsageFailure("there is no capture interface " + host::quoted(interface) +
                       "; 'tshark -D' lists them");
}

/// Discards standard error while it lives: an analyser takes every line there for a failure.
class QuietErrors {
public:
    QuietErrors() : before_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)) {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDERR_FILENO);
        close(nowhere);
    }
    ~QuietErrors() {
        dup2(before_, STDERR_FILENO);
        close(before_);
    }
    QuietErrors(const QuietErrors&) = delete;
    QuietErrors& operator=(const QuietErrors&) = delete;

private:
    const int before_;
};

int listInterfaces() {
    const QuietErrors onlyFailures;
    auto text = fmt::format("extcap {{version={}}}\n", ORVO_VERSION);
    const BoardAccess access({}, 0);
    for (unsigned index = 0; index < Board::indexLimit; ++index) {
        const auto board = Board::at(access.libraries, index);
        for (unsigned port = 0; board && port < board->gigePorts(); ++port)
            text += fmt::format("interface {{value={}}}{{display=GigE port {} of board {} ({})}}\n",
                                interfaceName(index, port), port, index, board->name());
    }
    print(text);
    return Done;
}

int listOptions() {
    print("arg {number=0}{call=--no-reset}{display=Leave the board running}{type=boolflag}{default=false}"
          "{tooltip=Do not reset the board's GigE hardware first; it must be running}\n");
    return Done;
}

/// The analyser checks a filter while the user types it; a text in the answer is the mistake.
int checkFilter(const std::string& filter) {
    try {
        const FrameFilter compiled(filter);
    } catch (const UsageFailure& error) {
        print(std::string(error.what()) + "\n");
    }
    return Done;
}

/// Opens the pipe first: the analyser waits for that, and the board's reset takes 5 s.
int captureInto(Call& call) {
    if (call.fifo.empty()) throw UsageFailure("--capture needs a pipe to write to; name one with --fifo");
    const int pipe = openToWrite(call.fifo);
    if (pipe < 0 || dup2(pipe, STDOUT_FILENO) < 0)
        throw Failure("cannot write to " + host::quoted(call.fifo) + ": " + systemError(errno) +
                      "; the analyser makes this pipe and reads from it");
    close(pipe);
    call.request.port.address = addressOf(call.interface);
    call.request.output = CaptureOutput::standardOutput;
    call.request.filter = call.filter;
    const QuietErrors onlyFailures;
    const auto report = runCapture(call.request);
    if (report.result.failure) std::rethrow_exception(report.result.failure);
    return Done;
}

} // namespace

bool isExtcapCall(int argc, const char* const* argv) {
    for (const std::string_view argument : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
        if (argument.starts_with("--extcap-") || argument == "--capture") return true;
        if (!argument.starts_with('-') || argument == "--") return false;
    }
    return false;
}

int answerExtcapCall(int argc, const char* const* argv) {
    auto parsed = parse(argc, argv);
    if (!parsed) return Done;
    auto& call = *parsed;
    if (call.interfaces) return listInterfaces();
    if (call.capture) return captureInto(call);
    addressOf(call.interface);
    if (call.config) return listOptions();
    if (!call.filter.empty()) return checkFilter(call.filter);
    print("dlt {number=1}{name=EN10MB}{display=Ethernet}\n");
    return Done;
}

} // namespace orvo::host
