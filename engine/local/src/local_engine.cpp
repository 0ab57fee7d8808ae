#include "local_engine.h"

#include <utility>

#include "context.h"
#include "discovery.h"
#include "note_box.h"
#include "offer_inbox.h"
#include "outgoing.h"
#include "sources.h"
#include "visibility.h"

namespace OHOS::Pelago {

using namespace Local;

namespace {

sptr<IRemoteObject> ObjectOf(const sptr<ISubscribeListener>& listener)
{
    return listener == nullptr ? nullptr : listener->AsObject();
}

} // namespace

class LocalEngine::Impl {
public:
    explicit Impl(LocalEngineConfig config)
        : context_(std::make_shared<Context>(std::move(config))),
          reports_(std::make_shared<NearbyReports>(context_->activity)), discovery_(context_, reports_),
          visibility_(context_, reports_,
              [this](std::shared_ptr<Channel> channel, std::string_view body) {
                  inbox_.TakeOffer(std::move(channel), body);
              }),
          inbox_(context_), notes_(context_)
    {
        context_->onSwingSent = [this] { discovery_.OnSwingSent(); };
    }

    [[nodiscard]] bool Start(std::string& error)
    {
        if (!NearbyFolder::IsDeviceId(context_->device.id)) {
            error = "the device's id is not 1 to 64 letters, digits, '_' and '-'";
            return false;
        }
        return context_->folder.Open(context_->config.nearbyFolder, error) && context_->loop.Start(error);
    }

    void Stop()
    {
        context_->activity->Close();
        // Has not run when it was never started, or stopped before: then there is nothing to drop.
        (void)context_->loop.Run([this] {
            notes_.Drop();
            visibility_.Drop();
            discovery_.Drop();
            inbox_.Drop();
            DropAll(context_->sending);
            DropAll(context_->receiving);
        });
        context_->activity->WaitUntilEmpty();
        context_->loop.Stop();
        context_->folder = NearbyFolder();
    }

    // Runs `work` on the loop; what it gives, or `otherwise` when the engine does not run.
    template <typename T, typename Work>
    [[nodiscard]] T Ask(T otherwise, Work work)
    {
        T result = std::move(otherwise);
        (void)context_->loop.Run([&] { result = work(*this); }); // then `otherwise` stands
        return result;
    }
    // Runs `work` later. False when the engine does not run.
    template <typename Work>
    [[nodiscard]] bool Do(Work work)
    {
        return context_->loop.Post([this, work] { work(*this); });
    }

    [[nodiscard]] LocalEngineCounters Count() const
    {
        LocalEngineCounters counters = context_->counters;
        counters.peers = discovery_.Peers();
        counters.subscribers = discovery_.Subscribers();
        counters.published = visibility_.IsVisible();
        counters.receiving = inbox_.IsOpen();
        counters.sending = context_->sending.size();
        counters.offers = inbox_.Waiting();
        counters.accepted = context_->receiving.size();
        return counters;
    }

    [[nodiscard]] sptr<PelagoSender> Send(const TransmitParam& param, SendRequest request)
    {
        if (param.callback == nullptr || param.callback->AsObject() == nullptr) {
            return nullptr;
        }
        request.offer.eventType = static_cast<int32_t>(param.eventType);
        request.offer.timeoutMs = param.timeoutMs;
        for (const Source& source : request.sources) {
            request.offer.files.push_back({source.name, source.size});
        }
        return Outgoing::Begin(context_, param, std::move(request));
    }

    template <typename Bean>
    [[nodiscard]] sptr<PelagoSender> SendFiles(
        const TransmitParam& param, const Bean& bean, const std::string& packageName)
    {
        SendRequest request;
        Outcome failure;
        auto sources = OpenSources(bean, failure);
        if (sources.has_value()) {
            request.sources = std::move(*sources);
        } else {
            request.failure = failure;
        }
        request.offer.packageName = packageName;
        request.offer.sendType = bean.sendType;
        request.offer.text = bean.text;
        request.offer.preview = bean.thumbnail;
        return Send(param, std::move(request));
    }

    const std::shared_ptr<Context> context_;
    const std::shared_ptr<NearbyReports> reports_;
    Discovery discovery_;
    Visibility visibility_;
    OfferInbox inbox_;
    NoteBox notes_;

private:
    static void DropAll(std::set<std::shared_ptr<Transfer>>& transfers)
    {
        auto all = std::exchange(transfers, {});
        for (const auto& transfer : all) {
            transfer->Drop();
        }
    }
};

LocalEngine::LocalEngine(LocalEngineConfig config) : impl_(std::make_shared<Impl>(std::move(config)))
{}

LocalEngine::~LocalEngine()
{
    impl_->Stop();
}

bool LocalEngine::Start(std::string& error)
{
    return impl_->Start(error);
}

void LocalEngine::Stop()
{
    impl_->Stop();
}

bool LocalEngine::UpdateDevice(const LocalDevice& device)
{
    return impl_->Ask(false, [&device](Impl& impl) {
        if (device.id != impl.context_->device.id) {
            return false;
        }
        impl.context_->device = device;
        impl.visibility_.UpdateDescription();
        return true;
    });
}

LocalEngineCounters LocalEngine::Counters() const
{
    return impl_->Ask(LocalEngineCounters(), [](Impl& impl) { return impl.Count(); });
}

bool LocalEngine::ConnectWithRetry()
{
    return impl_->Ask(false, [](Impl&) { return true; });
}

bool LocalEngine::Publish(const sptr<IPublishListener>& listener)
{
    sptr<IRemoteObject> object = listener == nullptr ? nullptr : listener->AsObject();
    return object != nullptr && impl_->Do([object](Impl& impl) { impl.visibility_.Publish(object); });
}

bool LocalEngine::UnPublish(int, const sptr<IPublishListener>&)
{
    // Waits, so that nobody finds a device that was told that it is invisible.
    return impl_->Ask(false, [](Impl& impl) {
        impl.visibility_.UnPublish();
        return true;
    });
}

bool LocalEngine::RegisterReceiveListener(const sptr<PelagoReceiveListener>& listener)
{
    return listener != nullptr && impl_->Do([listener](Impl& impl) { impl.inbox_.SetListener(listener); });
}

bool LocalEngine::UnRegisterReceiveListener(const sptr<PelagoReceiveListener>& listener)
{
    return impl_->Ask(false, [&listener](Impl& impl) {
        if (!impl.inbox_.HasListener(listener)) {
            return false;
        }
        impl.inbox_.SetListener(nullptr);
        return true;
    });
}

bool LocalEngine::ServeNotes(NoteListener listener)
{
    return impl_->Do([listener = std::move(listener)](Impl& impl) { impl.notes_.Serve(listener); });
}

bool LocalEngine::SendNote(const std::string& deviceId, const std::string& note, NoteResult result)
{
    return note.size() <= MAX_NOTE_BYTES && impl_->Do([deviceId, note, result = std::move(result)](
                                                          Impl& impl) { impl.notes_.Send(deviceId, note, result); });
}

void LocalEngine::AimSwing(const std::string& deviceId)
{
    // Nobody swings with an engine that does not run.
    (void)impl_->Do([deviceId](Impl& impl) { impl.discovery_.AimSwing(deviceId); });
}

void LocalEngine::ShowSwing()
{
    (void)impl_->Do([](Impl& impl) { impl.discovery_.ShowSwing(); }); // as above
}

bool LocalEngine::Subscribe(const sptr<ISubscribeListener>& listener)
{
    sptr<IRemoteObject> object = ObjectOf(listener);
    return object != nullptr && impl_->Do([object](Impl& impl) { impl.discovery_.Subscribe(object); });
}

bool LocalEngine::UnSubscribe(int, const sptr<ISubscribeListener>& listener)
{
    sptr<IRemoteObject> object = ObjectOf(listener);
    return object != nullptr &&
           impl_->Ask(false, [&object](Impl& impl) { return impl.discovery_.UnSubscribe(object); });
}

bool LocalEngine::SwingSubscribe(const sptr<ISubscribeListener>& listener)
{
    sptr<IRemoteObject> object = ObjectOf(listener);
    return object != nullptr && impl_->Do([object](Impl& impl) { impl.discovery_.SwingSubscribe(object); });
}

bool LocalEngine::SwingUnSubscribe(const sptr<ISubscribeListener>& listener)
{
    sptr<IRemoteObject> object = ObjectOf(listener);
    return object != nullptr &&
           impl_->Ask(false, [&object](Impl& impl) { return impl.discovery_.SwingUnSubscribe(object); });
}

bool LocalEngine::OnCollabDeviceFound(
    const sptr<ShareDevice>& device, const sptr<ISubscribeListener>& listener, uint32_t updateFlag)
{
    sptr<IRemoteObject> object = ObjectOf(listener);
    if (device == nullptr || object == nullptr) {
        return false;
    }
    if (updateFlag != 0) {
        return impl_->Ask(false, [&device](Impl& impl) { return impl.discovery_.RefreshTap(*device); });
    }
    bool reached = impl_->Ask(false, [&device](Impl& impl) { return impl.discovery_.Reach(device->GetDeviceId()); });
    // The very last step, since the report must not come before the caller has its answer.
    return reached && impl_->Do([device, object](Impl& impl) { impl.discovery_.OnTap(*device, object); });
}

bool LocalEngine::ClearDiscovererFlag(const std::string& deviceId, uint32_t flag)
{
    return impl_->Ask(false, [&](Impl& impl) { return impl.discovery_.ClearFlag(deviceId, flag); });
}

void LocalEngine::EnableDiscoveryPolicy(int detectableType)
{
    // Nobody asks an engine that does not run.
    (void)impl_->Do([detectableType](Impl& impl) { impl.visibility_.SetPolicy(detectableType); });
}

bool LocalEngine::SetAccountPermission(int accountPermission)
{
    return impl_->Do(
        [accountPermission](Impl& impl) { impl.context_->counters.accountPermission = accountPermission; });
}

sptr<PelagoSender> LocalEngine::SendFile(const TransmitParam& param, SendBean& bean, const std::string& packageName)
{
    return impl_->SendFiles(param, bean, packageName);
}

sptr<PelagoSender> LocalEngine::SendFile(
    const TransmitParam& param, const DataBean& bean, const std::string& packageName)
{
    return impl_->SendFiles(param, bean, packageName);
}

sptr<PelagoSender> LocalEngine::SendBytes(const TransmitParam& param, const BytesInfo& bytes)
{
    SendRequest request;
    request.offer.kind = OfferKind::BYTES;
    request.offer.sendType = bytes.bytesType;
    request.offer.text = bytes.text;
    request.offer.preview = bytes.previewData;
    return impl_->Send(param, std::move(request));
}

bool LocalEngine::ApplyUriPermission(const std::string& uri)
{
    Outcome failure;
    return static_cast<bool>(OpenUri(uri, failure));
}

void LocalEngine::ReportSwingEvent(int32_t event, int32_t, int32_t, const std::string&)
{
    if (event == SWING_OVER) {
        (void)impl_->Do([](Impl& impl) { impl.discovery_.EndSearch(); }); // as in AimSwing
    }
}

bool LocalEngine::GetNudgePublishInfo(std::string& info)
{
    std::string text = impl_->Ask(std::string(), [](Impl& impl) { return NudgeText(impl.context_->device); });
    if (text.empty()) {
        return false;
    }
    info = text;
    return true;
}

} // namespace OHOS::Pelago
