// What a peer tells of itself comes from outside, as texts inside texts: what is read of it, and what is refused.

#include "tap_scene.h"

namespace OHOS::Pelago {
namespace {

class TapTexts : public TapScene {
protected:
    void SetUp() override
    {
        TapScene::SetUp();
        Subscribe();
    }

    // What the framework is answered, and what has happened at once. Not by a parcel, which is shorter than some texts.
    std::string Publish(const std::string& text)
    {
        auto* callback = dynamic_cast<Synfold::IServicePublishCallback*>(Collab().KnockObject().GetRefPtr());
        const int32_t result = callback->OnPublishEvent(new Synfold::RequestResultInfo(text));
        return std::to_string(result) + "; " + Happened();
    }
};

const std::string MEGABYTE = ",\"x\":\"" + std::string(1 << 20, '\\') + "\"";

// Puts `by` in the place of `what`.
struct Edit {
    const char* what;
    std::string by;
    const char* expected;
};

TEST_F(TapTexts, ThatAreBrokenAreRefusedWithTheToldWordsAndNothingHappens)
{
#define CODE_FAILED "; ! CheckNudgeServiceCode failed."
#define NO_DEVICE "; ! ConvertToShareDevice nullptr."
    const char* const NO_EXTRA = "0; ! extraData null." CODE_FAILED;
    const char* const NO_CUSTOM = "0; ! CUSTOM_DATA null." CODE_FAILED;
    const char* const NO_SUB_ID = "0; ! subId  is not SHARE_BUSINESS_CODE, no need handle." CODE_FAILED;
    const PeerAnswer plain;
    const Edit rows[] = {
        {"\"CONN_ADDR_TYPE\"", "oops", NO_EXTRA},
        {"", ",\"extraData\":1", NO_EXTRA}, // of two members the first counts
        {"\"serviceId\"", "oops", NO_CUSTOM},
        {"\"BLE_MAC\":\"AA:BB\"", "\"CUSTOM_DATA\":{}", NO_CUSTOM},
        {"\"actionId\":7", "\"actionId\":" + std::string(3000, '['), NO_CUSTOM},
        {"\"pelago.receiver\"", "5", "0; ! ServiceId  invalid, no need handle." CODE_FAILED},
        {"pelago.receiver", "PELAGO", "0; ! ServiceId PELAGO invalid, no need handle." CODE_FAILED},
        {"\"4\"", "4", NO_SUB_ID},
        {"\"4\"", "\"\"", NO_SUB_ID},
        {"\"4\"", "\"5\"", "0; ! subId 5 is not SHARE_BUSINESS_CODE, no need handle." CODE_FAILED},
        {"\"4\"", "\"4x\"", "0; ! subId 4x is not SHARE_BUSINESS_CODE, no need handle." CODE_FAILED},
        {"deviceId", "deviceID", "0; ! deviceId is null." NO_DEVICE},
        {"\"phone\"", "7", "0; ! deviceId is null." NO_DEVICE},
        {"\"Action\"", "\"action\"", "0; ! discType not action: action.; ! ParseExtraData failed." NO_DEVICE},
        {"\"Action\"", "[]", "0; ! discType not action: .; ! ParseExtraData failed." NO_DEVICE},
    };
    for (const Edit& row : rows) {
        EXPECT_EQ(Publish(plain.With(row.what, row.by).Text()), row.expected) << row.what << " " << row.by;
    }
    EXPECT_EQ(Publish(""), "-1; ! RequestResultInfo nullptr or extraInfo empty.");
    EXPECT_EQ(Publish("{\"a\":oops}"), "-1; ! cJSON_Parse error:oops}\n");
    EXPECT_EQ(Publish("[1,2]"), NO_EXTRA);
    EXPECT_EQ(Publish(std::string(1 << 20, '[')).substr(0, 24), "-1; ! cJSON_Parse error:");
    EXPECT_FALSE(TrellisService::GetTapView().preparing);
}

std::string Told(const ShareDevice& device)
{
    return device.GetDeviceId() + " " + device.udidHash + " " + device.GetDeviceName() + " " +
           std::to_string(device.GetDeviceType()) + " mac=" + device.bleMac + " hash=" + device.deviceHash +
           " nick=" + device.GetNickName() + " account=" + device.GetAccountHash() + " " + device.discType +
           std::to_string(device.GetActionAddrHandle()) + " oh=" + std::to_string(device.GetOHFlag()) +
           " version=" + std::to_string(device.nearbyVersion) + (device.isContactShareSupported ? " contact" : "") +
           " can=" + std::to_string(device.GetCapability()) + " by=" + std::to_string(device.GetDiscoveredBy());
}

TEST_F(TapTexts, AreReadMemberByMemberAndAWrongTypeIsAMissingOne)
{
#define PLAIN_HEAD "phone phone Phone 0 mac=AA:BB hash=AB0Z nick=Nick account=account Action7 oh=1"
    const char* const PLAIN = PLAIN_HEAD " version=-1 can=0 by=2";
    const PeerAnswer plain;
    const Edit rows[] = {
        {"", "", PLAIN},
        {"\"4\"", "\"6\"", PLAIN},
        {"State\":1", "State\":1e99", PLAIN}, // any low byte but 2 is on
        {"", MEGABYTE, PLAIN},
        {"\"OH\":1", "\"OH\":\"1\"", // another stack's hash is its id
            "AB0Z phone Phone 0 mac=AA:BB hash=AB0Z nick=Nick account=account Action7 oh=0 version=-1 can=0 by=2"},
        {"ab0z", "\\u00e9z",
            "phone phone Phone 0 mac=AA:BB hash=\u00e9Z nick=Nick account=account Action7 oh=1 version=-1 can=0 by=2"},
        {"\"OH\":1,\"devHash\":\"ab0z\"", "\"devHash\":\"\"", // which an empty one is not
            "phone phone Phone 0 mac=AA:BB hash= nick=Nick account=account Action7 oh=0 version=-1 can=0 by=2"},
        {"\"OH\":1", "\"OH\":1,\"nbVer\":3,\"abl\":7,\"capability\":4", PLAIN_HEAD " version=3 contact can=4 by=2"},
        {"\"OH\":1", "\"OH\":1,\"nbVer\":-1e99,\"abl\":1,\"capability\":1e99",
            PLAIN_HEAD " version=-2147483648 can=2147483647 by=2"},
        {"\"OH\"", "oops", "phone phone Phone 0 mac=AA:BB hash= nick= account= Action7 oh=0 version=0 can=0 by=2"},
        {"\"Phone\"", "1,\"deviceTypeId\":2575",
            "phone phone  17 mac=AA:BB hash=AB0Z nick=Nick account=account Action7 oh=1 version=-1 can=0 by=2"},
        {"TYPE\":2", "TYPE\":\"2\"",
            "phone phone Phone 0 mac= hash=AB0Z nick=Nick account=account Action7 oh=1 version=-1 can=0 by=2"},
        {"actionId\":7", "actionId\":\"7\"",
            "phone phone Phone 0 mac=AA:BB hash=AB0Z nick=Nick account=account Action-1 oh=1 version=-1 can=0 by=2"},
    };
    for (const Edit& row : rows) {
        SCOPED_TRACE(row.what + (" " + row.by.substr(0, 80)));
        Engine().lastCollabDevice = new ShareDevice();
        const std::string happened = Publish(plain.With(row.what, row.by).Text());
        EXPECT_NE(happened.find("0; Send 2"), std::string::npos) << happened;
        EXPECT_EQ(Told(*Engine().lastCollabDevice), row.expected);
        LetPass();
        (void)Happened();
    }
    const std::string unnamed = Publish(plain.With("concurrentId", "another").Text());
    EXPECT_NE(unnamed.find("OnNudgeStartEvent 502 0 1 0 phone_17"), std::string::npos) << unnamed; // and the time
    LetPass();
    (void)Happened();
    const std::string off = Publish(plain.With("State\":1", "State\":258").Text()); // its low byte counts
    EXPECT_EQ(off.find("OnCollabDeviceFound"), std::string::npos) << off;
}

} // namespace
} // namespace OHOS::Pelago
