#include "want.h"

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

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
template <typename... Parts>
std::string Bytes(const Parts&... parts)
{
    Parcel parcel;
    const auto write = [&parcel](const auto& part) {
        if constexpr (std::is_same_v<decltype(part), const int&>) {
            EXPECT_TRUE(parcel.WriteInt32(part));
        } else {
            EXPECT_TRUE(parcel.WriteString(part));
        }
    };
    (write(parts), ...);
    return {reinterpret_cast<const char*>(parcel.GetData()), parcel.GetDataSize()};
}

bool IsParameterSet(const std::string& bytes)
{
    Parcel parcel;
    EXPECT_TRUE(parcel.ParseFrom(bytes.data(), bytes.size()));
    return std::unique_ptr<WantParams>(WantParams::Unmarshalling(parcel)) != nullptr;
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
    EXPECT_TRUE(
        read->GetIntParam("bool", 9) == 9 && !read->GetBoolParam("text", false) && read->GetStringParam("int").empty())
        << "another type gives the default";
    EXPECT_EQ(Want().SetParam("text", static_cast<const char*>(nullptr)).GetStringParam("text"), "");
    for (size_t size = 0; size < whole.GetDataSize() - 4; ++size) {
        Parcel part;
        ASSERT_TRUE(part.ParseFrom(whole.GetData(), size));
        EXPECT_FALSE(read->ReadFromParcel(part)) << size;
        EXPECT_EQ(*read, FullWant()) << "a failed reading changes nothing";
    }
}

TEST(WantParamsTest, TheWireIsFixedHostileBytesGiveNullAndSetsNestAsDeepAsAllowed)
{
    WantParams params;
    params.SetParam("m", "v");
    params.SetParam("k", true);
    Parcel parcel;
    ASSERT_TRUE(params.Marshalling(parcel));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(parcel.GetData()), parcel.GetDataSize()),
        Bytes(2, "k", 0, 1, "m", 3, "v")); // ordered by key; each value behind the number of its type

    EXPECT_TRUE(IsParameterSet(Bytes(1, "k", 1, 5)));
    const std::pair<const char*, std::string> wild[] = {
        {"a count below nothing", Bytes(-1)},
        {"a count beyond the bytes", Bytes(INT32_MAX, "k", 1, 5)},
        {"a type below all", Bytes(1, "k", -1, 5)},
        {"a type above all", Bytes(1, "k", 5, 5)},
        {"a key twice", Bytes(2, "k", 1, 5, "k", 1, 6)},
        {"a bad set in a good one", Bytes(1, "k", 4, -1)},
    };
    for (const auto& [name, bytes] : wild) {
        EXPECT_FALSE(IsParameterSet(bytes)) << name;
    }
    std::string deep; // sets in sets as far as a message goes
    for (int i = 0; i < 10'000; ++i) {
        deep += Bytes(1, "k", 4);
    }
    EXPECT_FALSE(IsParameterSet(deep + Bytes(0)));

    WantParams nested;
    for (int depth = 1; depth <= WantParams::MAX_DEPTH + 1; ++depth) {
        Parcel each;
        const bool allowed = depth <= WantParams::MAX_DEPTH;
        EXPECT_EQ(nested.Marshalling(each), allowed) << depth;
        const std::unique_ptr<WantParams> read(WantParams::Unmarshalling(each));
        EXPECT_EQ(read != nullptr && *read == nested, allowed) << depth;
        nested.SetParam("in", WantParams(nested));
    }
}

} // namespace
