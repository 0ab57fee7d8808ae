// What every record owes on its way through a parcel, one set of cases for all of them.
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "message_parcel.h"
#include "samples.h"

namespace OHOS::Pelago {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t SENTINEL = 0xC0FFEE;

// The bytes of a file: pairs of hexadecimal digits, and from a '#' to the end of the line what they mean.
Bytes FrozenBytes(const std::string& name)
{
    std::ifstream file(std::string(RECORD_BYTES_DIR) + "/" + name);
    EXPECT_TRUE(file.is_open()) << name;
    std::string digits;
    for (std::string line; std::getline(file, line);) {
        for (char c : line.substr(0, line.find('#'))) {
            if (c != ' ') {
                digits += c;
            }
        }
    }
    Bytes bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes.push_back(static_cast<uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

Bytes BytesOf(const Parcel& parcel)
{
    return Bytes(parcel.GetData(), parcel.GetData() + parcel.GetDataSize());
}

template <class R>
class RecordWire : public testing::Test {};

using AllRecords = testing::Types<ContactInfo, ShareDeviceInfo, ShareDevice, ShareAccountInfo, FileHolder, FileItem,
    SendBean, DataBean, BytesInfo, RecvPreview>;
TYPED_TEST_SUITE(RecordWire, AllRecords);

TYPED_TEST(RecordWire, WritesTheFrozenBytes)
{
    MessageParcel parcel;
    ASSERT_TRUE(Sample<TypeParam>::Make().WriteToParcel(parcel));
    EXPECT_EQ(BytesOf(parcel), FrozenBytes(Sample<TypeParam>::BYTES));
}

// What is read and written again is the same: with the frozen bytes, every field came into its own place.
TYPED_TEST(RecordWire, ReadsWhatWasWrittenAndStopsBehindIt)
{
    MessageParcel parcel;
    ASSERT_TRUE(Sample<TypeParam>::Make().WriteToParcel(parcel));
    ASSERT_TRUE(parcel.WriteUint32(SENTINEL));

    TypeParam record;
    ASSERT_TRUE(record.ReadFromParcel(parcel));
    EXPECT_EQ(parcel.ReadUint32(), SENTINEL);
    EXPECT_EQ(parcel.GetReadableBytes(), 0U);

    MessageParcel again;
    ASSERT_TRUE(record.WriteToParcel(again));
    EXPECT_EQ(BytesOf(again), FrozenBytes(Sample<TypeParam>::BYTES));
    CloseFiles(record);
}

TYPED_TEST(RecordWire, DefaultsSurviveTheRoad)
{
    TypeParam record;
    if constexpr (std::is_same_v<TypeParam, FileHolder>) {
        record.fileFd = SomeFile(); // there is no default that can be written
    }
    MessageParcel parcel;
    ASSERT_TRUE(record.WriteToParcel(parcel));
    TypeParam other = Sample<TypeParam>::Make();
    if constexpr (std::is_same_v<TypeParam, SendBean>) {
        other.uriList.clear(); // reading appends
    }
    if constexpr (std::is_same_v<TypeParam, DataBean>) {
        other.fileItems.clear();
    }
    ASSERT_TRUE(other.ReadFromParcel(parcel));
    MessageParcel again;
    ASSERT_TRUE(other.WriteToParcel(again));
    EXPECT_EQ(BytesOf(again), BytesOf(parcel));
    CloseFiles(other);
}

// Cut at every word, which is more often than at every field.
TYPED_TEST(RecordWire, CutAnywhereReadsAsFailureAndLeaksNoDescriptor)
{
    const size_t before = OpenDescriptors();
    const size_t whole = FrozenBytes(Sample<TypeParam>::BYTES).size();
    std::set<std::string> places;
    Lines said;
    for (size_t cut = 0; cut < whole; cut += 4) {
        SCOPED_TRACE(cut);
        LogTap tap;
        MessageParcel parcel;
        ASSERT_TRUE(Sample<TypeParam>::Make().WriteToParcel(parcel));
        ASSERT_TRUE(parcel.RewindWrite(cut));
        TypeParam record;
        EXPECT_FALSE(record.ReadFromParcel(parcel));
        CloseFiles(record);
        for (const Host::LogLine& line : tap.TakeRaw(LOG_ERROR)) {
            if (places.insert(line.text).second) {
                said.push_back(LogTap::Plain(line));
            }
        }
    }
    EXPECT_EQ(said, Sample<TypeParam>::OnRead());
    EXPECT_EQ(OpenDescriptors(), before);
}

// A parcel with room for a little less than the record, and less and less: each field is once the first that fails.
// Lines are counted by the place that they come from, since some fields share their words.
TYPED_TEST(RecordWire, EachFieldThatDoesNotFitSaysSo)
{
    MessageParcel parcel;
    ASSERT_TRUE(parcel.SetMaxCapacity(PAYLOAD_PARCEL_CAPACITY));
    ASSERT_TRUE(parcel.WriteBuffer(std::string(PAYLOAD_PARCEL_CAPACITY, 'x').data(), PAYLOAD_PARCEL_CAPACITY));
    const size_t whole = FrozenBytes(Sample<TypeParam>::BYTES).size();
    TypeParam record = Sample<TypeParam>::Make();
    if constexpr (std::is_same_v<TypeParam, ShareDeviceInfo>) {
        record.SetAvatar(""); // else it makes room for what follows
        record.SetContactInfo(ContactInfo());
    } else if constexpr (std::is_same_v<TypeParam, ShareDevice>) {
        record.contactInfo = ContactInfo();
    } else if constexpr (std::is_same_v<TypeParam, ContactInfo>) {
        record.SetAvatar("");
    }
    std::set<std::string> places;
    Lines said;
    size_t fits = 0;
    for (size_t room = 0; room <= whole && fits == 0; room += 4) {
        SCOPED_TRACE(room);
        LogTap tap;
        ASSERT_TRUE(parcel.RewindWrite(PAYLOAD_PARCEL_CAPACITY - room));
        if (record.WriteToParcel(parcel)) {
            fits = room;
        }
        for (const Host::LogLine& line : tap.TakeRaw(LOG_ERROR)) {
            if (places.insert(line.text).second) {
                said.push_back(LogTap::Plain(line));
            }
        }
    }
    EXPECT_EQ(said, Sample<TypeParam>::OnWrite());
    EXPECT_EQ(parcel.GetDataSize(), PAYLOAD_PARCEL_CAPACITY) << "it fitted at " << fits << " and not before";
}

} // namespace
} // namespace OHOS::Pelago
