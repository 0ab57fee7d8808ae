#include <sys/resource.h>

#include <future>
#include <list>

#include "frame.h"
#include "host/extension_host.h"
#include "nearby_folder.h"
#include "process_scene.h"
#include "raw_peer.h"

// What one process fills, or does wrong, is nobody else's harm.
namespace OHOS::Pelago {
namespace {

class Limits : public ProcessScene {
protected:
    // A client that was there before, and one that comes now.
    void ExpectOthersGoOn() const
    {
        EXPECT_EQ(service->GetEnableState(), 0);
        EXPECT_EQ(device->Control({"pid"}).json, std::to_string(device->daemon.Pid()));
    }
    // The default that the device itself tells; -1 for a limit that it does not list.
    int64_t Told(const std::string& name) const
    {
        std::unique_ptr<cJSON, void (*)(cJSON*)> json(
            cJSON_Parse(device->Control({"limits"}).json.c_str()), cJSON_Delete);
        const cJSON* row = nullptr;
        cJSON_ArrayForEach(row, cJSON_GetObjectItemCaseSensitive(json.get(), "limits"))
        {
            if (name == cJSON_GetObjectItemCaseSensitive(row, "name")->valuestring) {
                return cJSON_GetObjectItemCaseSensitive(row, "value")->valueint;
            }
        }
        return -1;
    }
    std::string Socket(const std::string& token) const
    {
        return Tools::DevicePaths("phone").Socket(token);
    }

    const std::unique_ptr<RunningDevice> device = NewDevice("phone");
    const sptr<ITrellisService> service = device->As("owner");
};

TEST_F(Limits, OfWhatAProcessRegisters)
{
    std::string error;
    const sptr<ISystemAbilityManager> samgr = Host::SamgrOf(Host::ConnectToDaemon(Socket("owner"), error));
    const sptr<Host::ExtensionStub> extension = new Host::ExtensionStub();
    Host::DeviceControlProxy control(samgr->GetSystemAbility(Host::AbilityId::DEVICE_CONTROL));
    std::vector<sptr<IRemoteObject>> watchers;
    std::list<RawSocket> guests;
    const sptr<ApiCallback> callback = new ApiCallback([](int32_t, const ShareDeviceInfo&) {});
    ASSERT_TRUE(service->RegisterShareApiCallback(callback));
    device->SwitchOn();
    Local::NearbyFolder nearby;
    ASSERT_TRUE(nearby.Open(Tools::DevicePaths::Nearby(), error) &&
                WaitUntil([&nearby] { return !nearby.PublishedIds().empty(); }));
    const fs::path door = fs::path(Tools::DevicePaths::Nearby()) / (nearby.PublishedIds()[0] + ".sock");
    const std::pair<const char*, std::function<bool(int)>> rows[] = {
        {"gesture.callback-ids-of-process", [&](int i) { return service->RegisterShareEventCallback(2, i); }},
        {"ability.registrations-of-process",
            [&](int i) { return Host::RegisterExtension(samgr, "b" + std::to_string(i), {"a"}, extension) == 0; }},
        {"control.watchers",
            [&](int) {
                watchers.push_back(new IPCObjectStub());
                return control.Watch(watchers.back()) == Host::ControlResult::DONE;
            }},
        {"engine.guests-of-process",
            [&](int) {
                const std::string watch = Local::MakeFrame(Local::FrameType::WATCH);
                guests.push_back(RawSocket::Connect(door));
                (void)guests.back().Send(Bytes(watch.begin(), watch.end())); // fails once it is hung up on
                return WaitUntil([&] { return guests.back().IsTaken(); }) &&
                       device->Dumped("engine", "refusedPeers") == 0;
            }},
    };
    for (const auto& [name, fill] : rows) {
        SCOPED_TRACE(name);
        const int64_t most = Told(name);
        ASSERT_GT(most, 0);
        for (int i = 0; i <= most; ++i) {
            ASSERT_EQ(fill(i), i < most) << i;
        }
        EXPECT_TRUE(service->IsEnabled());
    }
    EXPECT_TRUE(service->UnregisterShareEventCallback(2, 0) && service->RegisterShareEventCallback(2, 5000));
    auto tablet = NewDevice("tablet"); // another process is still a guest
    tablet->SwitchOn();
    Pelago({"-d", "tablet", "nearby", "--watch"})->Await("phone");
}

TEST_F(Limits, OfTimeForAMessageAndOfRepliesThatNobodyReads)
{
    const size_t descriptors = device->daemon.Descriptors();
    {
        const RawClient half(Socket("app"));
        const RawClient deaf(Socket("app"));
        const RawClient flood(Socket("app"));
        ASSERT_TRUE(half.lane.Send({'P'}));
        auto ends = {std::pair{&half, 15}, std::pair{&deaf, 16}};
        auto deafness = std::async(std::launch::async, [&deaf] {
            while (deaf.lane.Send(Message({}))) { // until the daemon cannot answer, and then reads no more
            }
        });
        for (int i = 0; i < 20'000; ++i) {
            ASSERT_EQ(flood.Ask(Message({})).size(), 32U);
            if (i % 1000 == 0) {
                ExpectOthersGoOn();
            }
        }
        for (const auto& [peer, reason] : ends) {
            EXPECT_TRUE(WaitUntil([peer = peer, reason = reason] { return peer->Goodbye() == reason; })) << reason;
        }
    }
    EXPECT_TRUE(WaitUntil([&] { return device->daemon.Descriptors() <= descriptors; }));
    ExpectOthersGoOn();
}

TEST_F(Limits, OfDescriptorsOfTheDaemon)
{
    ExpectOthersGoOn();
    const size_t descriptors = device->daemon.Descriptors();
    const rlimit few = {256, 256};
    ASSERT_EQ(::prlimit(device->daemon.Pid(), RLIMIT_NOFILE, &few, nullptr), 0);
    std::list<RawSocket> peers;
    std::string error;
    EXPECT_TRUE(WaitUntil([&] {
        peers.push_back(RawSocket::Connect(Socket("app")));
        (void)peers.back().Send(Hello()); // fails once it is refused
        return Host::ConnectToDaemon(Socket("owner"), error) == nullptr;
    }));
    EXPECT_NE(error.find("no more descriptors may be opened"), std::string::npos) << error;
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(service->GetEnableState(), 0) << "a call needs none";
    }
    peers.clear();
    EXPECT_TRUE(WaitUntil([&] { return device->daemon.Descriptors() <= descriptors; }));
    ExpectOthersGoOn();
    device->SwitchOn();
}

} // namespace
} // namespace OHOS::Pelago
