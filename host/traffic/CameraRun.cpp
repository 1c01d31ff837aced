// SPDX-License-Identifier: MIT
#include "traffic/CameraRun.h"

#include "base/Progress.h"
#include "base/Signals.h"
#include "frames/FramePreparation.h"
#include "traffic/TrafficRun.h"

#include <boost/make_shared.hpp>

namespace orvo::host {
namespace {

using Clock = std::chrono::steady_clock;
using core::zume::EthernetFrame;
using core::zume::PhysicalNetworkInterface;

constexpr int discoveries = 4; // a camera may miss one

void send(PhysicalNetworkInterface& port, const CameraSearch::Frame& bytes) {
    if (bytes.empty()) return;
    CapturedFrame frame;
    frame.bytes = bytes.data();
    frame.length = frame.originalLength = bytes.size();
    port.addToSendQueue(boost::make_shared<EthernetFrame>(paddedFrame(frame)));
    port.transmitSendQueue();
}

void search(PhysicalNetworkInterface& port, CameraSearch& cameras, std::chrono::duration<double> time) {
    const auto pause = std::chrono::ceil<Clock::duration>(time / discoveries);
    for (int i = 0; i < discoveries; ++i) {
        send(port, cameras.discovery());
        for (const auto end = Clock::now() + pause; Clock::now() < end; throwIfEndRequested())
            if (const auto frame = port.receive(nullptr)) {
                const auto& bytes = frame->data();
                send(port, cameras.take({reinterpret_cast<const std::uint8_t*>(bytes.constData()),
                                         static_cast<std::size_t>(bytes.size())}));
            }
    }
}

} // namespace

std::vector<FoundCamera> findCameras(const CameraRequest& request) {
    const auto port = request.port.address;
    const BoardAccess access(request.boards, port.board);
    TrafficRun traffic(access, request.boards, {port}, !request.port.noReset);
    if (request.port.crcWatch) traffic.watchCrcErrors();
    traffic.open();
    CameraSearch cameras(request.address);
    {
        const Progress progress([] { return "waiting for cameras"; });
        search(traffic.port(port), cameras, request.time);
    }
    traffic.stop();
    traffic.finish({});
    return cameras.cameras();
}

} // namespace orvo::host
