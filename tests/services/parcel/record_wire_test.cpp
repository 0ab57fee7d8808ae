// What every record owes on its way through a parcel, one set of cases for all of them.
#include <fstream>
#include <set>

#include "bytes.h"
#include "message_parcel.h"
#include "samples.h"

namespace OHOS::Pelago {
namespace {

constexpr uint32_t SENTINEL = 0xC0FFEE;

// A file of bytes/: pairs of hexadecimal digits, behind a '#' what they mean, and the lines that fields log.
struct Frozen {
    explicit Frozen(const std::string& name)
    {
        std::ifstream file(std::string(RECORD_BYTES_DIR) + "/" + name);
        EXPECT_TRUE(file.is_open()) << name;
        for (std::string line; std::getline(file, line);) {
            if (line.rfind("    write ", 0) == 0) {
                onWrite.push_back(line.substr(10));
            } else if (line.rfind("    read ", 0) == 0) {
                onRead.push_back(line.substr(9));
            } else {
                const Bytes more = Hex(line.substr(0, line.find('#')));
                bytes.insert(bytes.end(), more.begin(), more.end());
            }
        }
    }
    Bytes bytes;
    Lines onWrite;
    Lines onRead;
};

// The error lines of many attempts. Each place in the source counts once: some fields share their words.
class ErrorsByPlace {
public:
    void Collect()
    {
        for (const Host::LogLine& line : tap_.TakeRaw(LOG_ERROR)) {
            if (places_.insert(line.text).second) {
                said.push_back(LogTap::Plain(line));
            }
        }
    }

    Lines said;

private:
    LogTap tap_;
    std::set<std::string> places_;
};

template <class R>
class RecordWire : public testing::Test {
protected:
    const Frozen frozen_{FrozenOf<R>(AllRecords())};
    R sample_ = Sample<R>();
};

TYPED_TEST_SUITE(RecordWire, AllRecords);

// With the frozen bytes, what is read and written again unchanged came into its own fields.
TYPED_TEST(RecordWire, TravelsAsFrozenAndIsReadToItsEnd)
{
    MessageParcel parcel;
    ASSERT_TRUE(this->sample_.WriteToParcel(parcel));
    EXPECT_EQ(BytesOf(parcel), this->frozen_.bytes);
    ASSERT_TRUE(parcel.WriteUint32(SENTINEL));

    TypeParam record;
    ASSERT_TRUE(record.ReadFromParcel(parcel));
    EXPECT_EQ(parcel.ReadUint32(), SENTINEL);
    EXPECT_EQ(parcel.GetReadableBytes(), 0U);

    MessageParcel again;
    ASSERT_TRUE(record.WriteToParcel(again));
    EXPECT_EQ(BytesOf(again), this->frozen_.bytes);
    CloseFiles(record);
}

// Cut at every word, which is more often than at every field.
TYPED_TEST(RecordWire, CutAnywhereReadsAsFailureAndLeaksNoDescriptor)
{
    const size_t before = CountDescriptors();
    ErrorsByPlace errors;
    for (size_t cut = 0; cut < this->frozen_.bytes.size(); cut += 4) {
        SCOPED_TRACE(cut);
        MessageParcel parcel;
        ASSERT_TRUE(this->sample_.WriteToParcel(parcel));
        ASSERT_TRUE(parcel.RewindWrite(cut));
        TypeParam record;
        EXPECT_FALSE(record.ReadFromParcel(parcel));
        CloseFiles(record);
        errors.Collect();
    }
    EXPECT_EQ(errors.said, this->frozen_.onRead);
    EXPECT_EQ(CountDescriptors(), before);
}

// Images make room for themselves.
template <class R>
void RemoveImages(R& record)
{
    if constexpr (std::is_same_v<R, ContactInfo> || std::is_same_v<R, ShareDeviceInfo>) {
        record.SetAvatar("");
    }
    if constexpr (std::is_same_v<R, ShareDevice> || std::is_same_v<R, ShareDeviceInfo>) {
        record.contactInfo.avatar.clear();
    }
}

// A parcel with room for nothing, for a word, for two words: each field is once the first that does not fit.
TYPED_TEST(RecordWire, EachFieldThatDoesNotFitSaysSo)
{
    MessageParcel parcel;
    ASSERT_TRUE(parcel.SetMaxCapacity(PAYLOAD_PARCEL_CAPACITY));
    ASSERT_TRUE(parcel.WriteBuffer(std::string(PAYLOAD_PARCEL_CAPACITY, 'x').data(), PAYLOAD_PARCEL_CAPACITY));
    RemoveImages(this->sample_);
    ErrorsByPlace errors;
    bool fits = false;
    for (size_t room = 0; room <= this->frozen_.bytes.size() && !fits; room += 4) {
        ASSERT_TRUE(parcel.RewindWrite(PAYLOAD_PARCEL_CAPACITY - room));
        fits = this->sample_.WriteToParcel(parcel);
        errors.Collect();
    }
    EXPECT_EQ(errors.said, this->frozen_.onWrite);
    EXPECT_TRUE(fits);
    EXPECT_EQ(parcel.GetDataSize(), PAYLOAD_PARCEL_CAPACITY) << "it fitted exactly, and not before";
}

} // namespace
} // namespace OHOS::Pelago
