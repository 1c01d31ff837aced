// SPDX-License-Identifier: MIT
// Where fields and virtual operations of the plug-in's classes lie: the framework reads some of them as they
// are in memory.
#include "gige/OrvoGbePhysicalNetworkInterfaceD.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace orvo::test {
namespace {

using namespace core::zume;

/// The function in a slot, counted from 1, of an object's table.
auto rawSlot(void* object, int slot) {
    using Function = void (*)(void*);
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
    auto* const leecher = new OrvoGbePhysicalNetworkInterfaceUiqLeecherThread(nullptr, 1, 0, 0);
    rawSlot(leecher, 1)(leecher); // a kind that drains nothing: returns at once
    rawSlot(leecher, 3)(leecher);
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
