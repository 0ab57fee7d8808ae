#ifndef PELAGO_TESTS_SERVICES_PARCEL_SAMPLES_H
#define PELAGO_TESTS_SERVICES_PARCEL_SAMPLES_H

// One record of each kind, with values that tell its fields apart.

#include <fcntl.h>
#include <unistd.h>

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
#include "filled.h"
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
    using R = ContactInfo;
    return Filled<R>(&R::contactId, -7, &R::name, "Ada", &R::avatar, "face");
}

template <>
inline ShareDeviceInfo Sample()
{
    using R = ShareDeviceInfo;
    return Filled<R>(&R::btName, "Blue phone", &R::corvaneIdName, "ada", &R::avatar, "IMAGE", &R::colorId, 3,
        &R::eventCode, TransferEvent::STATUS, &R::deviceState, DeviceState::TRANSFERRING, &R::percent, 42, &R::speed,
        -1, &R::isDisappeared, true, &R::deviceType, 2607, &R::deviceId, "device-1", &R::nearbyVersion, 9,
        &R::lastSharedTime, 1700000000123, &R::isSameAccount, true, &R::contactInfo, Sample<ContactInfo>(),
        &R::isOHDevice, false, &R::discoveredBy, UINT32_MAX, &R::concurrentId, "c_1", &R::capability, INT32_MIN);
}

template <>
inline ShareDevice Sample()
{
    using R = ShareDevice;
    return Filled<R>(&R::deviceId_, "device-1", &R::accountHash_, "HASH", &R::deviceType_, 14, &R::deviceName_,
        "Blue phone", &R::nickName_, "ada", &R::lastSharedTime, 1700000000123, &R::discoveredBy_, 6U, &R::contactInfo,
        Sample<ContactInfo>(), &R::capability_, 5);
}

template <>
inline ShareAccountInfo Sample()
{
    using R = ShareAccountInfo;
    return Filled<R>(&R::corvaneAccountID, "ada@home", &R::corvaneAccountIDHash, "HASH", &R::status, 2, &R::callingUid,
        1000, &R::nickName, "ada");
}

template <>
inline FileHolder Sample()
{
    using R = FileHolder;
    return Filled<R>(
        &R::fileName_, "a.jpg", &R::fileSize_, 4294967296, &R::fileFd, SomeFile(), &R::fileType_, "image/jpeg");
}

template <>
inline FileItem Sample()
{
    using R = FileItem;
    return Filled<R>(&R::fileUri_, "file://a/b.jpg", &R::fileName_, "b.jpg", &R::fileSize_, -1, &R::fileRelativePath_,
        "a/", &R::fileMimeType_, "image/jpeg");
}

template <>
inline SendBean Sample()
{
    using R = SendBean;
    auto second =
        Filled<FileHolder>(&FileHolder::fileName_, "b.txt", &FileHolder::fileSize_, 4, &FileHolder::fileFd, SomeFile());
    return Filled<R>(&R::sendModule, 1, &R::sendType, 2, &R::totalSize, 4294967300, &R::totalNum, 7, &R::uriList,
        std::vector<FileHolder>{Sample<FileHolder>(), second}, &R::text, "hello", &R::thumbnail, "thumb",
        &R::scenarioId, "scene", &R::conCurrentId, "c_1", &R::sendExtraFlag, 11);
}

template <>
inline DataBean Sample()
{
    using R = DataBean;
    auto bean = Filled<R>(&R::sendModule, 1, &R::sendType, 2, &R::totalSize, 4294967300, &R::totalNum, 1, &R::fileItems,
        std::vector<FileItem>{Sample<FileItem>()}, &R::text, "hello", &R::thumbnail, "thumb", &R::scenarioId, "scene",
        &R::conCurrentId, "c_1", &R::dataExtraInt1, 21, &R::dataExtraInt2, 22, &R::dataExtraInt3, 23);
    bean.extra_.SetParam("k", "v");
    return bean;
}

template <>
inline BytesInfo Sample()
{
    using R = BytesInfo;
    return Filled<R>(&R::bytesType, 3, &R::bytesTitle, "title", &R::previewData, "preview", &R::conCurrentId, "c_1",
        &R::text, "hello");
}

template <>
inline RecvPreview Sample()
{
    using R = RecvPreview;
    return Filled<R>(&R::senderName_, "Blue phone", &R::recvType_, 1, &R::fileCounter_, 2, &R::folderCounter_, 3,
        &R::itemTotalSize_, UINT64_MAX, &R::previewData_, "preview", &R::allFileNameData_, "a.jpg,b.txt",
        &R::previewInfo_, "info", &R::previewExtraInfo_, "extra", &R::bytesType_, 4, &R::bytesData_, "data",
        &R::popUpStrategy_, 5, &R::packageInfo_, "package", &R::transType_, 6, &R::deviceStatus_, int8_t{9},
        &R::previewInfoSummary_, "summary");
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
