// SPDX-License-Identifier: MIT
// Fault scripts: refused in one line that names file and line, or taken with all that a fault needs.
#include "faults/FaultScript.h"
#include "fuzz/FuzzInput.h"

using namespace orvo::sim;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    using orvo::test::demand;
    try {
        const auto script =
            parseFaultScript({reinterpret_cast<const char*>(bytes), count}, "/etc/faults.toml");
        for (const auto& fault : script.faults) {
            demand(fault.kind && fault.line > 0 && fault.place.board < maxBoards &&
                   fault.place.port < maxPorts);
            const auto& when = fault.when;
            demand(when.every > 0 && when.from > 0 && when.from <= when.to && when.fromTime <= when.toTime);
            demand(fault.duration >= SimTime{} && when.everyTime >= SimTime{});
        }
    } catch (const ConfigurationError& error) {
        const std::string_view text = error.what();
        demand(text.starts_with("/etc/faults.toml:") && text.find('\n') == std::string_view::npos);
    }
    return 0;
}
