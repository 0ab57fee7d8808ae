#include "parcel.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>

namespace OHOS {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes BytesOf(const Parcel& parcel)
{
    return Bytes(parcel.GetData(), parcel.GetData() + parcel.GetDataSize());
}

// "01000000 61" and the like; blanks are for people.
Bytes Hex(const std::string& text)
{
    Bytes bytes;
    std::string digits;
    for (const char c : text) {
        if (c != ' ' && (digits += c).size() == 2) {
            bytes.push_back(static_cast<uint8_t>(std::stoul(digits, nullptr, 16)));
            digits.clear();
        }
    }
    return bytes;
}

struct Pair : public Parcelable {
    bool Marshalling(Parcel& parcel) const override
    {
        return parcel.WriteInt32(first) && parcel.WriteString(second);
    }
    static Pair* Unmarshalling(Parcel& parcel)
    {
        auto pair = std::make_unique<Pair>();
        return parcel.ReadInt32(pair->first) && parcel.ReadString(pair->second) ? pair.release() : nullptr;
    }
    int32_t first = 3;
    std::string second = "x";
};

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

const Field& FieldNamed(const std::string& name)
{
    return *std::find_if(FIELDS.begin(), FIELDS.end(), [&name](const Field& field) { return field.name == name; });
}

TEST(ParcelTest, LayoutIsFrozenAndEveryFieldComesBackWholeOrNotAtAll)
{
    for (const Field& field : FIELDS) {
        SCOPED_TRACE(field.name);
        const Bytes layout = Hex(field.hex);
        Parcel parcel;
        ASSERT_TRUE(parcel.WriteInt32(9) && field.write(parcel) && parcel.WriteInt32(10));
        const Bytes bytes = BytesOf(parcel);
        EXPECT_EQ(Bytes(bytes.begin() + 4, bytes.end() - 4), layout);
        EXPECT_EQ(parcel.ReadInt32(), 9);
        EXPECT_TRUE(field.read(parcel));
        EXPECT_EQ(parcel.ReadInt32(), 10);
        for (size_t size = 0; size < layout.size(); ++size) {
            Parcel cut;
            ASSERT_TRUE(cut.ParseFrom(layout.data(), size));
            EXPECT_FALSE(field.read(cut)) << size;
            EXPECT_EQ(cut.GetReadPosition(), 0U) << size;
        }
    }
}

TEST(ParcelTest, FieldFitsTheLimitExactlyAndOneByteLessTakesNothing)
{
    for (const Field& field : FIELDS) {
        SCOPED_TRACE(field.name);
        const size_t size = Hex(field.hex).size();
        Parcel exact;
        EXPECT_TRUE(exact.SetMaxCapacity(size) && field.write(exact));
        Parcel less;
        ASSERT_TRUE(less.SetMaxCapacity(4 + size - 1) && less.WriteInt32(1));
        EXPECT_FALSE(field.write(less));
        EXPECT_EQ(less.GetDataSize(), 4U);
        EXPECT_LE(less.GetDataCapacity(), less.GetMaxCapacity());
    }
}

TEST(ParcelTest, HostileBytesFailOneReadAndNothingElse)
{
    const struct {
        const char* name;
        const char* hex;
        std::function<bool(Parcel&)> read;
    } rows[] = {
        {"negative length", "ffffffff 00000000", FieldNamed("empty string").read},
        {"length whose terminator would overflow", "ffffff7f 00000000", FieldNamed("empty string").read},
        {"length with no room for the NUL", "04000000 61626364", FieldNamed("empty string").read},
        {"no NUL at the end", "03000000 61626364", FieldNamed("empty string").read},
        {"negative units", "ffffffff 00000000", FieldNamed("string16").read},
        {"units whose bytes would overflow", "ffffff7f 00000000", FieldNamed("string16").read},
        {"units without NUL", "01000000 61006200", FieldNamed("string16").read},
        {"negative count", "ffffffff 00000000", FieldNamed("int32 vector").read},
        {"count of gigabytes", "ffffff3f 00000000", FieldNamed("int32 vector").read},
        {"negative count of strings", "ffffffff 00000000 00000000", FieldNamed("string vector").read},
        {"two billion strings in no space", "ffffff7f 00000000 00000000", FieldNamed("string vector").read},
        {"second of two strings cut", "02000000 00000000 00000000 02000000", FieldNamed("string vector").read},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Parcel parcel;
        const Bytes bytes = Hex(row.hex);
        ASSERT_TRUE(parcel.ParseFrom(bytes.data(), bytes.size()));
        EXPECT_FALSE(row.read(parcel));
        EXPECT_EQ(parcel.GetReadPosition(), 0U);
        EXPECT_EQ(static_cast<uint8_t>(parcel.ReadInt32()), bytes[0]); // the cursor still works
    }
    Parcel empty;
    EXPECT_EQ(empty.ReadString() + empty.ReadString(), "");
    EXPECT_TRUE(!empty.ReadBool() && empty.ReadInt64() == 0 && empty.ReadString16().empty());
    EXPECT_TRUE(empty.ReadBuffer(0) == nullptr && empty.ReadBuffer(SIZE_MAX) == nullptr);
    EXPECT_FALSE(empty.ReadStringVector(nullptr) || empty.WriteBuffer(nullptr, 1));
    EXPECT_FALSE(empty.WriteBuffer("", SIZE_MAX - 1));
    EXPECT_EQ(empty.GetDataSize(), 0U);
}

TEST(ParcelTest, LimitMovesOnlyAboveWhatIsWritten)
{
    Parcel parcel;
    const std::string most(Parcel::DEFAULT_MAX_CAPACITY - 8, 'x');
    EXPECT_FALSE(parcel.WriteString(most + "xxxx"));
    ASSERT_TRUE(parcel.WriteString(most.substr(4)) && parcel.WriteInt32(7));
    EXPECT_EQ(parcel.GetDataSize(), Parcel::DEFAULT_MAX_CAPACITY);
    EXPECT_FALSE(parcel.WriteBool(true));
    EXPECT_FALSE(parcel.SetMaxCapacity(Parcel::DEFAULT_MAX_CAPACITY - 1));
    EXPECT_EQ(parcel.GetMaxCapacity(), Parcel::DEFAULT_MAX_CAPACITY);
    EXPECT_TRUE(parcel.SetMaxCapacity(Parcel::DEFAULT_MAX_CAPACITY + 4) && parcel.WriteInt32(8));
    EXPECT_FALSE(parcel.WriteInt32(9));
    ASSERT_TRUE(parcel.SetMaxCapacity(SIZE_MAX) && parcel.WriteInt32(9));
    EXPECT_EQ(parcel.ReadString(), most.substr(4));
    EXPECT_EQ(parcel.ReadInt32(), 7);

    Parcel lowered; // the limit holds below memory that is there already
    ASSERT_TRUE(lowered.WriteInt32(1) && lowered.SetMaxCapacity(8) && lowered.WriteInt32(2));
    EXPECT_FALSE(lowered.WriteInt32(3));
}

TEST(ParcelTest, CursorsRewindWithinTheDataAndReceivedBytesMayExceedTheLimit)
{
    Parcel parcel;
    ASSERT_TRUE(parcel.WriteInt32(1) && parcel.WriteInt32(2));
    EXPECT_FALSE(parcel.RewindRead(9) || parcel.RewindWrite(9));
    ASSERT_TRUE(parcel.RewindRead(4));
    EXPECT_EQ(parcel.ReadInt32(), 2);
    ASSERT_TRUE(parcel.RewindWrite(4) && parcel.WriteInt32(3));
    EXPECT_EQ(parcel.GetReadPosition(), 4U);
    EXPECT_EQ(parcel.ReadInt32(), 3);

    const Bytes many(Parcel::DEFAULT_MAX_CAPACITY + 1, 1);
    ASSERT_TRUE(parcel.ParseFrom(many.data(), many.size()));
    EXPECT_TRUE(parcel.GetReadableBytes() == many.size() && parcel.ReadBool());
    EXPECT_FALSE(parcel.WriteInt32(1)); // full as it came
    EXPECT_FALSE(parcel.ParseFrom(nullptr, 1) || parcel.ParseFrom(ParcelBuffer(), 1));
}

TEST(ParcelTest, ParcelableTravelsBehindItsPresence)
{
    Parcel parcel;
    const Pair pair;
    ASSERT_TRUE(parcel.WriteParcelable(&pair) && parcel.WriteParcelable(nullptr));
    EXPECT_EQ(BytesOf(parcel), Hex("01000000 03000000 01000000 78000000 00000000"));
    const sptr<Pair> back = parcel.ReadParcelable<Pair>();
    ASSERT_TRUE(back != nullptr);
    EXPECT_EQ(back->second, "x");
    EXPECT_EQ(std::unique_ptr<Pair>(parcel.ReadParcelable<Pair>()), nullptr);
    EXPECT_EQ(parcel.GetReadableBytes(), 0U);
    ASSERT_TRUE(parcel.WriteInt32(1) && parcel.WriteInt32(2)); // present, but cut
    EXPECT_EQ(std::unique_ptr<Pair>(parcel.ReadParcelable<Pair>()), nullptr);
}

} // namespace
} // namespace OHOS
