#ifndef PELAGO_TOOLS_LIMITS_H
#define PELAGO_TOOLS_LIMITS_H

#include <cstdint>
#include <string>
#include <vector>

namespace OHOS::Pelago::Tools {

// What somebody can fill, or keep waiting, and how far. Plain values.
struct Limit {
    const char* name; // the room, then what is limited
    int64_t value;    // by default
    const char* unit;
    const char* beyond; // what happens beyond it
};

// Every limit of a daemon, by rooms. The numbers are the rooms' own constants; none is written here. Any thread.
[[nodiscard]] std::vector<Limit> Limits();
// The same as one JSON object: an array "limits" of rows.
[[nodiscard]] std::string LimitsJson();

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_LIMITS_H
