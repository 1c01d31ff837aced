// SPDX-License-Identifier: MIT
// The common ground of the interface tests: one interface on port 2 of board 0, on a recording board.
#pragma once

#include "gige/OrvoGbePhysicalNetworkInterface.h"
#include "support/FakeBoard.h"
#include "support/RecordedLog.h"

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>

#include <map>
#include <regex>
#include <string>
#include <vector>

namespace orvo::test {

using Bytes = std::vector<std::uint8_t>;
using Messages = std::vector<std::string>;

/// Bytes 0, 1, 2, ... of a frame.
inline Bytes countingBytes(std::size_t length) {
    Bytes bytes(length);
    for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<std::uint8_t>(i);
    return bytes;
}

inline boost::shared_ptr<core::zume::EthernetFrame> frame(const Bytes& bytes) {
    return boost::make_shared<core::zume::EthernetFrame>(
        QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size())));
}

inline Journal joined(const std::vector<Journal>& parts) {
    Journal whole;
    for (const auto& part : parts) whole.insert(whole.end(), part.begin(), part.end());
    return whole;
}

/// The lookups of the registers of the bus to the PHYs, and of port 2's own, in their order.
inline const Journal mdioLookups{"find GigE_MdioRD",      "find GigE_MdioWR",      "find GigE_Mdio",
                                 "find GigE_MdioRegAddr", "find GigE_MdioPhyAddr", "find MdioReadReg"};
inline const Journal portLookups = joined(
    {{"find GigeBufferReset2", "find GigeWriteData2", "find GigeWriteComplete2"},
     {"find GigeTxDisableCrcGeneration2", "find GigeTxTransferActive2"},
     {"find GigeRecvPktCnt2", "find GigeRecvErrCnt2", "find CtrlPktReceivedCnt2", "find CtrlPktSendUiqCnt2"},
     {"find GvspFiFoOverflow_GigeTransceiver2", "find GvcpFiFoNotEmpty_GigeTransceiver2"}});

/// A journal without the lines that begin so.
inline Journal without(const std::string& beginning, Journal journal) {
    std::erase_if(journal, [&](auto& line) { return line.starts_with(beginning); });
    return journal;
}

class InterfaceTest : public testing::Test {
protected:
    static constexpr int portId = 2;

    InterfaceTest() {
        setThreshold(2);
        port.injectDependency("id", std::string("gige"));
        port.injectDependency("portId", portId);
        port.injectDependency("resetBoard", std::string("false"));
        takeMessages();
    }

    /// A successful setup, forgotten by journal and log.
    void setUpPort() {
        ASSERT_TRUE(port.setup());
        board.takeJournal();
        takeMessages();
    }

    /// The termination statistics by the words of their lines, as in "Send" or "invalid EOTs".
    std::map<std::string, std::string> statistics() {
        takeMessages();
        port.waitForTermination();
        static const std::regex statisticsLine(".*': [ .]*(.*) [-:] (.*)");
        std::map<std::string, std::string> lines;
        for (const auto& message : takeMessages()) {
            std::smatch parts;
            EXPECT_TRUE(std::regex_match(message, parts, statisticsLine)) << message;
            lines[parts[1]] = parts[2];
        }
        board.takeJournal();
        return lines;
    }

    FakeBoard board;
    core::zume::OrvoGbePhysicalNetworkInterface port;
};

} // namespace orvo::test
