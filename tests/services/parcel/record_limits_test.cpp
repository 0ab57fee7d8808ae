// Counts, capacities and descriptors of the records that carry payloads.

#include "message_parcel.h"
#include "samples.h"

namespace OHOS::Pelago {
namespace {

constexpr size_t ABOVE_DEFAULT = Parcel::DEFAULT_MAX_CAPACITY + 1;

SendBean BeanOf(size_t files)
{
    SendBean bean;
    bean.uriList.assign(files, Sample<FileHolder>());
    return bean;
}

// What was read before a failure stays in the record, and is the reader's.
TEST(SendBeanLimits, OneFileMoreThanTheMostIsNotWrittenAndCountsThatAreNotTrueAreRefusedWithoutAWord)
{
    MessageParcel full;
    LogTap written;
    EXPECT_FALSE(BeanOf(MAX_SHARED_FILES + 1).WriteToParcel(full));
    EXPECT_EQ(written.Take(), LinesOf(Log::SHARE_NAPI, {"The number of files exceeds the upper limit."}));
    const size_t before = CountDescriptors();
    for (const auto& [count, arrived] : {std::pair{501, 0U}, {-1, 0U}, {INT32_MAX, 0U}, {INT32_MIN, 0U}, {3, 2U}}) {
        SCOPED_TRACE(count);
        LogTap tap;
        MessageParcel parcel;
        ASSERT_TRUE(parcel.WriteInt32(1) && parcel.WriteInt32(1) && parcel.WriteInt64(1) && parcel.WriteInt32(1));
        ASSERT_TRUE(parcel.WriteInt32(count));
        const FileHolder file = Sample<FileHolder>();
        ASSERT_TRUE(file.WriteToParcel(parcel) && file.WriteToParcel(parcel));
        SendBean bean;
        EXPECT_FALSE(bean.ReadFromParcel(parcel));
        EXPECT_EQ(bean.uriList.size(), arrived);
        EXPECT_EQ(tap.Take(), Lines());
        CloseFiles(bean);
    }
    EXPECT_EQ(CountDescriptors(), before);
}

TEST(DataBeanLimits, TheReaderGoesByTotalNum)
{
    // As many as told; one more than the most is written, and not read; below zero means none; too few come apart.
    for (const auto& [totalNum, items, isRead] :
        {std::tuple(2, 2U, true), {500, 500U, true}, {501, 501U, false}, {-1, 0U, true}, {2, 1U, false}}) {
        SCOPED_TRACE(totalNum);
        DataBean bean;
        bean.totalNum = totalNum;
        bean.fileItems.assign(items, Sample<FileItem>());
        MessageParcel parcel;
        ASSERT_TRUE(bean.WriteToParcel(parcel));
        DataBean other;
        EXPECT_EQ(other.ReadFromParcel(parcel), isRead);
        EXPECT_TRUE(!isRead || (other.fileItems.size() == items && parcel.GetReadableBytes() == 0));
    }
}

TEST(FileHolderDescriptors, NoneCannotBeWrittenButCanBeRead)
{
    FileHolder holder = Sample<FileHolder>();
    holder.SetFileFd(-1);
    LogTap tap;
    MessageParcel refused;
    EXPECT_FALSE(holder.WriteToParcel(refused));
    EXPECT_EQ(tap.Take(), LinesOf(Log::SHARE_NAPI, {"WriteFileDescriptor failed."}));

    MessageParcel parcel;
    ASSERT_TRUE(parcel.WriteString("a.jpg") && parcel.WriteInt64(1) && parcel.WriteString("image/jpeg"));
    FileHolder other;
    EXPECT_TRUE(other.ReadFromParcel(parcel));
    EXPECT_EQ(other.GetFileFd(), -1);
    EXPECT_EQ(other.GetFileType(), "image/jpeg");
    FileHolder old = Sample<FileHolder>(); // a number that was not read here is left open
    EXPECT_FALSE(old.ReadFromParcel(parcel));
    EXPECT_NE(fcntl(SomeFile(), F_GETFD), -1);
}

template <class R>
size_t CapacityAfterWriting(const R& record, size_t capacity = Parcel::DEFAULT_MAX_CAPACITY)
{
    MessageParcel parcel;
    EXPECT_TRUE(parcel.SetMaxCapacity(capacity));
    EXPECT_TRUE(record.WriteToParcel(parcel));
    R other;
    EXPECT_TRUE(other.ReadFromParcel(parcel));
    return parcel.GetMaxCapacity();
}

TEST(RecordCapacity, ImagesRaiseItPayloadsSetItAndNothingElseDoes)
{
    ShareDeviceInfo info;
    info.SetAvatar(std::string(ABOVE_DEFAULT, 'a'));
    info.contactInfo.SetAvatar(std::string(10, 'b'));
    EXPECT_EQ(CapacityAfterWriting(info), Parcel::DEFAULT_MAX_CAPACITY + ABOVE_DEFAULT + 10);
    ShareDevice device;
    device.contactInfo.SetAvatar(std::string(ABOVE_DEFAULT, 'a'));
    EXPECT_EQ(CapacityAfterWriting(device), Parcel::DEFAULT_MAX_CAPACITY + ABOVE_DEFAULT);
    const std::string large(1'000'000, 't');
    const auto bytes = Filled<BytesInfo>(&BytesInfo::text, large);
    EXPECT_EQ(CapacityAfterWriting(Filled<SendBean>(&SendBean::text, large)), PAYLOAD_PARCEL_CAPACITY);
    EXPECT_EQ(CapacityAfterWriting(Filled<DataBean>(&DataBean::text, large)), PAYLOAD_PARCEL_CAPACITY);
    EXPECT_EQ(CapacityAfterWriting(bytes, 2 * PAYLOAD_PARCEL_CAPACITY), PAYLOAD_PARCEL_CAPACITY) << "set, not raised";

    MessageParcel fresh;
    SendBean named = BeanOf(1);
    named.uriList[0].SetFileName(std::string(ABOVE_DEFAULT, 'n'));
    EXPECT_FALSE(named.WriteToParcel(fresh)) << "the room comes only behind the files";
    EXPECT_FALSE(Filled<RecvPreview>(&RecvPreview::previewData_, large).WriteToParcel(fresh)) << "makes no room";
    EXPECT_EQ(fresh.GetMaxCapacity(), Parcel::DEFAULT_MAX_CAPACITY);
    info.SetBtName(std::string(ABOVE_DEFAULT, 'n'));
    EXPECT_FALSE(info.WriteToParcel(fresh));
    const std::string tooLarge(PAYLOAD_PARCEL_CAPACITY, 't');
    EXPECT_FALSE(Filled<BytesInfo>(&BytesInfo::text, tooLarge).WriteToParcel(fresh));
}

} // namespace
} // namespace OHOS::Pelago
