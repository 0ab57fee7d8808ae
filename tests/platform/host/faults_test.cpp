#include "host/faults.h"

#include <gtest/gtest.h>

#include <string>

namespace OHOS::Host {
namespace {

class FaultsTest : public testing::Test {
protected:
    ~FaultsTest() override
    {
        Faults::Clear();
    }

    // Which of six calls fail, as a row of digits.
    static std::string SixCalls(const char* name)
    {
        std::string failed;
        for (int call = 0; call < 6; ++call) {
            failed += Faults::Take(name) ? '1' : '0';
        }
        return failed;
    }
};

TEST_F(FaultsTest, InjectFailsJustTheCallsItNames)
{
    struct Row {
        const char* name;
        int times;
        int skip;
        const char* failed;
    };
    for (const Row& row : {Row{"none", 0, 0, "000000"}, Row{"once", 1, 0, "100000"}, Row{"later", 2, 3, "000110"},
             Row{"always", Faults::ALWAYS, 1, "011111"}}) {
        Faults::Clear();
        Faults::Inject("a.call", row.times, row.skip);
        EXPECT_FALSE(Faults::Take("another.call")) << row.name;
        EXPECT_EQ(SixCalls("a.call"), row.failed) << row.name;
    }
    Faults::Inject("a.call", 0);
    EXPECT_EQ(SixCalls("a.call"), "000000") << "taken back";
}

TEST_F(FaultsTest, FailNthSweepsOverAllCallsOfAStory)
{
    auto story = [] {
        const std::string first = Faults::Take("first") ? "1" : "0";
        return first + SixCalls("second");
    };
    EXPECT_EQ(story(), "0000000");
    EXPECT_EQ(Faults::Calls(), 0U) << "nobody observes";

    Faults::Observe();
    EXPECT_EQ(story(), "0000000");
    ASSERT_EQ(Faults::Calls(), 7U);
    for (uint64_t nth = 1; nth <= 7; ++nth) {
        Faults::FailNth(nth);
        std::string expected(7, '0');
        expected[nth - 1] = '1';
        EXPECT_EQ(story(), expected);
        EXPECT_EQ(Faults::LastFailed(), nth == 1 ? "first" : "second");
    }
}

} // namespace
} // namespace OHOS::Host
