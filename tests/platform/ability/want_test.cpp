#include "want.h"

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace OHOS;
using namespace OHOS::AAFwk;

namespace {

WantParams AllTypes()
{
    WantParams inner;
    inner.SetParam("deep", int64_t{-5'000'000'000});
    WantParams params;
    params.SetParam("bool", true);
    params.SetParam("int", -7);
    params.SetParam("text", std::string("with\0NUL", 8));
    params.SetParam("empty", "");
    params.SetParam("nested", inner);
    return params;
}

Want FullWant()
{
    Want want;
    want.SetElementName("com.example.app", "MainExtension").SetAction("act").SetParams(AllTypes());
    return want;
}

// A set with `depth` sets in each other, itself counted.
WantParams Nest(int depth)
{
    WantParams params;
    params.SetParam("leaf", true);
    for (int i = 1; i < depth; ++i) {
        WantParams outer;
        outer.SetParam("in", params);
        params = outer;
    }
    return params;
}

// A parcel of words, with "text" as a string of four bytes where a key is wanted.
class Words {
public:
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
    EXPECT_TRUE(want.HasParameter("null"));
    EXPECT_EQ(want.GetStringParam("null"), "");
    EXPECT_FALSE(want.GetBoolParam("literal", false)) << "another type gives the default";
    EXPECT_EQ(want.GetIntParam("flag", 9), 9);
    EXPECT_TRUE(want.GetBoolParam("flag", false));
    want.SetParam("flag", 3);
    EXPECT_EQ(want.GetIntParam("flag", 9), 3) << "the new value replaces the old one whatever its type";
}

TEST(WantTest, TravelsWhole)
{
    Parcel parcel;
    ASSERT_TRUE(FullWant().Marshalling(parcel));
    ASSERT_TRUE(parcel.WriteInt32(77));
    std::unique_ptr<Want> read(Want::Unmarshalling(parcel));
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(*read, FullWant());
    EXPECT_EQ(parcel.ReadInt32(), 77);
    Want copy = *read;
    copy.SetParam("int", 8);
    EXPECT_NE(copy, *read);
}

TEST(WantTest, EveryTruncationIsRefusedAndChangesNothing)
{
    Parcel whole;
    ASSERT_TRUE(FullWant().Marshalling(whole));
    for (size_t size = 0; size < whole.GetDataSize(); ++size) {
        Parcel part;
        ASSERT_TRUE(part.ParseFrom(whole.GetData(), size));
        Want want;
        want.SetAction("before");
        EXPECT_FALSE(want.ReadFromParcel(part)) << size;
        EXPECT_EQ(want.GetAction(), "before");
        EXPECT_TRUE(want.GetParams().IsEmpty());
    }
}

TEST(WantTest, TheWireOfAParameterSetIsFixed)
{
    WantParams params;
    params.SetParam("k", true);
    params.SetParam("m", "v");
    Parcel parcel;
    ASSERT_TRUE(params.Marshalling(parcel));
    const uint8_t expected[] = {
        2,
        0,
        0,
        0, // two values
        1,
        0,
        0,
        0,
        'k',
        0,
        0,
        0, // the first key
        0,
        0,
        0,
        0,
        1,
        0,
        0,
        0, // a bool, true
        1,
        0,
        0,
        0,
        'm',
        0,
        0,
        0, // the second key
        3,
        0,
        0,
        0, // a text
        1,
        0,
        0,
        0,
        'v',
        0,
        0,
        0,
    };
    ASSERT_EQ(parcel.GetDataSize(), sizeof(expected));
    EXPECT_EQ(std::memcmp(parcel.GetData(), expected, sizeof(expected)), 0);
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
        {"no bytes", [](Words&) {}, false},
        {"a type below all", [](Words& words) { words << 1 << "k" << -1 << 5; }, false},
        {"a type above all", [](Words& words) { words << 1 << "k" << 5 << 5; }, false},
        {"a key twice", [](Words& words) { words << 2 << "k" << 1 << 5 << "k" << 1 << 6; }, false},
        {"a key's length below nothing", [](Words& words) { words << 1 << -4 << 0 << 1 << 5; }, false},
        {"a bad set in a good one", [](Words& words) { words << 1 << "k" << 4 << -1; }, false},
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
    Parcel parcel;
    ASSERT_TRUE(Nest(WantParams::MAX_DEPTH).Marshalling(parcel));
    std::unique_ptr<WantParams> read(WantParams::Unmarshalling(parcel));
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(*read, Nest(WantParams::MAX_DEPTH));
    Parcel tooDeep;
    EXPECT_FALSE(Nest(WantParams::MAX_DEPTH + 1).Marshalling(tooDeep));
    // A sender without our limit: sets in sets for as far as a large message goes.
    Words words;
    EXPECT_TRUE(words.parcel.SetMaxCapacity(4 << 20));
    for (int i = 0; i < 100'000; ++i) {
        words << 1 << "k" << 4;
    }
    words << 0;
    EXPECT_EQ(WantParams::Unmarshalling(words.parcel), nullptr);
}

} // namespace
