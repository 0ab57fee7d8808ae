#ifndef PELAGO_TOOLS_PEERS_H
#define PELAGO_TOOLS_PEERS_H

#include <string>
#include <vector>

#include "exit_codes.h"
#include "host/json_text.h"
#include "share_device_info.h"

namespace OHOS::Pelago::Tools {

// Entries of the service's list of peers, as people name them. Pure functions; any thread.

// What people know the entry as: its contact, or else its name. As it came: not escaped.
const std::string& NameOf(const ShareDeviceInfo& peer);

// What its state means: "idle", "sent", "the receiver refused"; the number of one that has no meaning here.
std::string StateText(int32_t state);

// Whether the word means the entry: by id, name or contact. An empty word means none.
bool IsNamed(const ShareDeviceInfo& peer, const std::string& word);

// What programs are told of the entry.
Host::Json PeerJson(const ShareDeviceInfo& peer);

// The one entry that the word means; an id wins over names. Complains when there is none, and lists them when there are
// several: it never guesses. `found` is set with EXIT_DONE alone.
[[nodiscard]] ExitCode ChoosePeer(
    const std::vector<ShareDeviceInfo>& peers, const std::string& word, ShareDeviceInfo& found);

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_PEERS_H
