#include "caller.h"

#include "host/ipc_transport.h"
#include "trellis_service_proxy.h"

namespace OHOS::Pelago::Load {

namespace {

constexpr int MOST_PAUSE_MS = 40; // between two calls and the next: 64 clients make 6400 calls a second

} // namespace

void Caller::Run()
{
    (void)Hear<Order>(socket_);
    Connect();
    Tell(socket_, Report());
    (void)Hear<Order>(socket_);
    (void)listener_->TakeChanges();
    Tell(socket_, Report());
    (void)Hear<Order>(socket_);
    Report report = Play();
    Tell(socket_, report);
    (void)Hear<Order>(socket_);
    report.changes = listener_->TakeChanges();
    Count(report, [this] { (void)service_->UnRegisterTrellisCallback(listener_); });
    Tell(socket_, report);
    (void)Hear<Order>(socket_); // until it is killed
}

void Caller::Connect()
{
    service_ = ServiceOf("phone");
    Require(service_->RegisterTrellisCallback(listener_), "not registered");
}

template <class Call>
void Caller::Count(Report& report, Call call)
{
    call();
    ++report.calls;
    report.failures += TrellisServiceProxy::LastError() == 0 ? 0 : 1;
}

Report Caller::Play()
{
    Report report;
    std::vector<double> us;
    const double end = Bench::NowNs() + seconds_ * 1e9;
    while (Bench::NowNs() < end) {
        us.push_back(Bench::MicrosecondsOf([&] { Count(report, [this] { (void)service_->GetEnableState(); }); }));
        Count(report, [this] { CallAnything(); });
        if (!isSteady_ && random_() % 50 == 0) {
            ComeAndGo(report);
        }
        Pause(static_cast<int>(random_() % MOST_PAUSE_MS));
    }
    report.us = TenthsOf(us);
    return report;
}

void Caller::ComeAndGo(Report& report)
{
    Count(report, [this] { (void)service_->UnRegisterTrellisCallback(listener_); });
    if (random_() % 4 == 0) {
        service_ = nullptr;
        Require(Host::DisconnectFromDaemons(), "the connection does not end");
        service_ = ServiceOf("phone");
    }
    Count(report, [this] { (void)service_->RegisterTrellisCallback(listener_); });
}

void Caller::CallAnything()
{
    using Call = void (*)(Caller&, const ShareDeviceInfo&);
    static constexpr Call CALLS[] = {
        [](Caller& self, const ShareDeviceInfo&) { (void)self.service_->IsEnabled(); },
        [](Caller& self, const ShareDeviceInfo&) { (void)self.service_->GetAllUserList(); },
        [](Caller& self, const ShareDeviceInfo&) { (void)self.service_->GetSendingUserList(); },
        [](Caller& self, const ShareDeviceInfo&) { (void)self.service_->GetAccountInfo(); },
        [](Caller& self, const ShareDeviceInfo&) { (void)self.service_->IsAppForeground("com.example.load"); },
        [](Caller& self, const ShareDeviceInfo&) { (void)self.service_->ApplyUriPermission("file:///load"); },
        [](Caller& self, const ShareDeviceInfo&) { (void)self.service_->StartDiscovery(); }, // refused while it is off
        [](Caller& self, const ShareDeviceInfo&) { (void)self.service_->IsFocusPidsRegisterSwing(); },
        [](Caller& self, const ShareDeviceInfo& peer) { (void)self.service_->PrepareSend(peer); },
        [](Caller& self, const ShareDeviceInfo& peer) { (void)self.service_->NotifyInfo(peer, 0); },
        [](Caller& self, const ShareDeviceInfo& peer) { self.SendText(peer); },
        [](Caller& self, const ShareDeviceInfo& peer) { (void)self.service_->Cancel(peer); },
    };
    const ShareDeviceInfo peer = listener_->AnyPeer();
    CALLS[random_() % std::size(CALLS)](*this, peer);
}

// Seldom: the one receiver takes one offer at a time, and most of these find it busy.
void Caller::SendText(const ShareDeviceInfo& peer)
{
    SendBean bean;
    bean.text = "from client " + std::to_string(number_);
    if (random_() % 8 == 0) {
        (void)service_->Send(peer, bean, "load");
    } else {
        (void)service_->GetEnableState();
    }
}

} // namespace OHOS::Pelago::Load
