// SPDX-License-Identifier: MIT
// The simulated board, made ready for frames.
#include "SimulatedPorts.h"

namespace orvo::bench {
namespace {

constexpr int fcsBytes = 4;

host::BoardOptions cabledInPairs(const std::string& record) {
    host::BoardOptions options;
    options.root = ORVO_BUILD_ROOT;
    options.wires = {{"0", "port:0/1"}, {"2", "port:0/3"}};
    options.virtualTime = true;
    options.record = record;
    return options;
}

} // namespace

SimulatedPorts::SimulatedPorts(const std::string& record)
    : session_(cabledInPairs(record), 0), plugin_(session_.installation), log_(session_.installation) {
    session_.bind(plugin_);
    for (unsigned i = 0; i < count; ++i) {
        ports_[i].emplace(plugin_, log_, host::PortAddress{0, i}, true);
        ports_[i]->open();
        ports_[i]->interface().enableCustomChecksum(true);
    }
}

SealedFrame::SealedFrame(int wireBytes)
    : frame_(QByteArray(wireBytes - fcsBytes, 'x')), handle_(boost::shared_ptr<void>(), &frame_) {
    frame_.appendFcs(0);
}

} // namespace orvo::bench
