// The simulated board, made ready for frames.
#include "SimulatedPorts.h"

#include <boost/make_shared.hpp>

namespace orvo::bench {
namespace {

host::InstallationOptions cabledInPairs() {
    host::InstallationOptions options;
    options.root = ORVO_BUILD_ROOT;
    options.wires = {{"0", "port:0/1"}, {"2", "port:0/3"}};
    options.virtualTime = true;
    return options;
}

} // namespace

SimulatedPorts::SimulatedPorts()
    : session_(cabledInPairs(), 0), plugin_(session_.installation), log_(session_.installation) {
    for (unsigned i = 0; i < count; ++i) {
        ports_[i].emplace(plugin_, log_, host::PortAddress{0, i}, true);
        ports_[i]->open();
        ports_[i]->interface().enableCustomChecksum(true);
    }
}

boost::shared_ptr<core::zume::EthernetFrame> sealedFrame(int wireBytes) {
    constexpr int fcsBytes = 4;
    auto frame = boost::make_shared<core::zume::EthernetFrame>(QByteArray(wireBytes - fcsBytes, 'x'));
    frame->appendFcs(0);
    return frame;
}

} // namespace orvo::bench
