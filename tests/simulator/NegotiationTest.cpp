// What two ends of a cable agree on.
#include "phy/Negotiation.h"
#include "phy/PhyRegisters.h"

#include <gtest/gtest.h>

namespace orvo::sim {

namespace {

using namespace std::chrono_literals;

LinkEnd negotiating(unsigned ability, unsigned gigabit) {
    LinkEnd end;
    end.activeSince = always;
    end.ability = static_cast<std::uint16_t>(ability);
    end.gigabit = static_cast<std::uint16_t>(gigabit);
    return end;
}

LinkEnd forced(unsigned mbit, bool fullDuplex) {
    LinkEnd end;
    end.activeSince = always;
    end.negotiates = false;
    end.forcedMbit = mbit;
    end.forcedFullDuplex = fullDuplex;
    return end;
}

TEST(NegotiationTest, BestCommonTechnologyWins) {
    const LinkEnd all = negotiating(ability::allWithPause, gigabit::full | gigabit::half);
    struct Case {
        const char* what;
        LinkEnd own, partner;
        unsigned mbit;
        bool ownDuplex, partnerDuplex;
    };
    const Case cases[] = {
        {"all", all, all, 1000, true, true},
        {"1000 half only", all, negotiating(ability::allWithPause, gigabit::half), 1000, false, false},
        {"no 1000", all, negotiating(ability::allWithPause, 0), 100, true, true},
        {"100 half and 10 full", all, negotiating(ability::half100 | ability::full10, 0), 100, false, false},
        {"10 half", negotiating(ability::half10, gigabit::full), negotiating(ability::half10, 0), 10, false,
         false},
        {"nothing in common", negotiating(ability::full10, 0), negotiating(ability::half10, 0), 0, false,
         false},
        {"detected 100", all, forced(100, true), 100, false, true},
        {"detected 10", all, forced(10, false), 10, false, false},
        {"1000 cannot be detected", all, forced(1000, true), 0, false, false},
        {"detected, but not offered", negotiating(ability::full100, 0), forced(100, true), 0, false, false},
        {"both forced", forced(100, true), forced(100, true), 100, true, true},
        {"both forced, different", forced(100, true), forced(10, true), 0, false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const Link own = negotiate(c.own, c.partner, always, true);
        const Link partner = negotiate(c.partner, c.own, always, false);
        EXPECT_EQ(own.mbit, c.mbit);
        EXPECT_EQ(partner.mbit, c.mbit);
        EXPECT_EQ(own.fullDuplex, c.ownDuplex);
        EXPECT_EQ(partner.fullDuplex, c.partnerDuplex);
        EXPECT_EQ(own.upAt, c.mbit != 0 ? always : never);
    }
}

TEST(NegotiationTest, OneEndBecomesMaster) {
    const unsigned master = gigabit::manualMaster | gigabit::master;
    const unsigned slave = gigabit::manualMaster;
    struct Case {
        const char* what;
        unsigned own, partner;
        bool winsTie, isMaster, fault;
    };
    const Case cases[] = {
        {"tie won", 0, 0, true, true, false},
        {"tie lost", 0, 0, false, false, false},
        {"multi-port prefers it", gigabit::multiPort, 0, false, true, false},
        {"partner is multi-port", 0, gigabit::multiPort, true, false, false},
        {"insists on master", master, gigabit::multiPort, false, true, false},
        {"insists on slave", slave, 0, true, false, false},
        {"partner insists on slave", 0, slave, false, true, false},
        {"partner insists on master", gigabit::multiPort, master, true, false, false},
        {"both insist, different", slave, master, true, false, false},
        {"both insist on master", master, master, true, false, true},
        {"both insist on slave", slave, slave, true, false, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const Link link = negotiate(negotiating(0, gigabit::full | c.own),
                                    negotiating(0, gigabit::full | c.partner), always, c.winsTie);
        EXPECT_EQ(link.isMaster, c.isMaster);
        EXPECT_EQ(link.masterSlaveFault, c.fault);
        EXPECT_EQ(link.mbit, c.fault ? 0U : 1000U);
    }
}

TEST(NegotiationTest, LinkWaitsForTheLaterEndAndTheSlowerNegotiation) {
    LinkEnd own = negotiating(ability::allWithPause, 0);
    LinkEnd partner = own;
    own.negotiation = 400ms;
    partner.negotiation = 10ms;
    EXPECT_EQ(negotiate(own, partner, 3s, true).upAt, 3400ms);
    partner.activeSince = 5s;
    EXPECT_EQ(negotiate(own, partner, 3s, true).upAt, 5400ms);
    EXPECT_EQ(negotiate(forced(10, true), forced(10, true), 3s, true).upAt, 3s);
    partner.activeSince = never;
    EXPECT_EQ(negotiate(own, partner, 3s, true).upAt, never);
    partner.activeSince = always;
    partner.negotiation = never;
    EXPECT_EQ(negotiate(own, partner, 3s, true).upAt, never);
}

} // namespace

} // namespace orvo::sim
