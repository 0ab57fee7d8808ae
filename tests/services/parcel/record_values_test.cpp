// What records answer, apart from travelling.
#include <utility>

#include "bytes.h"
#include "message_parcel.h"
#include "samples.h"

namespace OHOS::Pelago {
namespace {

TEST(ShareDeviceInfoValues, AnEngineStatusIsShownAsAState)
{
    const std::pair<int32_t, int32_t> rows[] = {{1001, 117}, {1002, 117}, {1003, 117}, {1004, 102}, {1005, 102},
        {1006, 117}, {1007, 105}, {1008, 110}, {1009, 104}, {1010, 117}, {1011, 117}, {1012, 111}, {1013, 109},
        {1014, 112}, {1015, 105}, {1016, 105}, {1017, 114}, {1018, 116}, {1019, 115}, {1020, 105}, {1021, 105},
        {2008, 113}, {1000, 116}, {1022, 116}, {2007, 116}, {2009, 116}, {0, 116}, {-1, 116}, {INT32_MIN, 116}};
    for (const auto& [status, state] : rows) {
        LogTap tap;
        EXPECT_EQ(ShareDeviceInfo::ConvertOnStatus(status), state) << status;
        const Lines said = LinesOf(Log::SHARE, {"status: " + std::to_string(status), "invalid status!"});
        EXPECT_EQ(tap.Take(), state == DeviceState::UNKNOWN_STATUS ? said : Lines{said[0]});
    }
}

TEST(ShareDeviceInfoValues, TheMergeIdIsTheContactsUnlessThereIsNoneAndDiscoverersComeAndGoAsBits)
{
    ShareDeviceInfo info;
    EXPECT_EQ(info.GetMergeId(), "DeviceIdentity");
    info.contactInfo.SetContactId(INT32_MIN); // groups devices, but is no contact for telemetry
    EXPECT_EQ(info.GetMergeId(), "-2147483648");
    EXPECT_FALSE(ContactInfo::IsContactIdValid(INT32_MIN) || ContactInfo::IsContactIdValid(0));
    EXPECT_TRUE(ContactInfo::IsContactIdValid(1));

    LogTap tap;
    info.SetDiscoveredBy(Discoverer::ORDINARY | Discoverer::SWING);
    EXPECT_TRUE(info.IsContainDiscoverer(Discoverer::SWING | Discoverer::TAP));
    EXPECT_FALSE(info.IsContainDiscoverer(Discoverer::TAP));
    info.DelDiscoverer(Discoverer::SWING | Discoverer::TAP);
    EXPECT_EQ(info.GetDiscoveredBy(), 1U);
    EXPECT_EQ(tap.Take(),
        LinesOf(Log::SHARE, {"SetDiscoveredBy 5", "DelDiscoverer, old 5, del 6", "DelDiscoverer exit, new 1"}));
}

TEST(OtherValues, ADeviceBecomesWhatClientsSeeAndWhatIsReadDiffersInTwoValues)
{
    sptr<ShareDevice> device = MakeSptr<ShareDevice>(Sample<ShareDevice>());
    device->nearbyVersion = 9; // is not taken over
    device->ohFlag = 2;
    device->isSameAccount = true;

    using R = ShareDeviceInfo;
    const auto expected = Filled<R>(&R::btName, "Blue phone", &R::deviceId, "device-1", &R::corvaneIdName, "ada",
        &R::deviceType, 14, &R::avatar, "HASH", &R::lastSharedTime, 1700000000123, &R::isSameAccount, true,
        &R::contactInfo, Sample<ContactInfo>(), &R::isOHDevice, true, &R::discoveredBy, 6U, &R::capability, 5);
    const auto bytesOf = [](const ShareDeviceInfo& info) {
        MessageParcel parcel;
        EXPECT_TRUE(info.WriteToParcel(parcel));
        return BytesOf(parcel);
    };
    EXPECT_EQ(bytesOf(ShareDeviceInfo::ConvertToShareDeviceInfo(device)), bytesOf(expected));
    EXPECT_EQ(bytesOf(ShareDeviceInfo::ConvertToShareDeviceInfo(nullptr)), bytesOf(ShareDeviceInfo()));

    MessageParcel parcel;
    ASSERT_TRUE(Sample<RecvPreview>().WriteToParcel(parcel)); // whose own is 9
    RecvPreview preview;
    ASSERT_TRUE(preview.ReadFromParcel(parcel));
    EXPECT_EQ(preview.GetDeviceStatus(), 1);
    ASSERT_TRUE(Filled<ShareDevice>(&ShareDevice::deviceType_, 2575).WriteToParcel(parcel));
    EXPECT_EQ(sptr<ShareDevice>(ShareDevice::Unmarshalling(parcel))->GetDeviceType(), 17);
    ShareDeviceInfo info;
    info.SetDeviceType(2575);
    EXPECT_EQ(info.GetDeviceType(), 2575);
}

} // namespace
} // namespace OHOS::Pelago
