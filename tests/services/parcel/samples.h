#ifndef PELAGO_TESTS_SERVICES_PARCEL_SAMPLES_H
#define PELAGO_TESTS_SERVICES_PARCEL_SAMPLES_H

// One record of each kind, with values that tell its fields apart, and what is said when each field fails.

#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "bytes_info.h"
#include "contact_info.h"
#include "data_bean.h"
#include "file_holder.h"
#include "file_item.h"
#include "log_tap.h"
#include "recv_preview.h"
#include "send_bean.h"
#include "share_account_info.h"
#include "share_device.h"
#include "share_device_info.h"

namespace OHOS::Pelago {

// A descriptor that stays open, for records that are written.
inline int SomeFile()
{
    static const int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
    return fd;
}

inline size_t OpenDescriptors()
{
    (void)SomeFile(); // is not to be counted only the second time
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(all), end(all)));
}

// What a reader owes for a record that it has read, whole or not.
template <class R>
void CloseFiles(R&)
{}
inline void CloseFiles(FileHolder& holder)
{
    if (holder.fileFd >= 0 && holder.fileFd != SomeFile()) {
        EXPECT_EQ(close(holder.fileFd), 0);
    }
}
inline void CloseFiles(SendBean& bean)
{
    for (FileHolder& holder : bean.uriList) {
        CloseFiles(holder);
    }
}

// For each record: the file of its bytes, a full one, and the lines for its fields, in parcel order.
template <class R>
struct Sample;

template <>
struct Sample<ContactInfo> {
    static constexpr const char* BYTES = "contact_info.txt";
    static ContactInfo Make()
    {
        ContactInfo info;
        info.SetContactId(-7);
        info.SetName("Ada");
        info.SetAvatar("face");
        return info;
    }
    static Lines OnWrite()
    {
        return {};
    }
    static Lines OnRead()
    {
        return {};
    }
};

template <>
struct Sample<ShareDeviceInfo> {
    static constexpr const char* BYTES = "share_device_info.txt";
    static ShareDeviceInfo Make()
    {
        ShareDeviceInfo info;
        info.SetBtName("Blue phone");
        info.SetCorvaneIdName("ada");
        info.SetAvatar("IMAGE");
        info.colorId = 3;
        info.SetEventCode(TransferEvent::STATUS);
        info.SetDeviceState(DeviceState::TRANSFERRING);
        info.SetPercent(42);
        info.SetSpeed(-1);
        info.SetIsDisappeared(true);
        info.SetDeviceType(2607);
        info.SetDeviceId("device-1");
        info.SetNearbyVersion(9);
        info.SetLastSharedTime(1700000000123);
        info.SetIsSameAccount(true);
        info.SetContactInfo(Sample<ContactInfo>::Make());
        info.SetIsOHDevice(false);
        info.SetDiscoveredBy(UINT32_MAX);
        info.SetConcurrentId("c_1");
        info.SetCapability(INT32_MIN);
        return info;
    }
    static Lines OnWrite()
    {
        return LinesOf(Log::SHARE_PROXY,
            {"WriteString corvaneIdName failed.", "WriteString avatar failed.", "WriteInt32 colorId failed.",
                "WriteInt32 eventCode failed.", "WriteInt32 stateCode failed.", "WriteInt32 percent failed.",
                "WriteInt32 speed failed.", "WriteBool isDisappeared failed.", "WriteInt32 deviceType failed.",
                "WriteString deviceId failed.", "WriteInt32 nearbyVersion failed.", "WriteInt64 lastSharedTime failed.",
                "WriteBool isSameAccount failed.", "Write contactInfo failed.", "Write isOHDevice failed.",
                "WriteInt32 deviceFounder failed.", "WriteString concurentId failed."});
    }
    static Lines OnRead()
    {
        return LinesOf(Log::SHARE_STUB,
                   {"ReadString corvaneIdName failed.", "ReadString avatar failed.", "ReadInt32 colorId failed.",
                       "ReadInt32 eventCode failed.", "ReadInt32 stateCode failed.", "ReadInt32 percent failed.",
                       "ReadInt32 speed failed.", "ReadBool isDisappeared failed.", "ReadInt32 deviceType failed.",
                       "ReadString deviceId failed.", "ReadInt32 nearbyVersion failed.",
                       "ReadInt64 lastSharedTime failed.", "ReadBool isSameAccount failed.", "Read contactInfo failed.",
                       "Read isOHDevice failed.", "ReadInt32 deviceFounder failed."}) +
               LinesOf(Log::SHARE_PROXY, {"ReadString concurentId failed."});
    }
};

template <>
struct Sample<ShareDevice> {
    static constexpr const char* BYTES = "share_device.txt";
    static ShareDevice Make()
    {
        ShareDevice device;
        device.SetDeviceId("device-1");
        device.SetAccountHash("HASH");
        device.SetDeviceType(14);
        device.SetDeviceName("Blue phone");
        device.SetNickName("ada");
        device.lastSharedTime = 1700000000123;
        device.SetDiscoveredBy(Discoverer::TAP | Discoverer::SWING);
        device.contactInfo = Sample<ContactInfo>::Make();
        device.SetCapability(5);
        return device;
    }
    static Lines OnWrite()
    {
        return LinesOf(Log::SHARE_PROXY, {"Write contactInfo failed."});
    }
    static Lines OnRead()
    {
        return LinesOf(Log::SHARE,
                   {"read deviceId_ failed.", "read accountHash_ failed.", "read deviceType_ failed.",
                       "read deviceName_ failed.", "read nickName_ failed.", "read discoveredBy_ failed."}) +
               LinesOf(Log::SHARE_PROXY, {"Read contactInfo failed.", "Read capability_ failed."});
    }
};

template <>
struct Sample<ShareAccountInfo> {
    static constexpr const char* BYTES = "share_account_info.txt";
    static ShareAccountInfo Make()
    {
        ShareAccountInfo info;
        info.corvaneAccountID = "ada@home";
        info.corvaneAccountIDHash = "HASH";
        info.status = 2;
        info.callingUid = 1000;
        info.nickName = "ada";
        return info;
    }
    static Lines OnWrite()
    {
        return LinesOf(
            Log::SHARE_PROXY, {"WriteString corvaneAccountID failed.", "WriteString corvaneAccountIDHash failed.",
                                  "WriteInt32 status failed.", "WriteInt32 callingUid failed.",
                                  "WriteString nickName failed.", "WriteString avatar failed."});
    }
    static Lines OnRead()
    {
        return {};
    }
};

template <>
struct Sample<FileHolder> {
    static constexpr const char* BYTES = "file_holder.txt";
    static FileHolder Make()
    {
        FileHolder holder;
        holder.SetFileName("a.jpg");
        holder.SetFileSize(4294967296);
        holder.SetFileFd(SomeFile());
        holder.SetFileType("image/jpeg");
        return holder;
    }
    static Lines OnWrite()
    {
        return LinesOf(Log::SHARE_NAPI, {"WriteString fileName_ failed.", "WriteInt64 fileSize_ failed.",
                                            "WriteFileDescriptor failed.", "WriteString fileType_ failed."});
    }
    static Lines OnRead()
    {
        return {};
    }
};

template <>
struct Sample<FileItem> {
    static constexpr const char* BYTES = "file_item.txt";
    static FileItem Make()
    {
        FileItem item;
        item.fileUri_ = "file://a/b.jpg";
        item.fileName_ = "b.jpg";
        item.fileSize_ = -1;
        item.fileRelativePath_ = "a/";
        item.fileMimeType_ = "image/jpeg";
        return item;
    }
    static Lines OnWrite()
    {
        return LinesOf(Log::SHARE_NAPI,
            {"WriteString fileUri_ failed.", "WriteString fileName_ failed.", "WriteInt64 fileSize_ failed.",
                "WriteString fileRelativePath_ failed.", "WriteString fileMimeType_ failed."});
    }
    static Lines OnRead()
    {
        return {};
    }
};

template <>
struct Sample<SendBean> {
    static constexpr const char* BYTES = "send_bean.txt";
    static SendBean Make()
    {
        FileHolder second;
        second.SetFileName("b.txt");
        second.SetFileSize(4);
        second.SetFileFd(SomeFile());
        SendBean bean;
        bean.SetSendModule(1);
        bean.SetSendType(2);
        bean.SetTotalSize(4294967300);
        bean.SetTotalNum(7);
        bean.SetUriList({Sample<FileHolder>::Make(), second});
        bean.SetText("hello");
        bean.SetThumbnail("thumb");
        bean.SetScenarioId("scene");
        bean.conCurrentId = "c_1";
        bean.sendExtraFlag = 11;
        return bean;
    }
    static Lines OnWrite()
    {
        const Lines file = Sample<FileHolder>::OnWrite();
        return LinesOf(Log::SHARE_NAPI,
                   {"WriteInt32 failed.", "WriteInt32 failed.", "WriteInt64 failed.", "WriteInt32 failed."}) +
               Lines{file[0]} + LinesOf(Log::SHARE_NAPI, {"FileHolder.WriteToParcel failed."}) +
               Lines(file.begin() + 1, file.end());
    }
    static Lines OnRead()
    {
        return {};
    }
};

template <>
struct Sample<DataBean> {
    static constexpr const char* BYTES = "data_bean.txt";
    static DataBean Make()
    {
        DataBean bean;
        bean.sendModule = 1;
        bean.sendType = 2;
        bean.totalSize = 4294967300;
        bean.totalNum = 1;
        bean.fileItems = {Sample<FileItem>::Make()};
        bean.text = "hello";
        bean.thumbnail = "thumb";
        bean.scenarioId = "scene";
        bean.conCurrentId = "c_1";
        bean.dataExtraInt1 = 21;
        bean.dataExtraInt2 = 22;
        bean.dataExtraInt3 = 23;
        bean.extra_.SetParam("k", "v");
        return bean;
    }
    static Lines OnWrite()
    {
        const Lines item = Sample<FileItem>::OnWrite();
        return LinesOf(Log::SHARE_NAPI, {"WriteInt32 failed.", "WriteInt32 failed.", "WriteInt64 failed.",
                                            "WriteInt32 failed.", "WriteInt32 failed.", "WriteInt32 failed."}) +
               Lines{item[0]} + LinesOf(Log::SHARE_NAPI, {"FileHolder.WriteToParcel failed."}) +
               Lines(item.begin() + 1, item.end()) +
               LinesOf(Log::SHARE_NAPI, {"WriteInt32 failed.", "extra_ Marshalling failed."});
    }
    static Lines OnRead()
    {
        return {};
    }
};

template <>
struct Sample<BytesInfo> {
    static constexpr const char* BYTES = "bytes_info.txt";
    static BytesInfo Make()
    {
        BytesInfo info;
        info.bytesType = 3;
        info.bytesTitle = "title";
        info.previewData = "preview";
        info.conCurrentId = "c_1";
        info.text = "hello";
        return info;
    }
    static Lines OnWrite()
    {
        return LinesOf(Log::SHARE_NAPI, {"WriteInt32 failed."});
    }
    static Lines OnRead()
    {
        return {};
    }
};

template <>
struct Sample<RecvPreview> {
    static constexpr const char* BYTES = "recv_preview.txt";
    static RecvPreview Make()
    {
        RecvPreview preview;
        preview.senderName_ = "Blue phone";
        preview.recvType_ = 1;
        preview.fileCounter_ = 2;
        preview.folderCounter_ = 3;
        preview.itemTotalSize_ = UINT64_MAX;
        preview.previewData_ = "preview";
        preview.allFileNameData_ = "a.jpg,b.txt";
        preview.previewInfo_ = "info";
        preview.previewExtraInfo_ = "extra";
        preview.bytesType_ = 4;
        preview.bytesData_ = "data";
        preview.popUpStrategy_ = 5;
        preview.packageInfo_ = "package";
        preview.transType_ = 6;
        preview.deviceStatus_ = 9;
        preview.previewInfoSummary_ = "summary";
        return preview;
    }
    static Lines OnWrite()
    {
        return LinesOf(Log::SHARE_NAPI,
            {"WriteInt32 recvType_ failed.", "WriteInt32 fileCounter_ failed.", "WriteInt32 fileCounter_ failed.",
                "WriteInt64 itemTotalSize_ failed.", "WriteString previewData_ failed.",
                "WriteString allFileNameData_ failed.", "WriteString previewInfo_ failed.",
                "WriteInt32 bytesType_ failed.", "WriteString bytesData_ failed.", "WriteInt32 popUpStrategy_ failed.",
                "WriteString packageInfo_ failed.", "WriteInt32 transType_ failed.", "WriteString packageInfo_ failed.",
                "WriteString previewInfoSummary_ failed."});
    }
    static Lines OnRead()
    {
        return {};
    }
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_SERVICES_PARCEL_SAMPLES_H
