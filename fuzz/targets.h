#ifndef PELAGO_FUZZ_TARGETS_H
#define PELAGO_FUZZ_TARGETS_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "feed.h"

// What reads bytes from outside, and what must hold while it does. The first byte of an input picks the target. All of
// them live in one process and in manual time, so that an input that fails once fails again.
namespace OHOS::Pelago::Fuzz {

enum class Target : uint8_t {
    STUBS,
    RECORDS,
    JSON,
    FRAMING,
    CHANNEL,
    FILES,
};
inline constexpr size_t TARGET_COUNT = 6;

struct TargetRow {
    Target target;
    const char* name; // of its corpus folder too
    void (*run)(Feed& feed);
};
extern const TargetRow TARGETS[TARGET_COUNT];

// Null for a name that no target has.
const TargetRow* FindTarget(std::string_view name);

// Plays one input to its end. The process dies, with a line that says why, when something does not hold.
void PlayInput(const uint8_t* data, size_t size);

// A fault that is found: says what, and ends the process.
[[noreturn]] void Fail(std::string_view what);
inline void Demand(bool holds, std::string_view what)
{
    if (!holds) {
        Fail(what);
    }
}
// A bug of the harness's own, to show that a target finds one: armed by PELAGO_FUZZ_PLANT, the name of the target.
void Plant(Target target, bool isReached);

// The targets.
void PlayStubs(Feed& feed);
void PlayRecords(Feed& feed);
void PlayJson(Feed& feed);
void PlayFraming(Feed& feed);
void PlayChannel(Feed& feed);
void PlayFiles(Feed& feed);

} // namespace OHOS::Pelago::Fuzz

#endif // PELAGO_FUZZ_TARGETS_H
