#include "want.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace OHOS;
using namespace OHOS::AAFwk;

namespace {

Want FullWant()
{
    WantParams inner;
    inner.SetParam("deep", int64_t{-5'000'000'000});
    WantParams params;
    params.SetParam("bool", true);
    params.SetParam("int", -7);
    params.SetParam("text", std::string("with\0NUL", 8));
    params.SetParam("nested", inner);
    Want want;
    want.SetElementName("com.example.app", "MainExtension").SetAction("act").SetParams(params);
    return want;
}

// A parcel of words and strings.
struct Words {
    Words& operator<<(int32_t word)
    {
        EXPECT_TRUE(parcel.WriteInt32(word));
        return *this;
    }
    Words& operator<<(const char* text)
    {
        EXPECT_TRUE(parcel.WriteString(text));
        return *this;
    }
    Parcel parcel;
};

TEST(WantTest, TextIsNeverABool)
{
    Want want;
    want.SetParam("literal", "yes").SetParam("null", static_cast<const char*>(nullptr)).SetParam("flag", true);
    EXPECT_EQ(want.GetStringParam("literal"), "yes");
    EXPECT_TRUE(want.HasParameter("null") && want.GetStringParam("null").empty());
    EXPECT_FALSE(want.GetBoolParam("literal", false)) << "another type gives the default";
    EXPECT_EQ(want.GetIntParam("flag", 9), 9);
    want.SetParam("flag", 3);
    EXPECT_EQ(want.GetIntParam("flag", 9), 3) << "the new value replaces the old one whatever its type";
}

TEST(WantTest, TravelsWholeOrNotAtAll)
{
    Parcel whole;
    ASSERT_TRUE(FullWant().Marshalling(whole) && whole.WriteInt32(77));
    std::unique_ptr<Want> read(Want::Unmarshalling(whole));
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(*read, FullWant());
    EXPECT_EQ(whole.ReadInt32(), 77);
    EXPECT_NE(Want(*read).SetParam("int", 8), *read);
    for (size_t size = 0; size < whole.GetDataSize() - 4; ++size) {
        Parcel part;
        ASSERT_TRUE(part.ParseFrom(whole.GetData(), size));
        EXPECT_FALSE(read->ReadFromParcel(part)) << size;
        EXPECT_EQ(*read, FullWant()) << "a failed reading changes nothing";
    }
}

TEST(WantTest, TheWireOfAParameterSetIsFixed)
{
    WantParams params;
    params.SetParam("m", "v");
    params.SetParam("k", true);
    Parcel parcel;
    ASSERT_TRUE(params.Marshalling(parcel));
    Words expected;
    expected << 2 << "k" << 0 << 1 << "m" << 3 << "v"; // ordered by key; each value behind the number of its type
    const auto bytes = [](const Parcel& of) {
        return std::string(reinterpret_cast<const char*>(of.GetData()), of.GetDataSize());
    };
    EXPECT_EQ(bytes(parcel), bytes(expected.parcel));
}

TEST(WantParamsTest, HostileBytesGiveNull)
{
    struct Row {
        const char* name;
        void (*write)(Words&);
        bool good;
    };
    const std::vector<Row> rows = {
        {"one int", [](Words& words) { words << 1 << "k" << 1 << 5; }, true},
        {"nothing in it", [](Words& words) { words << 0; }, true},
        {"a count below nothing", [](Words& words) { words << -1; }, false},
        {"a count beyond the bytes", [](Words& words) { words << INT32_MAX << "k" << 1 << 5; }, false},
        {"a type below all", [](Words& words) { words << 1 << "k" << -1 << 5; }, false},
        {"a type above all", [](Words& words) { words << 1 << "k" << 5 << 5; }, false},
        {"a key twice", [](Words& words) { words << 2 << "k" << 1 << 5 << "k" << 1 << 6; }, false},
        {"a bad set in a good one", [](Words& words) { words << 1 << "k" << 4 << -1; }, false},
        {"sets in sets as far as a message goes",
            [](Words& words) {
                for (int i = 0; i < 10'000; ++i) {
                    words << 1 << "k" << 4;
                }
                words << 0;
            },
            false},
    };
    for (const Row& row : rows) {
        Words words;
        row.write(words);
        std::unique_ptr<WantParams> params(WantParams::Unmarshalling(words.parcel));
        EXPECT_EQ(params != nullptr, row.good) << row.name;
    }
}

TEST(WantParamsTest, NestsAsDeepAsAllowedAndNoDeeper)
{
    WantParams params;
    for (int depth = 1; depth <= WantParams::MAX_DEPTH; ++depth) {
        Parcel parcel;
        ASSERT_TRUE(params.Marshalling(parcel)) << depth;
        std::unique_ptr<WantParams> read(WantParams::Unmarshalling(parcel));
        ASSERT_TRUE(read != nullptr && *read == params) << depth;
        WantParams outer;
        outer.SetParam("in", params);
        params = outer;
    }
    Parcel tooDeep;
    EXPECT_FALSE(params.Marshalling(tooDeep));
}

} // namespace
