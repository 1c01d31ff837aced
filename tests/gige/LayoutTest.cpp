// SPDX-License-Identifier: MIT
// Where fields and virtual operations of the plug-in's classes lie: the framework reads some of them as they
// are in memory.
#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"
#include "platform/GuardedSingleton.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace orvo::test {
namespace {

using namespace core::zume;

/// The function in a slot, counted from 1, of an object's table.
template <class Result = void, class... Parameters> auto rawSlot(void* object, int slot) {
    using Function = Result (*)(void*, Parameters...);
    Function* table = nullptr;
    std::memcpy(&table, object, sizeof table);
    return table[slot - 1];
}

template <class Object, class Field> std::ptrdiff_t offset(const Object& object, const Field& field) {
    return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&object);
}

TEST(LayoutTest, EventsAndTheirQueueLieAsTheFrameworkReadsThem) {
    const PniActionCommandTimeout event(1);
    EXPECT_EQ(offset(event, event.type), 8);
    EXPECT_EQ(offset(event, event.count), 12);
    EXPECT_EQ(sizeof event, 16U);
    EXPECT_EQ(static_cast<const PhysicalNetworkInterfaceEvent*>(&event), static_cast<const void*>(&event));

    auto* const events = new PhysicalNetworkInterfaceEventQueue;
    EXPECT_EQ(offset(*events, events->enabled), 8);
    EXPECT_EQ(offset(*events, events->queue), 16);
    EXPECT_EQ(sizeof *events, 32U);
    const auto queue = events->queue;
    rawSlot(events, 2)(events); // deletes it
    EXPECT_EQ(queue.use_count(), 1);
}

TEST(LayoutTest, LeecherRunsByItsFirstSlotAndIsDeletedByItsThird) {
    using Leecher = OrvoGbePhysicalNetworkInterfaceUiqLeecherThread;
    auto* const leecher = new Leecher(nullptr, 1, 2, 3);
    std::string name;
    std::thread([&] {
        rawSlot(leecher, 1)(leecher); // a kind that drains nothing: takes its name and returns
        std::ifstream("/proc/thread-self/comm") >> name;
    }).join();
    EXPECT_EQ(name, "Uiq/2-3");
    leecher->requestStop();
    struct {
        void* table;
        pthread_t handle;
        bool running, finished;
        std::uint32_t joiners;
        std::aligned_storage_t<sizeof(templates::platform::RecursiveMutex), 8> mutex;
        void* owner;
        std::uint32_t queueKind;
        bool stopRequested;
        std::uint32_t boardId, portId;
    } fields;
    static_assert(sizeof fields == sizeof *leecher);
    std::memcpy(&fields, static_cast<void*>(leecher), sizeof fields);
    EXPECT_TRUE(fields.handle == 0 && !fields.running && fields.finished && fields.joiners == 0);
    EXPECT_TRUE(!fields.owner && fields.queueKind == 1 && fields.stopRequested);
    EXPECT_TRUE(fields.boardId == 2 && fields.portId == 3);
    rawSlot(leecher, 3)(leecher);
}

struct Slots : GuardedSingleton<Slots> {
    void preDestruct() override { called = "preDestruct"; }
    void postConstruct() override { called = "postConstruct"; }
    ~Slots() override { called = "deleted"; }
    static inline std::string called;
};

TEST(LayoutTest, SingletonsFramesAndLoggersHaveTheirSlots) {
    auto* const singleton = new Slots;
    void** pointer = nullptr;
    rawSlot<void, void***>(singleton, 2)(singleton, &pointer);
    EXPECT_EQ(pointer, static_cast<void*>(&Slots::instance));
    for (const auto& [slot, operation] :
         {std::pair{1, "preDestruct"}, {5, "postConstruct"}, {4, "deleted"}}) {
        rawSlot(singleton, slot)(singleton);
        EXPECT_EQ(Slots::called, operation);
    }
    const QByteArray bytes(60, 'x');
    auto* const frame = new EthernetFrame(bytes);
    EXPECT_EQ(rawSlot<int>(frame, 3)(frame), 60);
    rawSlot(frame, 2)(frame);
    EXPECT_TRUE(bytes.isDetached()) << "the frame is gone";
    auto* const logger = new tools::logging::Logger(1, 2);
    rawSlot(logger, 2)(logger); // a leak unless it deletes
}

TEST(LayoutTest, FieldsOfTheStateStandInTheirOrder) {
    const PortState d;
    const auto offsets = [&d](const auto&... fields) { return std::vector{offset(d, fields)...}; };
    const auto found = offsets(
        d.mdio, d.regGigeReset, d.boardId, d.portId, d.resetBoard, d.customChecksumEnabled, d.preSendWaitTime,
        d.device, d.applet, d.recvErrorReported, d.zeroSizeReported, d.actionCmdErrorReported,
        d.regGigeBufferReset, d.regGigeWriteData, d.regGigeWriteComplete, d.regGigeTxTransferActive,
        d.regGigeTxDisableCrcGeneration, d.regGigeRecvPktCnt, d.regGigeRecvErrCnt, d.regCtrlPktReceivedCnt,
        d.regCtrlPktSendUiqCnt, d.regGvspFifoOverflow, d.regGvcpFifoNotEmpty, d.sentFrames, d.sentBytes,
        d.receivedFrames, d.receivedBytes, d.zeroSizeTransmissions, d.invalidEots, d.invalidTransmissionSizes,
        d.uiqReadErrors, d.initialRecvPktCnt, d.initialRecvErrCnt, d.lastRecvErrCnt,
        d.initialCtrlPktReceivedCnt, d.initialCtrlPktSendUiqCnt, d.initialGvspFifoOverflow,
        d.initialGvcpFifoNotEmpty, d.uiqLeecherThread, d.actionCommandsSupported, d.eventQueue);
    EXPECT_TRUE(std::is_sorted(found.begin(), found.end()));
}

} // namespace
} // namespace orvo::test
