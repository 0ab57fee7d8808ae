#ifndef PELAGO_TESTS_SERVICES_PARCEL_SAMPLES_H
#define PELAGO_TESTS_SERVICES_PARCEL_SAMPLES_H

// One record of each kind, with values that tell its fields apart.

#include <fcntl.h>
#include <unistd.h>

#include <tuple>
#include <type_traits>

#include "bytes_info.h"
#include "contact_info.h"
#include "data_bean.h"
#include "file_holder.h"
#include "file_item.h"
#include "filled.h"
#include "folders.h"
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

// A record of each kind, with a value of its own in every field, as the files of their bytes have them.
inline const auto& AllSamples()
{
    using C = ContactInfo;
    using I = ShareDeviceInfo;
    using D = ShareDevice;
    using A = ShareAccountInfo;
    using H = FileHolder;
    using F = FileItem;
    using S = SendBean;
    using U = DataBean;
    using B = BytesInfo;
    using P = RecvPreview;
    static const auto all = [] {
        const auto contact = Filled<C>(&C::contactId, -7, &C::name, "Ada", &C::avatar, "face");
        const auto info = Filled<I>(&I::btName, "Blue phone", &I::corvaneIdName, "ada", &I::avatar, "IMAGE",
            &I::colorId, 3, &I::eventCode, TransferEvent::STATUS, &I::deviceState, DeviceState::TRANSFERRING,
            &I::percent, 42, &I::speed, -1, &I::isDisappeared, true, &I::deviceType, 2607, &I::deviceId, "device-1",
            &I::nearbyVersion, 9, &I::lastSharedTime, 1700000000123, &I::isSameAccount, true, &I::contactInfo, contact,
            &I::isOHDevice, false, &I::discoveredBy, UINT32_MAX, &I::concurrentId, "c_1", &I::capability, INT32_MIN);
        const auto device = Filled<D>(&D::deviceId_, "device-1", &D::accountHash_, "HASH", &D::deviceType_, 14,
            &D::deviceName_, "Blue phone", &D::nickName_, "ada", &D::lastSharedTime, 1700000000123, &D::discoveredBy_,
            6U, &D::contactInfo, contact, &D::capability_, 5);
        const auto account = Filled<A>(&A::corvaneAccountID, "ada@home", &A::corvaneAccountIDHash, "HASH", &A::status,
            2, &A::callingUid, 1000, &A::nickName, "ada");
        const auto holder = Filled<H>(
            &H::fileName_, "a.jpg", &H::fileSize_, 4294967296, &H::fileFd, SomeFile(), &H::fileType_, "image/jpeg");
        const auto second = Filled<H>(&H::fileName_, "b.txt", &H::fileSize_, 4, &H::fileFd, SomeFile());
        const auto item = Filled<F>(&F::fileUri_, "file://a/b.jpg", &F::fileName_, "b.jpg", &F::fileSize_, -1,
            &F::fileRelativePath_, "a/", &F::fileMimeType_, "image/jpeg");
        const auto files = Filled<S>(&S::sendModule, 1, &S::sendType, 2, &S::totalSize, 4294967300, &S::totalNum, 7,
            &S::uriList, std::vector<H>{holder, second}, &S::text, "hello", &S::thumbnail, "thumb", &S::scenarioId,
            "scene", &S::conCurrentId, "c_1", &S::sendExtraFlag, 11);
        auto uris = Filled<U>(&U::sendModule, 1, &U::sendType, 2, &U::totalSize, 4294967300, &U::totalNum, 1,
            &U::fileItems, std::vector<F>{item}, &U::text, "hello", &U::thumbnail, "thumb", &U::scenarioId, "scene",
            &U::conCurrentId, "c_1", &U::dataExtraInt1, 21, &U::dataExtraInt2, 22, &U::dataExtraInt3, 23);
        uris.extra_.SetParam("k", "v");
        const auto bytes = Filled<B>(&B::bytesType, 3, &B::bytesTitle, "title", &B::previewData, "preview",
            &B::conCurrentId, "c_1", &B::text, "hello");
        const auto preview = Filled<P>(&P::senderName_, "Blue phone", &P::recvType_, 1, &P::fileCounter_, 2,
            &P::folderCounter_, 3, &P::itemTotalSize_, UINT64_MAX, &P::previewData_, "preview", &P::allFileNameData_,
            "a.jpg,b.txt", &P::previewInfo_, "info", &P::previewExtraInfo_, "extra", &P::bytesType_, 4, &P::bytesData_,
            "data", &P::popUpStrategy_, 5, &P::packageInfo_, "package", &P::transType_, 6, &P::deviceStatus_, int8_t{9},
            &P::previewInfoSummary_, "summary");
        return std::tuple{contact, info, device, account, holder, item, files, uris, bytes, preview};
    }();
    return all;
}

template <class R>
R Sample()
{
    return std::get<R>(AllSamples());
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
