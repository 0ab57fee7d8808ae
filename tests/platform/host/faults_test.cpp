#include "host/faults.h"

#include <gtest/gtest.h>

#include <string>

namespace OHOS::Host {
namespace {

// Which of six calls fail, as a row of digits.
std::string SixCalls(const char* name)
{
    std::string failed;
    for (int call = 0; call < 6; ++call) {
        failed += Faults::Take(name) ? '1' : '0';
    }
    return failed;
}

TEST(FaultsTest, InjectFailsJustTheCallsItNames)
{
    struct Row {
        const char* name;
        int times, skip;
        const char* failed;
    };
    for (const Row& row : {Row{"none", 0, 0, "000000"}, Row{"once", 1, 0, "100000"}, Row{"later", 2, 3, "000110"},
             Row{"always", Faults::ALWAYS, 1, "011111"}, Row{"taken back", 0, 0, "000000"}}) {
        Faults::Inject("a.call", row.times, row.skip);
        EXPECT_FALSE(Faults::Take("another.call")) << row.name;
        EXPECT_EQ(SixCalls("a.call"), row.failed) << row.name;
    }
}

TEST(FaultsTest, FailNthSweepsOverAllCallsOfAStory)
{
    auto story = [] {
        const std::string first = SixCalls("first");
        return first + SixCalls("second");
    };
    EXPECT_EQ(story(), std::string(12, '0'));
    EXPECT_EQ(Faults::Calls(), 0U) << "nobody observes";
    Faults::Observe();
    EXPECT_EQ(story(), std::string(12, '0'));
    ASSERT_EQ(Faults::Calls(), 12U);
    for (uint64_t nth = 1; nth <= 12; ++nth) {
        Faults::FailNth(nth);
        EXPECT_EQ(story().find('1'), nth - 1);
        EXPECT_EQ(Faults::LastFailed(), nth <= 6 ? "first" : "second");
    }
    Faults::Clear();
    EXPECT_EQ(story(), std::string(12, '0'));
}

} // namespace
} // namespace OHOS::Host
