#include <gtest/gtest.h>

#include "platform/linux/user_account.h"

namespace kvillo {
namespace {

TEST(UserAccount, FullNameIsTheGecosFieldBeforeTheFirstComma) {
    EXPECT_EQ(fullNameFrom("Kari Nordmann,Rom 12,+47 555,", "kari"), "Kari Nordmann");
    EXPECT_EQ(fullNameFrom("Ærlig Øyvind", "oyvind"), "Ærlig Øyvind");
    EXPECT_EQ(fullNameFrom(",,,", "kari"), "kari");
    EXPECT_EQ(fullNameFrom("", "kari"), "kari");
    EXPECT_FALSE(fullUserName().empty());  // every account has at least a login name
}

}  // namespace
}  // namespace kvillo
