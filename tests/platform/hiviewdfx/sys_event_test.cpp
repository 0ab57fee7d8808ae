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

TEST(SysEventTest, EventIsOneJsonLineWithItsKeysInTheOrderGivenAndMemoryKeepsTheLastOnes)
{
    SetWallClock([]() -> int64_t { return 1732313585123; });
    const std::string path = testing::TempDir() + "pelago_events_" + std::to_string(getpid());
    ASSERT_TRUE(SetSysEventFile(path));
    const std::string peer = "\"Ann\\\"\n\x01\xff\u20ac\u202e";
    const char* none = nullptr;
    EXPECT_EQ(HiSysEventWrite("PELAGO", "SHARE", HiSysEvent::BEHAVIOR, "Z", peer, "A", int32_t{-1}, "SIZE", INT64_MIN,
                  "OK", true, "NONE", none, "TEXT", "t"),
        0);
    EXPECT_FALSE(SetSysEventFile("/no/such/folder/events"));
    EXPECT_EQ(HiSysEventWrite("PELAGO", "EMPTY", HiSysEvent::FAULT), 0);
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
    const SysEvent event = ReadSysEvents(0).at(0);
    EXPECT_TRUE(event.json == first && event.domain == "PELAGO" && event.name == "SHARE" && event.type == 4);

    ASSERT_TRUE(SetSysEventFile("/dev/full"));
    for (size_t i = 0; i < SYS_EVENT_RING; ++i) {
        EXPECT_EQ(HiSysEventWrite("PELAGO", "EMPTY", HiSysEvent::FAULT), HiSysEvent::ERR_WRITE);
    }
    ASSERT_EQ(ReadSysEvents(0).size(), SYS_EVENT_RING);
    EXPECT_EQ(ReadSysEvents(0).front().seq, event.seq + 2);
}

} // namespace
} // namespace OHOS::Host
