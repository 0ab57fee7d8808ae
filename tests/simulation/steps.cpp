#include "discovery/cache_map_manager.h"
#include "service_fixture.h"
#include "world.h"

// The table of what can happen to a device, and what its clients and peers do. Results are not looked at: the
// invariants are.
namespace OHOS::Pelago {
namespace {

constexpr size_t MOST_CLIENTS = 4;

} // namespace

struct World::StepRow {
    const char* name;
    size_t weight;
    void (World::*run)();
};

const World::StepRow World::STEPS[] = {
    {"switch", 10, &World::AskForSwitch},
    {"client registers", 3, &World::RegisterClient},
    {"client unregisters", 1, &World::UnregisterClient},
    {"client dies", 1, &World::LoseClient},
    {"client hangs", 1, &World::HangClient},
    {"discover", 5, &World::Discover},
    {"stop discovering", 1, &World::StopDiscovering},
    {"found", 25, &World::FindPeer},
    {"lost", 8, &World::LosePeer},
    {"send", 12, &World::SendToEntry},
    {"report", 25, &World::ReportTransfer},
    {"end", 6, &World::EndTransfer},
    {"cancel", 3, &World::CancelEntry},
    {"race", 4, &World::Race},
    {"notify info", 1, &World::NotifyClientInfo},
    {"ask", 3, &World::Ask},
    {"offer", 5, &World::Offer},
    {"follow receive", 2, &World::FollowReceive},
    {"radio", 6, &World::SwitchRadio},
    {"user", 2, &World::SwitchUser},
    {"set-up", 2, &World::ChangeSetup},
    {"ability", 1, &World::ChangeAbility},
    {"package", 1, &World::ClearPackage},
    {"permission", 1, &World::GrantPermission},
    {"application registers", 4, &World::RegisterApplication},
    {"application dies", 1, &World::LoseApplication},
    {"focus", 3, &World::MoveFocus},
    {"gesture", 4, &World::Gesture},
    {"swing status", 2, &World::SwingStatus},
    {"tap", 6, &World::Tap},
    {"motion state", 4, &World::MotionState},
    {"engine refuses", 1, &World::RefuseEngine},
    {"host fails", 1, &World::FailHostCall},
    {"wait", 15, &World::Wait},
};

std::string World::Step()
{
    size_t total = 0;
    for (const StepRow& row : STEPS) {
        total += row.weight;
    }
    size_t drawn = dice_.Below(total);
    const StepRow* row = STEPS;
    while (drawn >= row->weight) {
        drawn -= row->weight;
        ++row;
    }
    (this->*row->run)();
    Settle();
    return row->name;
}

std::string World::PeerId()
{
    return "peer" + std::to_string(dice_.Below(PEERS));
}

// Most reports of a peer say what the one before said; now and then its contact is another.
ShareDevice World::DrawPeer()
{
    std::string id = PeerId();
    auto [contact, isNew] = contacts_.try_emplace(id, 0);
    if (isNew || dice_.OneIn(8)) {
        contact->second = static_cast<int32_t>(dice_.Below(3));
        if (!isNew) {
            moved_.insert(id);
        }
    }
    ShareDevice peer = Peer(id, contact->second, contact->second == 0 ? "" : "contact");
    heard_ += "  " + id + " of contact " + std::to_string(contact->second) + "\n";
    peer.SetCapability(static_cast<int32_t>(dice_.Below(8)));
    return peer;
}

ShareDeviceInfo World::DrawEntry()
{
    std::vector<ShareDeviceInfo> entries = CacheMapManager::GetAllDeviceList();
    if (entries.empty() || dice_.OneIn(10)) {
        return Entry(dice_.OneIn(2) ? PeerId() : "nobody", static_cast<uint32_t>(1 + dice_.Below(7)));
    }
    return entries[dice_.Below(entries.size())];
}

TestClient& World::DrawClient()
{
    return clients_.empty() ? *auditor_ : *clients_[dice_.Below(clients_.size())];
}

// Half of them want sharing on and ask nobody; the others try every combination.
void World::AskForSwitch()
{
    auto type = static_cast<int32_t>(dice_.Below(4));
    if (dice_.OneIn(2)) {
        (void)DrawClient()->SetShareEnableWithConfirm(STATE_SHARE_ENABLE, type, false, false);
    } else {
        (void)DrawClient()->SetShareEnableWithConfirm(
            static_cast<int32_t>(dice_.Below(3)), type, dice_.OneIn(2), dice_.OneIn(2));
    }
}

void World::RegisterClient()
{
    if (clients_.size() == MOST_CLIENTS) {
        return;
    }
    clients_.push_back(std::make_unique<TestClient>(nextPid_++, Host::TokenId::OWNER, serviceObject_));
    TestClient& client = *clients_.back();
    (void)(dice_.OneIn(3) ? client->RegisterCorvaneShareApiTrellisCallback(client.callback)
                          : client->RegisterTrellisCallback(client.callback));
    told_ = false; // everybody is, at each registration
}

void World::UnregisterClient()
{
    if (!clients_.empty()) {
        TestClient& client = DrawClient();
        (void)(dice_.OneIn(3) ? client->UnRegisterCorvaneShareApiTrellisCallback(client.callback)
                              : client->UnRegisterTrellisCallback(client.callback));
    }
}

void World::LoseClient()
{
    if (!clients_.empty()) {
        size_t index = dice_.Below(clients_.size());
        clients_[index]->Kill();
        Settle();
        clients_.erase(clients_.begin() + static_cast<ptrdiff_t>(index));
    }
}

void World::HangClient()
{
    if (!clients_.empty()) {
        DrawClient().Process().SetHanging(dice_.OneIn(3));
    }
}

void World::Discover()
{
    (void)DrawClient()->StartDiscovery();
}

void World::StopDiscovering()
{
    (void)DrawClient()->StopDiscovery();
}

void World::FindPeer()
{
    engine_->Found(DrawPeer());
}

// An engine reports a loss with the contact that the device was found with: with another one the service would take it
// out of an entry that it is not in, and clients would keep the old one.
void World::LosePeer()
{
    std::string id = PeerId();
    ended_.erase(id);
    engine_->Lost(Peer(id, contacts_[id], "contact"));
}

} // namespace OHOS::Pelago
