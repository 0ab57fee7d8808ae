#ifndef PELAGO_BENCH_LOAD_STORIES_H
#define PELAGO_BENCH_LOAD_STORIES_H

#include "devices.h"

// The stories. Each is played once in a process that has no other thread, in an empty home; says what it came to; and
// expects what must hold. What keeps it from going on ends the process.
namespace OHOS::Pelago::Load {

inline constexpr size_t FILE_BYTES = 4096;

// A size for each story that has one, as it stands in the table of stories.
struct Sends {
    const char* story;
    size_t number;
    size_t filesPerSend;
};
struct Crowd {
    size_t peers;
    size_t rounds;
};

// One client sends, one send after the other.
void PlaySends(const fs::path& home, const Sends& sends);
// Peers come all at once and go all at once, while one client discovers.
void PlayPeers(const fs::path& home, const Crowd& crowd);
// MOST_CLIENTS clients call what comes to their minds.
void PlayClients(const fs::path& home, double minutes);

} // namespace OHOS::Pelago::Load

#endif // PELAGO_BENCH_LOAD_STORIES_H
