#ifndef PELAGO_TESTS_SERVICES_PARCEL_SAMPLES_H
#define PELAGO_TESTS_SERVICES_PARCEL_SAMPLES_H

// One record of each kind, with values that tell its fields apart.

#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <string>
#include <type_traits>

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

// A record with a value of its own in every field, as the file of its bytes has it.
template <class R>
R Sample();

template <>
inline ContactInfo Sample()
{
    ContactInfo info;
    info.SetContactId(-7);
    info.SetName("Ada");
    info.SetAvatar("face");
    return info;
}

template <>
inline ShareDeviceInfo Sample()
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
    info.SetContactInfo(Sample<ContactInfo>());
    info.SetIsOHDevice(false);
    info.SetDiscoveredBy(UINT32_MAX);
    info.SetConcurrentId("c_1");
    info.SetCapability(INT32_MIN);
    return info;
}

template <>
inline ShareDevice Sample()
{
    ShareDevice device;
    device.SetDeviceId("device-1");
    device.SetAccountHash("HASH");
    device.SetDeviceType(14);
    device.SetDeviceName("Blue phone");
    device.SetNickName("ada");
    device.lastSharedTime = 1700000000123;
    device.SetDiscoveredBy(Discoverer::TAP | Discoverer::SWING);
    device.contactInfo = Sample<ContactInfo>();
    device.SetCapability(5);
    return device;
}

template <>
inline ShareAccountInfo Sample()
{
    ShareAccountInfo info;
    info.corvaneAccountID = "ada@home";
    info.corvaneAccountIDHash = "HASH";
    info.status = 2;
    info.callingUid = 1000;
    info.nickName = "ada";
    return info;
}

template <>
inline FileHolder Sample()
{
    FileHolder holder;
    holder.SetFileName("a.jpg");
    holder.SetFileSize(4294967296);
    holder.SetFileFd(SomeFile());
    holder.SetFileType("image/jpeg");
    return holder;
}

template <>
inline FileItem Sample()
{
    FileItem item;
    item.fileUri_ = "file://a/b.jpg";
    item.fileName_ = "b.jpg";
    item.fileSize_ = -1;
    item.fileRelativePath_ = "a/";
    item.fileMimeType_ = "image/jpeg";
    return item;
}

template <>
inline SendBean Sample()
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
    bean.SetUriList({Sample<FileHolder>(), second});
    bean.SetText("hello");
    bean.SetThumbnail("thumb");
    bean.SetScenarioId("scene");
    bean.conCurrentId = "c_1";
    bean.sendExtraFlag = 11;
    return bean;
}

template <>
inline DataBean Sample()
{
    DataBean bean;
    bean.sendModule = 1;
    bean.sendType = 2;
    bean.totalSize = 4294967300;
    bean.totalNum = 1;
    bean.fileItems = {Sample<FileItem>()};
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

template <>
inline BytesInfo Sample()
{
    BytesInfo info;
    info.bytesType = 3;
    info.bytesTitle = "title";
    info.previewData = "preview";
    info.conCurrentId = "c_1";
    info.text = "hello";
    return info;
}

template <>
inline RecvPreview Sample()
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

using AllRecords = testing::Types<ContactInfo, ShareDeviceInfo, ShareDevice, ShareAccountInfo, FileHolder, FileItem,
    SendBean, DataBean, BytesInfo, RecvPreview>;
// The files of their bytes.
inline constexpr const char* FROZEN[] = {"contact_info", "share_device_info", "share_device", "share_account_info",
    "file_holder", "file_item", "send_bean", "data_bean", "bytes_info", "recv_preview"};

template <class R, class... All>
std::string FrozenOf(testing::Types<All...>)
{
    size_t index = 0;
    (void)((std::is_same_v<R, All> || (++index, false)) || ...);
    return FROZEN[index] + std::string(".txt");
}

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_SERVICES_PARCEL_SAMPLES_H
