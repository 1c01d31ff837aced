// SPDX-License-Identifier: MIT
// A live network: two namespaces, joined by a virtual Ethernet cable whose one end is the wire of the
// simulated board, and the port's TAP as the only way to the other one.
#pragma once

#include "Process.h"

#include <gmock/gmock.h>

#include <unistd.h>

#include <map>
#include <sstream>

namespace orvo::host::testing_support {

class NetworkTest : public testing::Test {
protected:
    void SetUp() override {
        if (geteuid() != 0) GTEST_SKIP() << "network namespaces need root";
        const auto made =
            run("ip netns add " + host + " && ip netns add " + camera + " && ip -n " + host +
                " link add wire type veth peer name eth netns " + camera + " && ip -n " + host +
                " link set wire up && ip -n " + camera + " link set eth up && ip -n " + camera +
                " address add 10.77.0.2/24 dev eth && ip -n " + host + " tuntap add probe mode tap");
        if (made.exitCode != 0) GTEST_SKIP() << "network namespaces cannot be made here: " << made.err;
    }
    void TearDown() override { run("ip netns delete " + host + "; ip netns delete " + camera); }

    static Outcome run(const std::string& command) { return Process({"sh", "-c", command}).wait(); }
    Outcome onHost(const std::string& command) const { return run("ip netns exec " + host + " " + command); }

    /// Until the bridge has set the link of its TAP up.
    void awaitLink(const std::string& tap, Process& bridge) const {
        bridge.reaches(
            [&] { return onHost("ip -br link show dev " + tap).out.find("LOWER_UP") != std::string::npos; });
    }

    /// Until both ends know each other, and frames pass.
    void awaitAnswer() const {
        EXPECT_THAT(onHost("ping -q -c 1 -w 20 -i 0.2 10.77.0.2").out, testing::HasSubstr(" 1 received"));
    }

    /// Echo requests of the host side without a reply, as its kernel counts them.
    long unanswered() const {
        std::map<std::string, long> counts;
        std::istringstream lines(onHost("grep ^Icmp: /proc/net/snmp").out);
        std::string names, values, name, value;
        std::getline(lines, names);
        std::getline(lines, values);
        for (std::istringstream n(names), v(values); n >> name && v >> value;)
            if (name != "Icmp:") counts[name] = std::stol(value);
        return counts.at("OutEchos") - counts.at("InEchoReps");
    }

    /// Pings that must all be answered; the counts are looked at, since ping itself has little patience.
    void expectAnswers(const std::string& options) const {
        SCOPED_TRACE(options);
        const auto before = unanswered();
        onHost("ping -q -W 5 " + options + " 10.77.0.2");
        for (int i = 0; i < 500 && unanswered() > before; ++i) usleep(10'000);
        EXPECT_EQ(unanswered(), before);
    }

    const std::string host = "orvo-host-" + std::to_string(getpid());
    const std::string camera = "orvo-camera-" + std::to_string(getpid());
};

} // namespace orvo::host::testing_support
