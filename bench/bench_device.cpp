#include "bench_device.h"

#include <fcntl.h>
#include <poll.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <future>
#include <thread>

#include "core/trellis_callback_proxy.h"
#include "engine_listener_proxies.h"
#include "gesture/corvane_share_callback_manager.h"
#include "gesture/share_api_callback_proxy.h"
#include "host/ability_host.h"
#include "host/host_settings.h"
#include "host/scheduler.h"
#include "ipc_object_stub.h"
#include "runtime_env.h"
#include "share_client.h"
#include "switch/share_switch_types.h"
#include "transfer/sender_action_callback_proxy.h"

namespace OHOS::Pelago::Bench {
namespace {

constexpr const char* SOCKET = "/owner.sock";
constexpr int QUIET_MS = 100;
constexpr int PATIENCE_MS = 10'000;

// What a client is told by. The service waits for it, so it does little.
class Ear : public IPCObjectStub {
public:
    // Looks up at `code` alone.
    template <class Code>
    Ear(const std::u16string& descriptor, Code code, int told)
        : IPCObjectStub(descriptor), code_(static_cast<uint32_t>(code)), told_(told)
    {}
    int OnRemoteRequest(uint32_t code, MessageParcel&, MessageParcel&, MessageOption&) override
    {
        if (code != code_) {
            return ERR_NONE;
        }
        const double now = NowNs();
        double never = 0;
        (void)first.compare_exchange_strong(never, now); // it is the first that counts
        return told_ < 0 || ::write(told_, &now, sizeof(now)) == sizeof(now) ? ERR_NONE : -1;
    }

    std::atomic<double> first{0};

private:
    const uint32_t code_;
    const int told_;
};

// The inside of a client process.
class ClientProcess {
public:
    ClientProcess(std::string socket, int told) : socket_(std::move(socket)), told_(told)
    {}

    double Do(Wish wish)
    {
        const double start = NowNs();
        switch (wish) {
            case Wish::PING:
                break;
            case Wish::CONNECT:
                Connect();
                break;
            case Wish::REGISTER:
                Register();
                return ear_->first - start;
            case Wish::UNREGISTER:
                Require(service_->UnRegisterTrellisCallback(callback_), "not unregistered");
                break;
            case Wish::JOIN_ALL:
                Register();
                JoinRest();
                break;
            case Wish::SWITCH_ON:
                Switch(STATE_SHARE_ENABLE, DETECTABLE_LASTING);
                break;
            case Wish::SWITCH_OFF:
                Switch(STATE_SHARE_DISABLE, UNDETECTABLE);
                break;
            case Wish::CALL_OFTEN:
                Call(1000);
                break;
            case Wish::CALL_ALL_TIME:
                Call(0);
                break;
        }
        return start;
    }

private:
    void Connect()
    {
        std::string error;
        const sptr<IRemoteObject> root = Host::ConnectToDaemon(socket_, error);
        Require(root != nullptr, error);
        service_ = iface_cast<ITrellisService>(Host::SamgrOf(root)->GetSystemAbility(TRELLIS_SERVICE_ID));
    }
    void Register()
    {
        ear_ = new Ear(
            PelagoTrellisServiceCallback::GetDescriptor(), TrellisCallbackCode::ON_ENABLE_STATUS_CHANGED, told_);
        callback_ = new TrellisCallbackProxy(ear_);
        Require(service_->RegisterTrellisCallback(callback_), "not registered");
    }
    void JoinRest()
    {
        const sptr<Ear> application =
            new Ear(PelagoApiCallback::GetDescriptor(), PelagoApiCallbackCode::ON_SHARE_EVENT_OCCURRED, told_);
        const sptr<Ear> follower =
            new Ear(ISenderActionCallback::GetDescriptor(), SenderActionCallbackCode::ON_STATUS_CHANGED, -1);
        Require(service_->RegisterShareApiCallback(new ShareApiCallbackProxy(application)) &&
                    service_->RegisterShareEventCallback(ShareEvent::KNOCK, 1) &&
                    service_->RegisterSenderActionCallback(new SenderActionCallbackProxy(follower)),
            "not joined");
    }
    void Switch(int32_t enableState, int32_t detectableType)
    {
        Require(service_->SetShareEnableWithConfirm(enableState, detectableType, false, false), "not switched");
    }

    void Call(useconds_t pause)
    {
        if (pause_.exchange(pause) != NEVER) {
            return; // it calls already
        }
        std::thread([this] {
            while (service_->GetEnableState() >= 0 && service_->GetAllUserList().empty()) {
                if (const useconds_t wait = pause_; wait > 0) {
                    (void)::usleep(wait);
                }
            }
        }).detach();
    }

    static constexpr useconds_t NEVER = 999'999;

    const std::string socket_;
    const int told_;
    std::atomic<useconds_t> pause_{NEVER}; // between two calls
    sptr<ITrellisService> service_;
    sptr<Ear> ear_;
    sptr<PelagoTrellisServiceCallback> callback_;
};

} // namespace

Ears::Ears()
{
    Require(::pipe2(pipe_.data(), O_CLOEXEC) == 0, "no pipe");
}

bool Ears::Hears(double& moment, int limitMs) const
{
    pollfd ear{pipe_[0], POLLIN, 0};
    return ::poll(&ear, 1, limitMs) == 1 && ::read(pipe_[0], &moment, sizeof(moment)) == sizeof(moment);
}

double Ears::Last(size_t count) const
{
    double last = 0;
    double moment = 0;
    for (size_t i = 0; i < count; ++i) {
        Require(Hears(moment, PATIENCE_MS), "a client was not told");
        last = std::max(last, moment);
    }
    return last;
}

void Ears::Drain() const
{
    double moment = 0;
    while (Hears(moment, QUIET_MS)) {
    }
}

Client::Client(const std::string& root, int told)
    : Child([&root, told](int parent) {
          ClientProcess process(root + SOCKET, told);
          ServeBare(parent, [&process](char byte) {
              const auto wish = static_cast<Wish>(byte);
              return wish == Wish::PING ? 0 : process.Do(wish);
          });
      })
{}

void PingEach(const std::vector<Client>& clients, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        (void)clients[i].Ask(Wish::PING); // the answer is 0
    }
}

int32_t QuietFramework::RequestService(uint32_t, const sptr<Synfold::ServicePublishCallbackStub>&)
{
    return 0;
}

int32_t QuietFramework::UnRequestService(uint32_t)
{
    return 0;
}

int32_t QuietFramework::RequestServiceByParam(const std::string&, const sptr<Synfold::ServicePublishCallbackStub>&)
{
    return 0;
}

int32_t QuietFramework::RegisterServiceDeliverCallback(int32_t, const sptr<Synfold::ServiceDeliverCallbackStub>&)
{
    return 0;
}

int32_t QuietFramework::PublishServiceState(const std::string&, const std::string&, const std::string&, int32_t)
{
    return 0;
}

int32_t QuietFramework::SubscribeNotifyDisconnect(
    const std::string&, const std::string&, const std::string&, const sptr<Synfold::CallbackSkeleton>&)
{
    return 0;
}

Device::Device(const std::string& root) : root_(root)
{
    std::filesystem::create_directories(Folder());
    const std::array<int32_t, 3> state{STATE_SHARE_ENABLE, DETECTABLE_LASTING, ACCOUNT_PERMISSION_OFF};
    std::ofstream(Folder() + "/switch.cfg").write(reinterpret_cast<const char*>(state.data()), sizeof(state));
    auto& device = Host::Device::Instance();
    Require(
        device.Configure({"bench", std::string(64, 'B'), "phone", root}) && Host::HostSettings::SeedFreshDevice({USER}),
        "the device cannot be set up");
    device.SetRadioTimings({{}, {}, {}, {}, {}, {}});
    RuntimeEnv::Install({root, nullptr, Host::Scheduler::StartDetached});
    engine_ = std::make_shared<LocalEngine>(EngineConfig("bench"));
    std::string error;
    Require(engine_->Start(error), error);
    DelayedRefSingleton<ShareClient>::GetInstance().InstallBackend(engine_);
    std::promise<void> started;
    Host::AbilityHost::Instance().Start([&started] { started.set_value(); });
    started.get_future().wait();
    Host::SetOwnTokenId(Host::TokenId::OWNER);
    Require(server_.Start(
                root, {{"owner", Host::TokenId::OWNER, 0600}}, Host::AbilityHost::Instance().RootObject(), {}, error),
        error);
    for (int look = 0; !Service()->IsEnabled(); ++look) {
        Require(look < PATIENCE_MS, "the device does not come up");
        (void)::poll(nullptr, 0, 1);
    }
}

std::string Device::Folder() const
{
    return root_ + "/data/service/el2/" + std::to_string(USER) + "/pelago";
}

sptr<TrellisService> Device::Service()
{
    const sptr<IRemoteObject> object = Host::AbilityHost::Instance().Find(TRELLIS_SERVICE_ID);
    return sptr<TrellisService>(dynamic_cast<TrellisService*>(object.GetRefPtr()));
}

LocalEngineConfig Device::EngineConfig(const std::string& id) const
{
    LocalEngineConfig config;
    config.nearbyFolder = root_ + "/nearby";
    config.contactsFile = root_ + "/contacts";
    config.device.id = id;
    config.device.name = id;
    return config;
}

std::unique_ptr<LocalEngine> Device::NewPeer(const std::string& id) const
{
    auto peer = std::make_unique<LocalEngine>(EngineConfig(id));
    std::string error;
    Require(peer->Start(error), error);
    peer->EnableDiscoveryPolicy(1);
    const sptr<IRemoteObject> listener = new IPCObjectStub(IPublishListener::GetDescriptor());
    Require(peer->Publish(new PublishListenerProxy(listener)), "the peer is not published");
    return peer;
}

} // namespace OHOS::Pelago::Bench
