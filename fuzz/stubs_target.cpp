// Requests to everything that takes requests, in any order: of clients to the service, of the engine to the listeners,
// of the framework to the callbacks of a tap, and of the service to clients. What comes back goes into later ones.
#include <array>

#include <unistd.h>

#include "compose.h"
#include "device.h"
#include "host/device.h"
#include "i_trellis_service.h"
#include "service_fixture.h"
#include "targets.h"

namespace OHOS::Pelago::Fuzz {
namespace {

constexpr size_t MOST_STEPS = 48;

const Interface SERVICE{ITrellisService::GetDescriptor(),
    {{1, "iib"}, {2, "iibb"}, {3, ""}, {4, ""}, {5, "o"}, {6, "o"}, {7, ""}, {8, ""}, {9, ""}, {10, ""}, {11, ""},
        {12, "D"}, {13, "DSs"}, {14, "DB"}, {15, "DFs"}, {16, "D"}, {17, "o"}, {18, "o"}, {19, ""}, {20, ""}, {21, ""},
        {22, ""}, {23, "i"}, {24, "o"}, {25, "o"}, {26, "s"}, {27, "s"}, {28, "Di"}, {29, "s"}, {30, "Di"}, {31, "s"},
        {32, "o"}, {33, "o"}, {34, "ii"}, {35, "ii"}, {36, ""}}};
const Interface SUBSCRIBER{ISubscribeListener::GetDescriptor(), {{1, "d"}, {2, "d"}, {3, "ii"}, {4, "isi"}}};
const Interface PUBLISHER{IPublishListener::GetDescriptor(), {{1, "ii"}}};
const Interface RECEIVER{
    PelagoReceiveListener::GetDescriptor(), {{1, "i"}, {2, "osP"}, {3, "oP"}, {4, "o"}, {5, "oi"}, {6, "osP"}, {7, ""},
                                                {8, ""}, {9, "i"}, {10, "iii"}, {11, "oPb"}}};
const Interface TRANSMIT{ITransmitCallback::GetDescriptor(),
    {{1, "i"}, {2, "sv"}, {3, "si"}, {4, "si"}, {5, "ss"}, {6, "i"}, {7, "i"}, {8, ""}, {9, "i"}, {10, ""}, {11, "i"},
        {18, "iiii"}, {19, "sb"}, {20, "i"}, {21, "s"}, {22, "iii"}, {23, "sb"}}};
const Interface CALLBACK{PelagoTrellisServiceCallback::GetDescriptor(),
    {{1, ""}, {2, "D"}, {3, "D"}, {4, "Dlll"}, {5, "DS"}, {6, "DB"}, {7, "D"}, {12, "DF"}, {13, "is"}, {14, "Ds"},
        {15, "iiii"}, {16, "iiis"}, {17, "D"}, {18, "i"}}};
const Interface SENDER_ACTION{
    ISenderActionCallback::GetDescriptor(), {{1, "i"}, {2, "o"}, {3, "o"}, {4, "oi"}, {5, "osiss"}}};
const Interface APPLICATION{PelagoApiCallback::GetDescriptor(), {{1, "iiD"}}};
const Interface KNOCKED{Synfold::IServicePublishCallback::GetDescriptor(), {{1, "s"}, {2, "s"}}};
const Interface DELIVERED{Synfold::IServiceDeliverCallback::GetDescriptor(), {{1, "s"}}};
const Interface OFFER{PelagoReceiver::GetDescriptor(), {{1, "io"}, {2, "i"}, {3, ""}}};
constexpr uint32_t CLIENT_CALLBACKS = 3;

// One input's play.
class Play {
public:
    explicit Play(Feed& feed) : feed_(feed), device_(FuzzDevice::Instance())
    {
        for (auto& offer : offers_) {
            offer = new ScriptedReceiver();
            engineObjects_.push_back(offer->AsObject());
        }
    }

    ~Play()
    {
        for (int descriptor : engineDescriptors_) {
            (void)::close(descriptor); // came with replies, for us alone
        }
    }
    Play(const Play&) = delete;
    Play& operator=(const Play&) = delete;

    void Step()
    {
        static constexpr std::array<void (Play::*)(), 16> STEPS{&Play::CallService, &Play::CallService,
            &Play::CallService, &Play::CallService, &Play::TellSubscriber, &Play::TellSubscriber, &Play::TellTransmit,
            &Play::TellTransmit, &Play::TellReceiver, &Play::TellListener, &Play::TellClient, &Play::TellTap,
            &Play::CallKept, &Play::ChangeClient, &Play::ChangeDevice, &Play::Wait};
        (this->*STEPS[feed_.Below(STEPS.size())])();
        device_.Advance(0);
    }

private:
    // Makes a request of the feed and sends it.
    Made Call(
        const sptr<IRemoteObject>& object, const Interface& interface, Pool pool, int flags = MessageOption::TF_SYNC)
    {
        MessageParcel data;
        MessageParcel reply;
        MessageOption option(flags);
        Made made = MakeRequest(data, interface, feed_, pool);
        if (object != nullptr) {
            (void)object->SendRequest(made.code, data, reply, option); // refused or not: what holds is looked at later
            KeepReply(reply, pool);
        }
        return made;
    }
    Pool EnginePool()
    {
        return {engineObjects_, engineDescriptors_};
    }
    FuzzClient& DrawClient()
    {
        return device_.Client(feed_.Byte());
    }

    void CallService()
    {
        FuzzClient& client = DrawClient();
        (void)Call(client.client->Remote(), SERVICE, {client.objects, client.descriptors});
    }
    void TellSubscriber()
    {
        (void)Call(device_.Engine().subscriber, SUBSCRIBER, EnginePool());
    }
    void TellTransmit()
    {
        const auto& transmits = device_.Engine().transmits;
        if (transmits.empty()) {
            return;
        }
        Made made = Call(transmits[feed_.Below(transmits.size())], TRANSMIT, EnginePool());
        bool isDetailed = made.code == static_cast<uint32_t>(TransmitCallbackCode::ON_DETAIL_ERROR);
        Plant(Target::STUBS, made.isLikely && isDetailed); // of a send that is under way or was
    }
    void TellReceiver()
    {
        (void)Call(device_.Engine().receiver, RECEIVER, EnginePool());
    }
    void TellListener()
    {
        bool isPublisher = feed_.Below(2) == 0;
        (void)Call(isPublisher ? device_.Engine().publisher : device_.Engine().swingSubscriber,
            isPublisher ? PUBLISHER : SUBSCRIBER, EnginePool());
    }
    void TellClient()
    {
        static const std::array<const Interface*, CLIENT_CALLBACKS> INTERFACES{&CALLBACK, &SENDER_ACTION, &APPLICATION};
        FuzzClient& client = DrawClient();
        size_t which = feed_.Below(INTERFACES.size());
        sptr<IRemoteObject> proxy = client.client->Process().ProxyFor(client.objects[which]);
        (void)Call(proxy, *INTERFACES[which], EnginePool());
    }
    void TellTap()
    {
        bool isKnock = feed_.Below(2) == 0;
        (void)Call(isKnock ? device_.Collab().knocked : device_.Collab().delivered, isKnock ? KNOCKED : DELIVERED,
            EnginePool());
    }
    // What a client has been given may be called, with anything.
    void CallKept()
    {
        static const std::array<const Interface*, 4> INTERFACES{&OFFER, &SERVICE, &TRANSMIT, &CALLBACK};
        FuzzClient& client = DrawClient();
        sptr<IRemoteObject> object = client.objects[feed_.Below(client.objects.size())];
        int flags = feed_.Below(2) == 0 ? MessageOption::TF_SYNC : MessageOption::TF_ASYNC;
        (void)Call(object, *INTERFACES[feed_.Below(INTERFACES.size())], {client.objects, client.descriptors}, flags);
    }
    void ChangeClient()
    {
        size_t index = feed_.Byte();
        switch (feed_.Below(3)) {
            case 0:
                device_.Kill(index);
                return;
            case 1:
                device_.Client(index).client->Process().SetHanging(true);
                return;
            default:
                device_.Client(index).client->Process().SetHanging(false);
                return;
        }
    }
    void ChangeDevice()
    {
        auto& model = Host::Device::Instance();
        bool flag = feed_.Below(2) == 1;
        switch (feed_.Below(6)) {
            case 0:
                return model.SwitchWifi(flag ? Host::WifiMode::ON : Host::WifiMode::OFF);
            case 1:
                return model.SwitchBluetooth(flag ? Host::BluetoothMode::ON : Host::BluetoothMode::OFF);
            case 2:
                (void)model.SwitchUser(flag ? USER : OTHER_USER); // both exist
                return;
            case 3:
                (void)model.SetVerified(flag ? USER : OTHER_USER, feed_.Below(2) == 1); // likewise
                return;
            case 4:
                return model.SetFocused(DrawClient().client->Process().GetIdentity().pid, flag);
            default:
                return TrellisService::NotifyCorvaneShareApiCBOnSwingEvent(feed_.Int(), 0, 0, "swing", -1);
        }
    }
    void Wait()
    {
        static constexpr std::array<int64_t, 8> TIMES{1, 100, 500, 1500, 3000, 10000, 30000, 600000};
        device_.Advance(TIMES[feed_.Below(TIMES.size())]);
    }

    Feed& feed_;
    FuzzDevice& device_;
    std::array<sptr<PelagoReceiver>, 2> offers_;
    std::vector<sptr<IRemoteObject>> engineObjects_;
    std::vector<int> engineDescriptors_;
};

} // namespace

void PlayStubs(Feed& feed)
{
    {
        Play play(feed);
        for (size_t step = 0; step < MOST_STEPS && !feed.AtEnd(); ++step) {
            play.Step();
        }
    }
    FuzzDevice::Instance().EndInput();
}

} // namespace OHOS::Pelago::Fuzz
