#include "peers.h"

#include <algorithm>
#include <iterator>

#include "output.h"
#include "share_constants.h"

namespace OHOS::Pelago::Tools {

using Host::EscapeForTerminal;
using Host::Json;

namespace {

constexpr struct {
    int32_t state;
    const char* text;
} STATES[] = {
    {DeviceState::IDLE, "idle"},
    {DeviceState::CONNECTING, "connecting"},
    {DeviceState::TRANSFERRING, "transferring"},
    {DeviceState::REFUSED, "the receiver refused"},
    {DeviceState::CANCELLED, "cancelled"},
    {DeviceState::FAILED, "failed"},
    {DeviceState::SUCCEEDED, "sent"},
    {DeviceState::PREPARED, "prepared"},
    {DeviceState::NO_ANSWER, "nobody answered"},
    {DeviceState::DECLINED, "the receiver declined"},
    {DeviceState::WAITING, "waiting for an answer"},
    {DeviceState::BUSY, "the receiver is busy with another offer"},
    {DeviceState::ENDED_BY_2008, "the engine ended it (2008)"},
    {DeviceState::NO_SPACE, "the receiver has no space"},
    {DeviceState::ENDED_BY_1019, "the engine ended it (1019)"},
    {DeviceState::UNDER_WAY, "under way"},
};

} // namespace

std::string StateText(int32_t state)
{
    auto row =
        std::find_if(std::begin(STATES), std::end(STATES), [state](const auto& entry) { return entry.state == state; });
    return row == std::end(STATES) ? "state " + std::to_string(state) : row->text;
}

const std::string& NameOf(const ShareDeviceInfo& peer)
{
    return peer.contactInfo.name.empty() ? peer.btName : peer.contactInfo.name;
}

bool IsNamed(const ShareDeviceInfo& peer, const std::string& word)
{
    return !word.empty() && (word == peer.deviceId || word == peer.btName || word == peer.contactInfo.name);
}

Json PeerJson(const ShareDeviceInfo& peer)
{
    Json json = Json::Object();
    json.Put("id", peer.deviceId)
        .Put("name", peer.btName)
        .Put("contact", peer.contactInfo.name)
        .Put("type", static_cast<int64_t>(peer.deviceType))
        .Put("state", static_cast<int64_t>(peer.deviceState));
    return json;
}

ExitCode ChoosePeer(const std::vector<ShareDeviceInfo>& peers, const std::string& word, ShareDeviceInfo& found)
{
    std::vector<ShareDeviceInfo> named;
    std::copy_if(peers.begin(), peers.end(), std::back_inserter(named),
        [&word](const ShareDeviceInfo& peer) { return IsNamed(peer, word); });
    auto byId = std::find_if(
        named.begin(), named.end(), [&word](const ShareDeviceInfo& peer) { return peer.deviceId == word; });
    if (named.empty()) {
        Complain("there is no peer '" + word + "'; is sharing on there? who is there: pelago nearby");
        return EXIT_NO_SUCH;
    }
    if (named.size() > 1 && byId == named.end()) {
        std::string text = "several peers are called '" + word + "'; say which one by its id:";
        for (const ShareDeviceInfo& peer : named) {
            text += "\n  --to " + EscapeForTerminal(peer.deviceId); // no line ends of its own
        }
        Complain(text);
        return EXIT_USAGE;
    }
    found = byId == named.end() ? named.front() : *byId;
    return EXIT_DONE;
}

} // namespace OHOS::Pelago::Tools
