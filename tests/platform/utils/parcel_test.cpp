#include "parcel.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <tuple>

#include "bytes.h"

namespace OHOS {
namespace {

// Reads a value into a variable that held something else; true if it came, false if the variable still holds that.
template <typename T, typename Read>
bool Reads(const T& wanted, T sentinel, Read read)
{
    T value = sentinel;
    if (read(value)) {
        EXPECT_EQ(value, wanted);
        return true;
    }
    EXPECT_EQ(value, sentinel);
    return false;
}

struct Field {
    const char* name;
    const char* hex;
    std::function<bool(Parcel&)> write;
    std::function<bool(Parcel&)> read; // true if the value came back
};

// `other` is what the variable holds before.
#define VALUE(name, type, Type, value, other, hex)                                                                     \
    {                                                                                                                  \
        name, hex, [](Parcel& p) { return p.Write##Type(value); },                                                     \
            [](Parcel& p) { return Reads<type>(value, other, [&p](type& v) { return p.Read##Type(v); }); }             \
    }

const std::string WITH_NUL("a\0c", 3);
const std::vector<int32_t> NUMBERS{1, -1};
const std::vector<std::string> TEXTS{"", "ab"};

const std::vector<Field> FIELDS = {
    VALUE("bool", bool, Bool, true, false, "01000000"),
    VALUE("int8", int8_t, Int8, -2, 5, "feffffff"),
    VALUE("int32", int32_t, Int32, INT32_MIN, 5, "00000080"),
    VALUE("uint32", uint32_t, Uint32, 0xFFFFFFFE, 5, "feffffff"),
    VALUE("int64", int64_t, Int64, -2, 5, "feffffffffffffff"),
    VALUE("uint64", uint64_t, Uint64, 0x0102030405060708, 5, "0807060504030201"),
    VALUE("empty string", std::string, String, "", "old", "00000000 00000000"),
    VALUE("string that fills its word", std::string, String, WITH_NUL, "old", "03000000 61006300"),
    VALUE("string with a word for its NUL", std::string, String, "abcd", "old", "04000000 61626364 00000000"),
    VALUE("string16", std::u16string, String16, u"a\u2620", u"old", "02000000 61002026 00000000"),
    {"int32 vector", "02000000 01000000 ffffffff", [](Parcel& p) { return p.WriteInt32Vector(NUMBERS); },
        [](Parcel& p) {
            return Reads<std::vector<int32_t>>(NUMBERS, {9}, [&p](auto& v) { return p.ReadInt32Vector(&v); });
        }},
    {"string vector", "02000000 00000000 00000000 02000000 61620000",
        [](Parcel& p) { return p.WriteStringVector(TEXTS); },
        [](Parcel& p) {
            return Reads<std::vector<std::string>>(TEXTS, {"old"}, [&p](auto& v) { return p.ReadStringVector(&v); });
        }},
    {"buffer", "61626364 65000000", [](Parcel& p) { return p.WriteBuffer("abcde", 5); },
        [](Parcel& p) {
            const uint8_t* bytes = p.ReadBuffer(5);
            return bytes != nullptr && std::memcmp(bytes, "abcde", 5) == 0;
        }},
};

TEST(ParcelTest, LayoutIsFrozenAndEveryFieldIsWrittenAndReadWholeOrNotAtAll)
{
    for (const Field& field : FIELDS) {
        SCOPED_TRACE(field.name);
        const Bytes layout = Hex(field.hex);
        Parcel parcel;
        ASSERT_TRUE(parcel.WriteInt32(9) && parcel.SetMaxCapacity(4 + layout.size() - 1));
        EXPECT_FALSE(field.write(parcel));
        EXPECT_EQ(parcel.GetDataSize(), 4U);
        ASSERT_TRUE(parcel.SetMaxCapacity(4 + layout.size()) && field.write(parcel));
        const Bytes bytes = BytesOf(parcel);
        EXPECT_EQ(Bytes(bytes.begin() + 4, bytes.end()), layout);
        EXPECT_EQ(parcel.ReadInt32(), 9);
        EXPECT_TRUE(field.read(parcel));
        EXPECT_EQ(parcel.GetReadableBytes(), 0U);
        for (size_t size = 0; size < layout.size(); ++size) {
            Parcel cut;
            ASSERT_TRUE(cut.ParseFrom(layout.data(), size));
            EXPECT_FALSE(field.read(cut)) << size;
            EXPECT_EQ(cut.GetReadPosition(), 0U) << size;
        }
    }
}

TEST(ParcelTest, HostileBytesFailOneReadAndNothingElse)
{
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"negative length", "empty string", "ffffffff 00000000"},
        {"length whose terminator would overflow", "empty string", "ffffff7f 00000000"},
        {"length with no room for the NUL", "empty string", "04000000 61626364"},
        {"no NUL at the end", "empty string", "03000000 61626364"},
        {"negative units", "string16", "ffffffff 00000000"},
        {"units whose bytes would overflow", "string16", "ffffff7f 00000000"},
        {"units without NUL", "string16", "01000000 61006200"},
        {"negative count", "int32 vector", "ffffffff 00000000"},
        {"count of gigabytes", "int32 vector", "ffffff3f 00000000"},
        {"negative count of strings", "string vector", "ffffffff 00000000 00000000"},
        {"two billion strings in no space", "string vector", "ffffff7f 00000000 00000000"},
        {"second of two strings cut", "string vector", "02000000 00000000 00000000 02000000"},
    };
    for (const auto& [name, type, hex] : rows) {
        SCOPED_TRACE(name);
        const auto field = std::find_if(FIELDS.begin(), FIELDS.end(),
            [wanted = std::string(type)](const Field& any) { return any.name == wanted; });
        Parcel parcel;
        const Bytes bytes = Hex(hex);
        ASSERT_TRUE(parcel.ParseFrom(bytes.data(), bytes.size()));
        EXPECT_FALSE(field->read(parcel));
        EXPECT_EQ(parcel.GetReadPosition(), 0U);
        EXPECT_EQ(static_cast<uint8_t>(parcel.ReadInt32()), bytes[0]); // the cursor still works
    }
    Parcel empty;
    EXPECT_TRUE(empty.ReadString().empty() && !empty.ReadBool() && empty.ReadInt64() == 0);
    EXPECT_TRUE(empty.ReadBuffer(0) == nullptr && empty.ReadBuffer(SIZE_MAX) == nullptr);
    EXPECT_FALSE(empty.ReadStringVector(nullptr) || empty.WriteBuffer(nullptr, 1));
    EXPECT_FALSE(empty.WriteBuffer("", SIZE_MAX - 1));
}

TEST(ParcelTest, LimitMovesOnlyAboveWhatIsWrittenAndReceivedBytesMayExceedIt)
{
    Parcel parcel;
    const std::string most(Parcel::DEFAULT_MAX_CAPACITY - 8, 'x');
    EXPECT_FALSE(parcel.WriteString(most + "xxxx"));
    ASSERT_TRUE(parcel.WriteString(most.substr(4)) && parcel.WriteInt32(7));
    EXPECT_EQ(parcel.GetDataSize(), Parcel::DEFAULT_MAX_CAPACITY);
    EXPECT_FALSE(parcel.WriteBool(true) || parcel.SetMaxCapacity(Parcel::DEFAULT_MAX_CAPACITY - 1));
    EXPECT_TRUE(parcel.SetMaxCapacity(Parcel::DEFAULT_MAX_CAPACITY + 4) && parcel.WriteInt32(8));
    EXPECT_FALSE(parcel.WriteInt32(9));
    EXPECT_EQ(parcel.ReadString(), most.substr(4));

    Parcel lowered; // the limit holds below memory that is there already
    ASSERT_TRUE(lowered.WriteInt32(1) && lowered.SetMaxCapacity(8) && lowered.WriteInt32(2));
    EXPECT_FALSE(lowered.WriteInt32(3));

    const Bytes many(Parcel::DEFAULT_MAX_CAPACITY + 1, 1);
    ASSERT_TRUE(parcel.ParseFrom(many.data(), many.size()));
    EXPECT_TRUE(parcel.GetReadableBytes() == many.size() && parcel.ReadBool());
    EXPECT_FALSE(parcel.WriteInt32(1)) << "full as it came";
}

} // namespace
} // namespace OHOS
