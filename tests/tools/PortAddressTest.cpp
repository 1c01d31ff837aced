// BOARD/PORT, as users write it, alone and in --wire.
#include "app/Options.h"

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>

namespace orvo::host {
namespace {

TEST(PortAddressTest, ReadsWhatItWritesAndNothingElse) {
    EXPECT_EQ(PortAddress::parse("1/3"), (PortAddress{1, 3}));
    EXPECT_EQ(PortAddress::parse(PortAddress{31, 12}.text()), (PortAddress{31, 12}));
    for (const char* text : {"", "/", "1", "1/", "/1", "-1/0", "1/ 2", "1/2/3", "1/2x", "0/123456"}) {
        SCOPED_TRACE(text);
        EXPECT_FALSE(PortAddress::parse(text));
    }
}

TEST(PortAddressTest, WiresAreOnTheChosenBoardUnlessTheyNameAnother) {
    CLI::App program;
    InstallationOptions options;
    options.addTo(program);
    program.parse("--wire 2=port:0/1 --wire 1/3=pcap:a=b.pcap,c");
    ASSERT_EQ(options.wires.size(), 2u);
    EXPECT_EQ(options.wires[0].address(5), (PortAddress{5, 2}));
    EXPECT_EQ(options.wires[0].wire, "port:0/1");
    EXPECT_EQ(options.wires[1].address(5), (PortAddress{1, 3}));
    EXPECT_EQ(options.wires[1].wire, "pcap:a=b.pcap,c");
    for (const char* text :
         {"--wire loopback", "--wire =loopback", "--wire 0=", "--wire x=none", "--wire 1/=none"}) {
        SCOPED_TRACE(text);
        EXPECT_THROW(program.parse(text), CLI::ValidationError);
    }
}

} // namespace
} // namespace orvo::host
