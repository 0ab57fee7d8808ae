#include "hisysevent.h"

#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

#include "hilog/host_log.h"
#include "hilog/host_text.h"
#include "host_sys_event.h"

namespace OHOS::Host {
namespace {

using HiviewDFX::HiSysEvent;

class SysEventTest : public testing::Test {
protected:
    void SetUp() override
    {
        SetWallClock([]() -> int64_t { return 1732313585123; });
        ClearSysEvents();
        start = LastSysEventSeq();
    }
    void TearDown() override
    {
        EXPECT_TRUE(SetSysEventFile(""));
    }
    static int Write(int32_t stage)
    {
        return HiSysEventWrite("PELAGO", "SHARE", HiSysEvent::BEHAVIOR, "STAGE", stage);
    }
    uint64_t start = 0;
};

TEST_F(SysEventTest, EventIsOneJsonLineWithItsKeysInTheOrderGiven)
{
    const std::string path = testing::TempDir() + "pelago_events_" + std::to_string(getpid());
    ASSERT_TRUE(SetSysEventFile(path));
    const std::string peer = "\"Ann\\\"\n\x01\xff\u20ac\u202e";
    const char* none = nullptr;
    EXPECT_EQ(HiSysEventWrite("PELAGO", "SHARE", HiSysEvent::BEHAVIOR, "Z", peer, "A", int32_t{-1}, "SIZE", INT64_MIN,
                  "OK", true, "NONE", none, "TEXT", "t"),
        0);
    EXPECT_FALSE(SetSysEventFile("/no/such/folder/events"));
    EXPECT_EQ(HiSysEventWrite("PELAGO", "EMPTY", HiSysEvent::FAULT), 0);
    ASSERT_TRUE(SetSysEventFile(""));
    EXPECT_EQ(Write(1), 0);

    const std::string ids =
        ",\"time_\":1732313585123,\"pid_\":" + std::to_string(getpid()) + ",\"tid_\":" + std::to_string(gettid());
    const std::string first = R"({"domain_":"PELAGO","name_":"SHARE","type_":4)" + ids +
                              R"(,"Z":"\"Ann\\\"\n\u0001)"
                              "\xEF\xBF\xBD\u20ac"
                              R"(\u202e","A":-1,"SIZE":-9223372036854775808,"OK":1,"NONE":"","TEXT":"t"})";
    const std::string second = R"({"domain_":"PELAGO","name_":"EMPTY","type_":1)" + ids + "}";
    std::ifstream file(path);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), first + "\n" + second + "\n");
    EXPECT_EQ(unlink(path.c_str()), 0);
    const auto events = ReadSysEvents(start);
    ASSERT_EQ(events.size(), 3U);
    EXPECT_TRUE(events[0].json == first && events[0].name == "SHARE" && events[0].type == 4);
    EXPECT_TRUE(events[1].domain == "PELAGO" && events[1].timeMs == 1732313585123);
}

TEST_F(SysEventTest, MemoryKeepsTheLastOnesAlsoWhenTheFileIsFull)
{
    ASSERT_TRUE(SetSysEventFile("/dev/full"));
    for (size_t i = 0; i < SYS_EVENT_RING + 1; ++i) {
        EXPECT_EQ(Write(1), HiSysEvent::ERR_WRITE);
    }
    ASSERT_EQ(ReadSysEvents(start).size(), SYS_EVENT_RING);
    EXPECT_EQ(ReadSysEvents(start).front().seq, start + 2);
}

TEST_F(SysEventTest, ControllerRefusesAsOftenAsItIsTold)
{
    RefuseSysEvents(1);
    EXPECT_EQ(Write(1), HiSysEvent::ERR_LIMITED);
    EXPECT_EQ(Write(2), 0);
    RefuseSysEvents(SYS_EVENT_REFUSE_ALWAYS);
    EXPECT_EQ(Write(3), HiSysEvent::ERR_LIMITED);
    RefuseSysEvents(0);
    EXPECT_EQ(Write(4), 0);
    EXPECT_EQ(LastSysEventSeq(), start + 2);
}

} // namespace
} // namespace OHOS::Host
