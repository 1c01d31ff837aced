// SPDX-License-Identifier: MIT
// The simple wires, and the choice between all kinds.
#include "wire/Wire.h"

#include "wire/CaptureWire.h"
#include "wire/LiveWire.h"
#include "wire/PacketSocket.h"
#include "wire/TapDevice.h"

namespace orvo::sim {

namespace {

/// Delivers every frame to one receiver: the far port's or, as a loopback plug, the port's own.
class Cable final : public Wire {
public:
    explicit Cable(FrameSink& sink) noexcept : sink_(sink) {}
    bool transmit(WireBytes frame) noexcept override {
        sink_.deliver(frame);
        return true;
    }
    bool transmitUnsealed(WireBytes content) noexcept override {
        sink_.deliverUnsealed(content);
        return true;
    }

private:
    FrameSink& sink_;
};

} // namespace

std::unique_ptr<Wire> makeWire(const WireSpec& spec, FrameSink& own, FrameSink* far) {
    switch (spec.kind) {
    case WireSpec::Kind::Loopback:
        return std::make_unique<Cable>(own);
    case WireSpec::Kind::Port:
        return std::make_unique<Cable>(*far);
    case WireSpec::Kind::Capture:
        return std::make_unique<CaptureWire>(spec, own);
    case WireSpec::Kind::Tap:
        return std::make_unique<LiveWire>(spec.interface, std::make_unique<TapDevice>(spec.interface), own);
    case WireSpec::Kind::Packet:
        return std::make_unique<LiveWire>(spec.interface, std::make_unique<PacketSocket>(spec.interface),
                                          own);
    case WireSpec::Kind::None:
        break;
    }
    return nullptr;
}

} // namespace orvo::sim
