#include "service_sections.h"

#include <unistd.h>

#include "core/trellis_service.h"
#include "discovery/cache_map_manager.h"
#include "gesture/corvane_share_callback_manager.h"
#include "host/device.h"
#include "host/json_text.h"
#include "host/scheduler.h"
#include "host/timers.h"
#include "limits.h"
#include "switch/share_switch_manager.h"
#include "transfer/descriptor_ledger.h"

namespace OHOS::Pelago::Tools {
namespace {

using Host::Json;

int64_t Count(size_t value)
{
    return static_cast<int64_t>(value);
}

Json SwitchJson()
{
    ShareSwitchManager::Snapshot state = DelayedSingleton<ShareSwitchManager>::GetInstance()->GetSnapshot();
    Json json = Json::Object();
    json.Put("enableState", static_cast<int64_t>(state.enableState))
        .Put("detectableType", static_cast<int64_t>(state.detectableType))
        .Put("accountPermission", static_cast<int64_t>(state.accountPermission))
        .Put("swingState", static_cast<int64_t>(state.swingState))
        .Put("user", static_cast<int64_t>(state.localUserId))
        .Put("enabling", state.isEnabling)
        .Put("wifiSelfHealing", state.wifiSelfHealing)
        .Put("bluetoothSelfHealing", state.btSelfHealing)
        .Put("recoverState", static_cast<int64_t>(state.lastShareSwitchState.enableState))
        .Put("recoverType", static_cast<int64_t>(state.lastShareSwitchState.detectableType));
    return json;
}

Json PeersJson()
{
    Json peers = Json::Array();
    for (const ShareDeviceInfo& peer : CacheMapManager::GetAllDeviceList()) {
        Json entry = Json::Object();
        entry.Put("id", peer.deviceId)
            .Put("name", peer.btName)
            .Put("contact", peer.contactInfo.name)
            .Put("event", static_cast<int64_t>(peer.eventCode))
            .Put("state", static_cast<int64_t>(peer.deviceState))
            .Put("percent", static_cast<int64_t>(peer.percent))
            .Put("speed", static_cast<int64_t>(peer.speed));
        peers.Add(std::move(entry));
    }
    return peers;
}

Json GestureJson()
{
    TrellisService::SwingView view = TrellisService::GetSwingView();
    CorvaneShareCallbackManager::Sizes known = DelayedSingleton<CorvaneShareCallbackManager>::GetInstance()->GetSizes();
    Json json = Json::Object();
    json.Put("gesture", static_cast<int64_t>(view.gesture))
        .Put("concurrentId", view.concurrentId)
        .Put("showMode", static_cast<int64_t>(view.showMode))
        .Put("cacheType", static_cast<int64_t>(view.cacheType))
        .Put("sending", view.sending)
        .Put("subscribed", view.subscribed)
        .Put("apps", Count(known.apps))
        .Put("knock", Count(known.knock))
        .Put("swing", Count(known.swing))
        .Put("deaths", Count(known.deaths));
    return json;
}

Json TapJson()
{
    TrellisService::TapView view = TrellisService::GetTapView();
    Json json = Json::Object();
    json.Put("senderRequested", view.senderRequested)
        .Put("senderDeleting", view.senderDeleting)
        .Put("preparing", view.preparing)
        .Put("receiver", view.receiver)
        .Put("delivering", view.delivering);
    return json;
}

Json SizesJson()
{
    TrellisService::ListSizes lists = TrellisService::GetListSizes();
    CacheMapManager::MapSizes maps = CacheMapManager::Sizes();
    Json json = Json::Object();
    json.Put("clients", Count(lists.trellisCallbacks))
        .Put("shareApiClients", Count(lists.shareApiCallbacks))
        .Put("deathRecipients", Count(lists.deathRecipients))
        .Put("callbackFlags", Count(lists.callbackFlags))
        .Put("receiveDeathRecipients", Count(lists.receiveDeathRecipients))
        .Put("senderActionCallback", lists.senderActionCallback)
        .Put("allDevices", Count(maps.allDevices))
        .Put("sendingDevices", Count(maps.sendingDevices))
        .Put("mergeDevices", Count(maps.mergeDevices))
        .Put("sendBeans", Count(maps.sendBeans))
        .Put("dataBeans", Count(maps.dataBeans))
        .Put("bytesInfos", Count(maps.bytesInfos))
        .Put("senders", Count(maps.senders))
        .Put("adoptedDescriptors", Count(DescriptorLedger::OpenCount()));
    return json;
}

Json TimersJson()
{
    Json timers = Json::Array();
    for (const Host::ArmedTimer& timer : Host::ArmedTimers()) {
        Json entry = Json::Object();
        entry.Put("id", static_cast<int64_t>(timer.id))
            .Put("inMs", timer.dueMs - Host::Scheduler::Instance().BootTimeMs());
        timers.Add(std::move(entry));
    }
    return timers;
}

Json IpcJson(const Host::IpcServer& server)
{
    Host::IpcCounters counters = Host::CountIpc();
    Json connections = Json::Array();
    for (const Host::IpcConnectionInfo& info : server.Connections()) {
        Json entry = Json::Object();
        entry.Put("pid", static_cast<int64_t>(info.pid))
            .Put("uid", static_cast<int64_t>(info.uid))
            .Put("token", info.token)
            .Put("lanesIn", Count(info.lanesIn))
            .Put("lanesOut", Count(info.lanesOut))
            .Put("objectsHeld", Count(info.objectsHeld))
            .Put("objectsGiven", Count(info.objectsGiven))
            .Put("queuedBytes", Count(info.queuedBytes));
        connections.Add(std::move(entry));
    }
    Json json = Json::Object();
    json.Put("lanes", Count(counters.lanes))
        .Put("threads", Count(counters.threads))
        .Put("running", Count(counters.running))
        .Put("parked", Count(counters.parked))
        .Put("requests", static_cast<int64_t>(counters.requests))
        .Put("refused", static_cast<int64_t>(counters.refused))
        .Put("connections", std::move(connections));
    return json;
}

Json FaultsJson()
{
    Json faults = Json::Array();
    for (const std::string& fault : CacheMapManager::CheckInvariants()) {
        faults.Add(fault);
    }
    auto switchManager = DelayedSingleton<ShareSwitchManager>::GetInstance();
    if (const char* broken = ShareSwitchManager::BrokenInvariant(switchManager->GetSnapshot()); broken != nullptr) {
        faults.Add(std::string(broken));
    }
    return faults;
}

Json EngineJson(const LocalEngine& engine)
{
    LocalEngineCounters counters = engine.Counters();
    Json json = Json::Object();
    json.Put("published", counters.published)
        .Put("receiving", counters.receiving)
        .Put("subscribers", Count(counters.subscribers))
        .Put("peers", Count(counters.peers))
        .Put("policy", static_cast<int64_t>(counters.discoveryPolicy))
        .Put("sending", Count(counters.sending))
        .Put("offers", Count(counters.offers))
        .Put("accepted", Count(counters.accepted))
        .Put("sent", static_cast<int64_t>(counters.sent))
        .Put("sendFailures", static_cast<int64_t>(counters.sendFailures))
        .Put("received", static_cast<int64_t>(counters.received))
        .Put("receiveFailures", static_cast<int64_t>(counters.receiveFailures))
        .Put("bytesSent", static_cast<int64_t>(counters.bytesSent))
        .Put("bytesReceived", static_cast<int64_t>(counters.bytesReceived))
        .Put("refusedPeers", static_cast<int64_t>(counters.refusedPeers));
    return json;
}

} // namespace

void AddServiceSections(Host::DeviceControl& control, const std::shared_ptr<LocalEngine>& engine,
    const NearField& nearField, const Host::IpcServer& server)
{
    control.AddSection("switch", [] { return SwitchJson().Text(); });
    control.AddSection("peers", [] { return PeersJson().Text(); });
    control.AddSection("gesture", [] { return GestureJson().Text(); });
    control.AddSection("tap", [] { return TapJson().Text(); });
    control.AddCommand("pid", [](const Host::Words&) { return Host::Done(std::to_string(::getpid())); });
    control.AddCommand("status", [](const Host::Words&) {
        Host::DeviceIdentity identity = Host::Device::Instance().Identity();
        return Host::Done(Json::Object()
                              .Put("name", identity.name)
                              .Put("type", identity.type)
                              .Put("switch", SwitchJson())
                              .Put("peers", PeersJson())
                              .Text());
    });
    control.AddCommand("limits", [](const Host::Words&) { return Host::Done(LimitsJson()); });
    control.AddCommand("dump", [engine, &nearField, &server](const Host::Words&) {
        return Host::Done(Json::Object()
                              .Put("switch", SwitchJson())
                              .Put("sizes", SizesJson())
                              .Put("timers", TimersJson())
                              .Put("engine", EngineJson(*engine))
                              .Put("gesture", GestureJson())
                              .Put("tap", TapJson())
                              .PutRaw("collab", nearField.ViewJson())
                              .Put("ipc", IpcJson(server))
                              .Put("brokenInvariants", FaultsJson())
                              .Put("peers", PeersJson())
                              .Text());
    });
}

} // namespace OHOS::Pelago::Tools
