#ifndef PELAGO_TOOLS_WATCH_TEXT_H
#define PELAGO_TOOLS_WATCH_TEXT_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <cJSON.h>

#include "host/control_interface.h"

namespace OHOS::Pelago::Tools {

// Says why the switch of a device changed last, by what its log holds: each cause leaves a line there before the line
// of the change. One thread at a time. It asks the device once a look, and guesses nothing: what the log no longer
// holds is said to be unknown.
class SwitchReason {
public:
    explicit SwitchReason(const sptr<Host::IDeviceControl>& control);
    // Reads on in the log. The reason of the last change; empty while there was none.
    const std::string& Look();

private:
    void Read(const std::string& line);

    const sptr<Host::IDeviceControl> control_;
    int64_t after_ = 0;
    const char* cause_;
    std::string reason_;
};

// Turns the sections of a watched device into lines for people. One thread at a time.
class WatchText {
public:
    // The lines of the section that are not as they were told last. Texts of others are escaped.
    std::vector<std::string> Changes(const std::string& section, const cJSON* state);

private:
    using Lines = std::map<std::string, std::string>; // by what each is about

    std::map<std::string, Lines> told_;
};

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_WATCH_TEXT_H
