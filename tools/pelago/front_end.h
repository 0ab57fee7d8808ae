#ifndef PELAGO_TOOLS_FRONT_END_H
#define PELAGO_TOOLS_FRONT_END_H

#include <memory>
#include <string>
#include <vector>

#include "connection.h"
#include "host/extension_host.h"
#include "receiving.h"

namespace OHOS::Pelago::Tools {

inline constexpr const char* FRONT_END_BUNDLE = "com.corvane.velos.pelago";

// The first two words are what the command line says of dialogs and of offers.
enum class Answer {
    AGREE,
    DECLINE,
    IGNORE
};

struct ExtensionOptions {
    std::string directory = ".";
    Answer offers = Answer::AGREE;
    Answer firstUse = Answer::IGNORE;
    Answer confirm = Answer::IGNORE;
    bool once = false;
};

// The ways into the device. A front end holds both rights; here each socket gives one.
struct FrontEnd {
    Connection extension; // offers, gestures, the account permission
    Connection tile;      // the switch
};

// The front end: shows what the service starts it for, and answers as told. It serves every ability of its bundle. Its
// calls come on IPC threads, one at a time; it answers inside them, since the service waits for none of them. It ends
// nothing by itself: how a first offer or dialog ended is in `outcome`. `directory` stays the caller's.
[[nodiscard]] sptr<Host::ExtensionStub> NewExtension(
    const ExtensionOptions& options, bool json, FrontEnd frontEnd, int directory, std::shared_ptr<Outcome> outcome);
[[nodiscard]] std::vector<std::string> ExtensionAbilities();

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_FRONT_END_H
