// Exact types of injected values.
#include "platform/AnyException.h"

#include <gtest/gtest.h>

#include <string>

namespace orvo::test {
namespace {

TEST(AnyCast, OnlyTheExactTypeIsTaken) {
    EXPECT_EQ(anyCast<int>(boost::any(-7)), -7);
    EXPECT_EQ(anyCast<std::string>(boost::any(std::string("false"))), "false");
    const boost::any others[] = {boost::any(), 7U, 7L, short{7}, true, 7.0, std::string("7"), "7"};
    for (const auto& other : others) {
        SCOPED_TRACE(other.type().name());
        try {
            anyCast<int>(other);
            ADD_FAILURE() << "was taken for an int";
        } catch (const AnyException& error) {
            EXPECT_STREQ(error.what(), "boost::bad_any_cast: failed conversion using boost::any_cast");
        }
    }
    EXPECT_THROW(anyCast<std::string>(boost::any("text")), std::runtime_error) << "a const char*";
    EXPECT_STREQ(AnyException("why").what(), "why");
}

} // namespace
} // namespace orvo::test
