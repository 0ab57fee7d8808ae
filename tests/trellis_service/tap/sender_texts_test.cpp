// What a peer tells of itself comes from outside, as texts inside texts: what is read of it, and what is refused.

#include "tap_scene.h"

namespace OHOS::Pelago {
namespace {

class TapTexts : public TapScene {
protected:
    // What the framework is answered, and what has happened at once. Not by a parcel, which is shorter than some texts.
    std::string Publish(const std::string& text)
    {
        Subscribe();
        auto* callback = dynamic_cast<Synfold::IServicePublishCallback*>(Collab().KnockObject().GetRefPtr());
        const int32_t result = callback->OnPublishEvent(new Synfold::RequestResultInfo(text));
        return std::to_string(result) + "; " + Happened();
    }
};

// Puts `by` in the place of `what`: in the answer, then in what is told of the device.
struct Edit {
    std::string what;
    std::string by;
    std::string told;
    std::string toldBy = "";
};

TEST_F(TapTexts, ThatAreBrokenAreRefusedWithTheToldWordsAndNothingHappens)
{
    const std::string noExtra = "! extraData null.; ";
    const std::string noCustom = "! CUSTOM_DATA null.; ";
    const std::string noId = "! deviceId is null.; ";
    const Edit rows[] = {
        {"\"CONN_ADDR_TYPE\"", "oops", noExtra},
        {"", ",\"extraData\":1", noExtra}, // of two members the first counts
        {"\"serviceId\"", "oops", noCustom},
        {"\"BLE_MAC\":\"AA:BB\"", "\"CUSTOM_DATA\":{}", noCustom},
        {"\"actionId\":7", "\"actionId\":" + std::string(3000, '['), noCustom},
        {"\"pelago.receiver\"", "5", "! ServiceId  invalid, no need handle.; "},
        {"pelago.receiver", "PELAGO", "! ServiceId PELAGO invalid, no need handle.; "},
        {"\"4\"", "\"5\"", "! subId 5 is not SHARE_BUSINESS_CODE, no need handle.; "},
        {"\"4\"", "\"4x\"", "! subId 4x is not SHARE_BUSINESS_CODE, no need handle.; "},
        {"deviceId", "deviceID", noId},
        {"\"Action\"", "\"action\"", "! discType not action: action.; ! ParseExtraData failed.; "},
        {"\"Action\"", "[]", "! discType not action: .; ! ParseExtraData failed.; "},
    };
    for (const Edit& row : rows) {
        const bool isOurs = row.told == noId || row.what == "\"Action\"";
        EXPECT_EQ(Publish(PeerAnswer().With(row.what, row.by).Text()),
            "0; " + row.told + (isOurs ? "! ConvertToShareDevice nullptr." : "! CheckNudgeServiceCode failed."))
            << row.what << " " << row.by;
    }
    EXPECT_EQ(Publish(""), "-1; ! RequestResultInfo nullptr or extraInfo empty.");
    EXPECT_EQ(Publish("{\"a\":oops}"), "-1; ! cJSON_Parse error:oops}\n");
    EXPECT_EQ(Publish("[1,2]"), "0; " + noExtra + "! CheckNudgeServiceCode failed.");
    EXPECT_EQ(Publish(std::string(1 << 20, '[')).substr(0, 24), "-1; ! cJSON_Parse error:");
    EXPECT_FALSE(TrellisService::GetTapView().preparing);
}

std::string Told(const ShareDevice& device)
{
    return device.GetDeviceId() + " oh=" + std::to_string(device.GetOHFlag()) + " " + device.deviceHash + " " +
           device.GetNickName() + " " + device.GetAccountHash() + " version=" + std::to_string(device.nearbyVersion) +
           (device.isContactShareSupported ? " contact" : "") + " can=" + std::to_string(device.GetCapability()) + " " +
           device.udidHash + " " + device.GetDeviceName() + " " + std::to_string(device.GetDeviceType()) +
           " mac=" + device.bleMac + " " + device.discType + std::to_string(device.GetActionAddrHandle()) +
           " by=" + std::to_string(device.GetDiscoveredBy());
}

TEST_F(TapTexts, AreReadMemberByMemberAndAWrongTypeIsAMissingOne)
{
    const std::string plain = "phone oh=1 AB0Z Nick account version=-1 can=0 phone Phone 0 mac=AA:BB Action7 by=2";
    const Edit rows[] = {
        {"\"4\",\"shareState\":1", "\"6\",\"shareState\":1e99", ""}, // any low byte but 2 is on
        {"", ",\"x\":\"" + std::string(1 << 20, '\\') + "\"", ""},
        {"\"OH\":1", "\"OH\":\"1\"", "phone oh=1", "AB0Z oh=0"}, // another stack's hash is its id
        {"ab0z", "\\u00e9z", "AB0Z", "\u00e9Z"},
        {"\"OH\":1,\"devHash\":\"ab0z\"", "\"devHash\":\"\"", "oh=1 AB0Z", "oh=0 "}, // which an empty one is not
        {"\"OH\":1", "\"OH\":1,\"nbVer\":3,\"abl\":7,\"capability\":4", "=-1 can=0", "=3 contact can=4"},
        {"\"OH\":1", "\"OH\":1,\"nbVer\":-1e99,\"abl\":1,\"capability\":1e99", "-1 can=0",
            "-2147483648 can=2147483647"},
        {"\"OH\"", "oops", "oh=1 AB0Z Nick account version=-1", "oh=0    version=0"},
        {"\"Phone\"", "1,\"deviceTypeId\":2575", "Phone 0", " 17"},
        {"TYPE\":2", "TYPE\":\"2\"", "AA:BB", ""},
        {"actionId\":7", "actionId\":\"7\"", "Action7", "Action-1"},
    };
    for (const Edit& row : rows) {
        SCOPED_TRACE(row.what + (" " + row.by.substr(0, 80)));
        Engine().lastCollabDevice = new ShareDevice();
        const std::string happened = Publish(PeerAnswer().With(row.what, row.by).Text());
        EXPECT_NE(happened.find("0; Send 2"), std::string::npos) << happened;
        EXPECT_EQ(Told(*Engine().lastCollabDevice), Replaced(plain, row.told, row.toldBy));
        Skip(EVERY_TIMER_MS);
    }
    const std::string unnamed = Publish(PeerAnswer().With("concurrentId", "another").Text());
    EXPECT_NE(unnamed.find("OnNudgeStartEvent 502 0 1 0 phone_17"), std::string::npos) << unnamed; // and the time
    Skip(EVERY_TIMER_MS);
    const std::string off = Publish(PeerAnswer().With("State\":1", "State\":258").Text()); // its low byte counts
    EXPECT_EQ(off.find("OnCollabDeviceFound"), std::string::npos) << off;
}

} // namespace
} // namespace OHOS::Pelago
