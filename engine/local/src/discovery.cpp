#include "discovery.h"

#include <sys/epoll.h>
#include <sys/inotify.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "host/faults.h"
#include "share_log.h"

namespace OHOS::Pelago::Local {
namespace {

constexpr uint32_t FOLDER_EVENTS = IN_MOVED_TO | IN_CLOSE_WRITE | IN_DELETE | IN_MOVED_FROM;
constexpr int64_t STEADY_LINK_MS = 1'000; // a link that lived so long is no peer that hangs up on everybody
constexpr int64_t SOON_MS = 100;          // for a peer that has too many waiting just now
constexpr int DISCOVER_DONE = 0;
constexpr int DISCOVER_FAILED = -1;

int64_t NowMs()
{
    return Host::Scheduler::Instance().BootTimeMs();
}

std::pair<std::string, std::string> SplitPath(const std::string& path)
{
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::make_pair(std::string("."), path)
                                      : std::make_pair(path.substr(0, slash + 1), path.substr(slash + 1));
}

bool operator==(const LocalDevice& a, const LocalDevice& b)
{
    return a.id == b.id && a.name == b.name && a.type == b.type && a.accountHash == b.accountHash &&
           a.capability == b.capability;
}

bool SameContact(const ContactInfo& a, const ContactInfo& b)
{
    return a.contactId == b.contactId && a.name == b.name && a.avatar == b.avatar;
}

// Adds it once, and says whether it was not there.
bool AddOnce(std::vector<sptr<IRemoteObject>>& listeners, const sptr<IRemoteObject>& listener)
{
    bool isNew = std::find(listeners.begin(), listeners.end(), listener) == listeners.end();
    if (isNew) {
        listeners.push_back(listener);
    }
    return isNew;
}

[[nodiscard]] bool Remove(std::vector<sptr<IRemoteObject>>& listeners, const sptr<IRemoteObject>& listener)
{
    auto found = std::find(listeners.begin(), listeners.end(), listener);
    if (found == listeners.end()) {
        return false;
    }
    listeners.erase(found);
    return true;
}

} // namespace

void Discovery::Subscribe(const sptr<IRemoteObject>& listener)
{
    bool isFirst = listeners_.empty();
    bool isNew = AddOnce(listeners_, listener);
    bool watched = static_cast<bool>(inotify_);
    bool runs = Update();
    // Whoever asks faster than it listens would fill the memory with what it is told.
    const bool isTold = reports_->BeginAll(listener) || isNew;
    if (isTold) {
        TellAll(listener, runs ? DISCOVER_DONE : DISCOVER_FAILED);
    }
    // Who comes while the folder is not watched is found by a look alone.
    if (isFirst || runs != watched || (isTold && (!runs || peers_.empty()))) {
        LookAtAll();
    }
}

void Discovery::TellAll(const sptr<IRemoteObject>& listener, int result)
{
    reports_->DiscoverResult(listener, result);
    for (auto& [id, peer] : peers_) {
        peer.flags |= Discoverer::ORDINARY;
        peer.reported = RecordOf(peer);
        reports_->Found(listener, peer.reported);
    }
}

bool Discovery::UnSubscribe(const sptr<IRemoteObject>& listener)
{
    if (!Remove(listeners_, listener)) {
        return false;
    }
    reports_->Forget(listener); // who has stopped would take them for what a later start finds
    (void)Update();             // it has looked until now, or nobody could
    return true;
}

void Discovery::SwingSubscribe(const sptr<IRemoteObject>& listener)
{
    AddOnce(swingListeners_, listener);
}

bool Discovery::SwingUnSubscribe(const sptr<IRemoteObject>& listener)
{
    return Remove(swingListeners_, listener);
}

bool Discovery::Update()
{
    if (listeners_.empty() && searching_ == 0) {
        End();
        return false;
    }
    return inotify_ || Begin();
}

bool Discovery::Begin()
{
    const std::string& contacts = context_->config.contactsFile;
    contacts_.Load(contacts);
    bool mayWatch = !Host::Faults::Take("engine.watch");
    Host::UniqueFd fd(mayWatch ? ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK) : -1);
    std::string folder = "/proc/self/fd/" + std::to_string(context_->folder.Descriptor()) + "/.";
    folderWatch_ = fd ? ::inotify_add_watch(fd.Get(), folder.c_str(), FOLDER_EVENTS) : -1;
    watch_ = folderWatch_ < 0 ? 0 : context_->loop.Watch(fd.Get(), EPOLLIN, [this](uint32_t) { OnFolderEvents(); });
    if (watch_ == 0) {
        SHARE_LOGD(Log::SERVICE, "the nearby folder cannot be watched: %{public}s", std::strerror(errno));
        return false;
    }
    if (!contacts.empty() && ::inotify_add_watch(fd.Get(), SplitPath(contacts).first.c_str(), FOLDER_EVENTS) < 0) {
        SHARE_LOGD(Log::SERVICE, "the contacts' folder cannot be watched: %{public}s", std::strerror(errno));
    }
    inotify_ = std::move(fd);
    return true;
}

void Discovery::End()
{
    context_->loop.Forget(std::exchange(watch_, 0));
    inotify_.Reset();
    for (auto& [id, timer] : lookingAgain_) {
        context_->loop.CancelTimer(timer);
    }
    lookingAgain_.clear();
    for (auto peer = peers_.begin(); peer != peers_.end();) {
        // Nobody hears of it, and their channels close.
        peer = peer->second.keepers.empty() ? peers_.erase(peer) : std::next(peer);
    }
}

void Discovery::Drop()
{
    listeners_.clear();
    swingListeners_.clear();
    EndSearch();
    End();
    peers_.clear();
}

void Discovery::OnFolderEvents()
{
    alignas(inotify_event) std::array<char, size_t{16} * 1024> bytes;
    ssize_t size = ::read(inotify_.Get(), bytes.data(), bytes.size());
    const std::string contactsName = SplitPath(context_->config.contactsFile).second;
    bool contactsChanged = false;
    bool lookAtAll = false;
    for (ssize_t at = 0; at < size && inotify_;) {
        inotify_event event{};
        std::memcpy(&event, bytes.data() + at, sizeof(event));
        std::string name = event.len == 0 ? "" : bytes.data() + at + sizeof(event);
        at += static_cast<ssize_t>(sizeof(event) + event.len);
        lookAtAll = lookAtAll || (event.mask & IN_Q_OVERFLOW) != 0;
        // Both watches are one when the two folders are.
        contactsChanged = contactsChanged || (!contactsName.empty() && name == contactsName);
        OnFolderEvent(name, event.mask, event.wd == folderWatch_);
    }
    if (lookAtAll) {
        LookAtAll();
    }
    if (contactsChanged || lookAtAll) {
        ReloadContacts();
    }
}

void Discovery::OnFolderEvent(const std::string& name, uint32_t what, bool isFolder)
{
    std::string id = isFolder ? NearbyFolder::IdOf(name) : "";
    if (id.empty()) {
        return;
    }
    if ((what & (IN_DELETE | IN_MOVED_FROM)) != 0) {
        Lose(id);
    } else {
        Look(id);
    }
}

void Discovery::LookAtAll()
{
    std::vector<std::string> ids = context_->folder.PublishedIds();
    std::sort(ids.begin(), ids.end());
    std::vector<std::string> gone;
    for (const auto& [id, peer] : peers_) {
        if (!std::binary_search(ids.begin(), ids.end(), id)) {
            gone.push_back(id);
        }
    }
    std::for_each(gone.begin(), gone.end(), [this](const std::string& id) { Lose(id); });
    std::for_each(ids.begin(), ids.end(), [this](const std::string& id) { Look(id); });
}

void Discovery::Look(const std::string& id)
{
    bool isAim = searching_ != 0 && id == aim_;
    bool isWanted = !listeners_.empty() || isAim || peers_.count(id) != 0;
    if (id == context_->device.id || !isWanted) {
        return;
    }
    std::string why;
    auto device = context_->folder.ReadDescription(id, why);
    if (!device.has_value()) {
        SHARE_LOGD(Log::SERVICE, "description of %{public}s ignored: %{public}s", id.c_str(), why.c_str());
        ++context_->counters.refusedPeers;
        return;
    }
    auto known = peers_.find(id);
    if (known == peers_.end()) {
        Connect(*device);
    } else if (!(known->second.device == *device)) {
        known->second.device = *device;
        Report(known->second);
    }
}

void Discovery::Connect(const LocalDevice& device)
{
    Host::UniqueFd socket;
    switch (context_->folder.Connect(device.id, socket)) {
        case ConnectResult::CONNECTED:
            break;
        case ConnectResult::REFUSED:
            context_->folder.RemoveStale(device.id);
            return;
        case ConnectResult::FULL:
            LookAgainAfter(device.id, SOON_MS);
            return;
        case ConnectResult::FAILED:
            SHARE_LOGD(Log::SERVICE, "%{public}s cannot be connected to", device.id.c_str());
            return;
    }
    auto link = Channel::Open(context_->loop, std::move(socket), context_->config.unreadLimitMs);
    if (link == nullptr) {
        return;
    }
    link->SetHandlers([this, id = device.id](FrameType, std::string_view,
                          Host::UniqueFd) { OnLinkEnd(std::string(id), "it speaks where it has nothing to say"); },
        // A copy: what the handler holds goes with the link.
        [this, id = device.id](const char* why) { OnLinkEnd(std::string(id), why); });
    link->Send(FrameType::WATCH);
    Peer& peer = peers_[device.id];
    peer.device = device;
    peer.link = std::move(link);
    peer.sinceMs = NowMs();
    peer.flags = listeners_.empty() ? 0 : Discoverer::ORDINARY;
    Report(peer);
    TryAim();
}

// The peer, or one that took its place, may be there all the same: its files say so, and who is refused removes them.
void Discovery::OnLinkEnd(const std::string& id, const char* why)
{
    auto found = peers_.find(id);
    if (found == peers_.end()) {
        return;
    }
    if (why != nullptr) {
        SHARE_LOGD(Log::SERVICE, "link to %{public}s dropped: %{public}s", id.c_str(), why);
        ++context_->counters.refusedPeers;
    }
    bool wasSteady = NowMs() - found->second.sinceMs >= STEADY_LINK_MS;
    Lose(id);
    context_->folder.RemoveStale(id);
    LookAgainAfter(id, wasSteady ? 0 : STEADY_LINK_MS);
}

void Discovery::LookAgainAfter(const std::string& id, int64_t delayMs)
{
    ControlLoop::Id& timer = lookingAgain_[id];
    context_->loop.CancelTimer(timer);
    timer = context_->loop.After(delayMs, [this, id] {
        lookingAgain_.erase(id);
        std::string why;
        if (context_->folder.ReadDescription(id, why).has_value()) { // mostly it has gone, as it should
            Look(id);
        }
    });
}

void Discovery::Lose(const std::string& id)
{
    auto found = peers_.find(id);
    if (found == peers_.end()) {
        return;
    }
    // Whoever subscribed hears of everything; the others, of what they were told of.
    for (const auto& listener : listeners_.empty() ? found->second.keepers : listeners_) {
        reports_->Lost(listener, found->second.reported);
    }
    auto link = found->second.link;
    peers_.erase(found);
    link->Finish(); // may be the one that calls us
}

void Discovery::ReloadContacts()
{
    contacts_.Load(context_->config.contactsFile);
    for (auto& [id, peer] : peers_) {
        if (!SameContact(contacts_.Of(peer.device.accountHash), peer.reported->contactInfo)) {
            Report(peer);
        }
    }
}

void Discovery::Report(Peer& peer)
{
    peer.reported = RecordOf(peer);
    for (const auto& listener : listeners_) {
        reports_->Found(listener, peer.reported);
    }
}

void Discovery::ReportTo(Peer& peer, const sptr<IRemoteObject>& keeper)
{
    AddOnce(peer.keepers, keeper);
    peer.reported = RecordOf(peer);
    reports_->Found(keeper, peer.reported);
}

// The description is the peer's own word of now; a tap adds what descriptions do not tell.
sptr<ShareDevice> Discovery::RecordOf(const Peer& peer) const
{
    sptr<ShareDevice> record = peer.tapped == nullptr ? new ShareDevice() : new ShareDevice(*peer.tapped);
    record->SetDeviceId(peer.device.id);
    record->SetDeviceName(peer.device.name);
    record->SetDeviceType(peer.device.type);
    record->SetAccountHash(peer.device.accountHash);
    record->SetCapability(peer.device.capability);
    record->contactInfo = contacts_.Of(peer.device.accountHash);
    record->discoveredBy_ = peer.flags;
    return record;
}

} // namespace OHOS::Pelago::Local
