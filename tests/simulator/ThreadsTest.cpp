// Everything at once: what a host's threads and the control interface do to boards at the same time.
#include "SimulatedBoard.h"

#include <atomic>
#include <thread>

namespace {

class ThreadsTest : public SimulatedBoard {};

/// Reads frames until `isOver` and the queue is empty; all of them must be whole.
std::size_t readFrames(const Device& device, unsigned port, const std::atomic<bool>& isOver) {
    std::size_t frames = 0;
    for (bool last = false; !last;) {
        last = isOver;
        while (const auto frame = device.receive(port, 2)) {
            EXPECT_EQ(*frame, frameOf(frame->size(), frame->front()));
            ++frames;
        }
    }
    return frames;
}

TEST_F(ThreadsTest, NoFrameIsLostBetweenSendersAndReaders) {
    constexpr unsigned framesEach = 3000;
    const Device device(0);
    setWire(0, 0, "port:0/1");
    passMs(500);
    orvoSimUseVirtualTime(0);
    std::atomic<bool> isOver{false};
    std::atomic<std::size_t> received{0};
    std::vector<std::thread> readers;
    std::vector<std::thread> senders;
    for (unsigned port = 0; port < 3; ++port) { // two cabled ones, and one on loopback
        readers.emplace_back([&, port] { received += readFrames(device, port, isOver); });
        senders.emplace_back([&, port] {
            for (unsigned i = 0; i < framesEach; ++i) {
                device.send(port, frameOf(60 + i % 60 * 2, i));
                while (portState(0, port ^ (port < 2 ? 1 : 0)).queuedWords > 200'000)
                    std::this_thread::yield();
            }
        });
    }
    for (auto& sender : senders) sender.join();
    isOver = true;
    for (auto& reader : readers) reader.join();
    EXPECT_EQ(received, 3 * framesEach);
    setWire(0, 0, "loopback");
    setWire(0, 1, "loopback");
    orvoSimUseVirtualTime(1);
    passMs(500);
}

TEST_F(ThreadsTest, ControlCallsMixWithTraffic) {
    const Device device(0);
    const Device other(4);
    orvoSimUseVirtualTime(0);
    std::atomic<bool> isOver{false};
    std::vector<std::thread> threads;
    const auto repeat = [&](auto action) {
        threads.emplace_back([&isOver, action] {
            while (!isOver) action();
        });
    };
    repeat([&] { device.send(0, frameOf(100)); });
    repeat([&] { other.send(0, frameOf(100)); });
    threads.emplace_back([&] { readFrames(device, 0, isOver); });
    threads.emplace_back([&] { readFrames(other, 0, isOver); });
    repeat([&] {
        std::uint32_t word = 0;
        EXPECT_THAT(OHalDataQueueReadBufferLong(device.handle(), 8, &word, 4, 1),
                    testing::AnyOf(4, HalTimeout, -5));
    });
    repeat([] { orvoSimInjectFrame(0, 0, frameOf(60).data(), 60, 0); });
    for (int round = 0; round < 60; ++round) { // what hands do, meanwhile
        setWire(0, 0, "port:4/0");
        orvoSimReportActionCommandTimeout(0, 0, 7);
        orvoSimFailReads(0, 8, -5, 1);
        device.write("GigE_RxEnable", round & 1);
        orvoSimSetPartner(0, 0, OrvoSimPartner100);
        device.writePhy(0, 0, 0x9140);
        portState(0, 0);
        device.write("GigE_RxEnable", 1);
        OHalFreeDevice(OHalInitDevice(0));
        setWire(0, 0, "loopback");
        orvoSimUseVirtualTime(round & 1);
    }
    isOver = true;
    for (auto& thread : threads) thread.join();
    orvoSimUseVirtualTime(1);
    orvoSimSetPartner(0, 0, OrvoSimPartner1000);
    setWire(4, 0, "port:4/1");
    passMs(1000);
    OHalDataQueueClear(device.handle(), 0);
    device.send(0, frameOf(60));
    EXPECT_EQ(device.receive(0), frameOf(60));
}

} // namespace
