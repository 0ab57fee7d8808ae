// Counts, capacities and descriptors of the records that carry payloads.
#include <string>

#include <gtest/gtest.h>

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

// The front of a send bean, up to a count of its files.
void WriteFrontWithCount(MessageParcel& parcel, int32_t count)
{
    ASSERT_TRUE(parcel.WriteInt32(1) && parcel.WriteInt32(1) && parcel.WriteInt64(1) && parcel.WriteInt32(1));
    ASSERT_TRUE(parcel.WriteInt32(count));
}

TEST(SendBeanLimits, FiveHundredFilesArriveAndAreTheReaders)
{
    const size_t before = OpenDescriptors();
    {
        MessageParcel parcel;
        ASSERT_TRUE(BeanOf(MAX_SHARED_FILES).WriteToParcel(parcel));
        SendBean bean;
        ASSERT_TRUE(bean.ReadFromParcel(parcel));
        ASSERT_EQ(bean.uriList.size(), MAX_SHARED_FILES);
        EXPECT_NE(fcntl(bean.uriList.back().fileFd, F_GETFD), -1);
        CloseFiles(bean);
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST(SendBeanLimits, OneFileMoreIsNotWritten)
{
    LogTap tap;
    MessageParcel parcel;
    EXPECT_FALSE(BeanOf(MAX_SHARED_FILES + 1).WriteToParcel(parcel));
    EXPECT_EQ(tap.Take(), LinesOf(Log::SHARE_NAPI, {"The number of files exceeds the upper limit."}));
}

TEST(SendBeanLimits, CountsBeyondTheLimitAreRefusedWithoutAWord)
{
    for (int32_t count : {501, -1, INT32_MAX, INT32_MIN}) {
        SCOPED_TRACE(count);
        LogTap tap;
        MessageParcel parcel;
        WriteFrontWithCount(parcel, count);
        SendBean bean;
        EXPECT_FALSE(bean.ReadFromParcel(parcel));
        EXPECT_TRUE(bean.uriList.empty());
        EXPECT_EQ(tap.Take(), Lines());
    }
}

TEST(SendBeanLimits, FilesReadBeforeAFailureStayInTheRecord)
{
    const size_t before = OpenDescriptors();
    {
        MessageParcel parcel;
        WriteFrontWithCount(parcel, 3);
        ASSERT_TRUE(Sample<FileHolder>().WriteToParcel(parcel));
        ASSERT_TRUE(Sample<FileHolder>().WriteToParcel(parcel));
        SendBean bean;
        EXPECT_FALSE(bean.ReadFromParcel(parcel));
        ASSERT_EQ(bean.uriList.size(), 2U);
        CloseFiles(bean);
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST(DataBeanLimits, TheReaderGoesByTotalNum)
{
    struct Row {
        const char* name;
        int32_t totalNum;
        size_t items;
        bool read;
        size_t itemsRead;
    };
    const Row rows[] = {
        {"as many as told", 2, 2, true, 2},
        {"the most", 500, 500, true, 500},
        {"one more is written, and not read", 501, 501, false, 0},
        {"below zero means none", -1, 0, true, 0},
        {"more told than written comes apart", 2, 1, false, 2},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        DataBean bean;
        bean.totalNum = row.totalNum;
        bean.fileItems.assign(row.items, Sample<FileItem>());
        MessageParcel parcel;
        ASSERT_TRUE(bean.WriteToParcel(parcel));
        DataBean other;
        EXPECT_EQ(other.ReadFromParcel(parcel), row.read);
        EXPECT_EQ(other.totalNum, row.totalNum);
        if (row.read) {
            EXPECT_EQ(other.fileItems.size(), row.itemsRead);
            EXPECT_EQ(parcel.GetReadableBytes(), 0U);
        }
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
}

// A holder that is read over does not close the number that it had, whether the read succeeds or not.
TEST(FileHolderDescriptors, ANumberThatWasNotReadIsLeftOpen)
{
    FileHolder holder = Sample<FileHolder>();
    MessageParcel empty;
    EXPECT_FALSE(holder.ReadFromParcel(empty));
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

TEST(RecordCapacity, ImagesRaiseItAndNothingElseOfADeviceDoes)
{
    ShareDeviceInfo info;
    info.SetAvatar(std::string(ABOVE_DEFAULT, 'a'));
    info.contactInfo.SetAvatar(std::string(10, 'b'));
    EXPECT_EQ(CapacityAfterWriting(info), Parcel::DEFAULT_MAX_CAPACITY + ABOVE_DEFAULT + 10);

    ShareDevice device;
    device.contactInfo.SetAvatar(std::string(ABOVE_DEFAULT, 'a'));
    EXPECT_EQ(CapacityAfterWriting(device), Parcel::DEFAULT_MAX_CAPACITY + ABOVE_DEFAULT);

    info.SetBtName(std::string(ABOVE_DEFAULT, 'n'));
    MessageParcel parcel;
    EXPECT_FALSE(info.WriteToParcel(parcel));
}

TEST(RecordCapacity, PayloadsSetIt)
{
    const std::string large(1'000'000, 't');
    SendBean bean;
    bean.SetText(large);
    EXPECT_EQ(CapacityAfterWriting(bean), PAYLOAD_PARCEL_CAPACITY);
    DataBean data;
    data.text = large;
    EXPECT_EQ(CapacityAfterWriting(data), PAYLOAD_PARCEL_CAPACITY);
    BytesInfo bytes;
    bytes.text = large;
    EXPECT_EQ(CapacityAfterWriting(bytes), PAYLOAD_PARCEL_CAPACITY);
    EXPECT_EQ(CapacityAfterWriting(bytes, 2 * PAYLOAD_PARCEL_CAPACITY), PAYLOAD_PARCEL_CAPACITY) << "set, not raised";
    bytes.text.resize(PAYLOAD_PARCEL_CAPACITY);
    MessageParcel parcel;
    EXPECT_FALSE(bytes.WriteToParcel(parcel));
}

// The room for the payload comes only behind the files.
TEST(RecordCapacity, NamesOfASendMustFitAnOrdinaryParcel)
{
    SendBean bean = BeanOf(1);
    bean.uriList[0].SetFileName(std::string(ABOVE_DEFAULT, 'n'));
    MessageParcel parcel;
    EXPECT_FALSE(bean.WriteToParcel(parcel));
}

TEST(RecordCapacity, APreviewThatDoesNotFitFailsWhereItIsWritten)
{
    RecvPreview preview;
    preview.previewData_ = std::string(ABOVE_DEFAULT, 'p');
    LogTap tap;
    MessageParcel parcel;
    EXPECT_FALSE(preview.WriteToParcel(parcel));
    EXPECT_EQ(tap.Take(), LinesOf(Log::SHARE_NAPI, {"WriteString previewData_ failed."}));
    EXPECT_EQ(parcel.GetMaxCapacity(), Parcel::DEFAULT_MAX_CAPACITY);
}

} // namespace
} // namespace OHOS::Pelago
