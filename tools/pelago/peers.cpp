#include "peers.h"

#include <algorithm>
#include <iterator>

#include "hilog/host_text.h"
#include "output.h"

namespace OHOS::Pelago::Tools {

using Host::EscapeForTerminal;

const std::string& NameOf(const ShareDeviceInfo& peer)
{
    return peer.contactInfo.name.empty() ? peer.btName : peer.contactInfo.name;
}

bool IsNamed(const ShareDeviceInfo& peer, const std::string& word)
{
    return !word.empty() && (word == peer.deviceId || word == peer.btName || word == peer.contactInfo.name);
}

ExitCode ChoosePeer(const std::vector<ShareDeviceInfo>& peers, const std::string& word, ShareDeviceInfo& found)
{
    std::vector<ShareDeviceInfo> named;
    std::copy_if(peers.begin(), peers.end(), std::back_inserter(named),
        [&word](const ShareDeviceInfo& peer) { return IsNamed(peer, word); });
    auto byId = std::find_if(
        named.begin(), named.end(), [&word](const ShareDeviceInfo& peer) { return peer.deviceId == word; });
    if (named.empty()) {
        Complain("there is no peer '" + EscapeForTerminal(word) + "'; see who is there with: pelago nearby");
        return EXIT_NO_SUCH;
    }
    if (named.size() > 1 && byId == named.end()) {
        std::string text = "several peers are called '" + EscapeForTerminal(word) + "'; say which one by its id:";
        for (const ShareDeviceInfo& peer : named) {
            text += "\n  --to " + EscapeForTerminal(peer.deviceId);
        }
        Complain(text);
        return EXIT_USAGE;
    }
    found = byId == named.end() ? named.front() : *byId;
    return EXIT_DONE;
}

} // namespace OHOS::Pelago::Tools
