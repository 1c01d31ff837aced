// The common ground of the interface tests: one interface on port 2 of board 0, on a recording board.
#pragma once

#include "gige/OrvoGbePhysicalNetworkInterface.h"
#include "support/FakeBoard.h"
#include "support/RecordedLog.h"

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>

#include <map>
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

class InterfaceTest : public testing::Test {
protected:
    static constexpr int portId = 2;

    InterfaceTest() {
        setThreshold(2);
        port.injectDependency("id", std::string("gige"));
        port.injectDependency("boardId", 0);
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
        std::map<std::string, std::string> lines;
        for (const auto& message : takeMessages()) {
            std::string text = message.substr(message.find("': ") + 3);
            text.erase(0, text.find_first_not_of(" ."));
            const auto end = text.find(text.starts_with("Send") || text.starts_with("Recv") ? " - " : " : ");
            lines[text.substr(0, end)] = text.substr(end + 3);
        }
        board.takeJournal();
        return lines;
    }

    FakeBoard board;
    core::zume::OrvoGbePhysicalNetworkInterface port;
};

} // namespace orvo::test
