#include "share_mutex.h"

#include <cstdio>
#include <cstdlib>

namespace OHOS::Pelago {
namespace {

struct HeldLock {
    const void* lock;
    const char* name;
    LockRank rank;
};

// The deepest legal nesting is shorter than the list of ranks, with recursive locks taken a few times over.
constexpr size_t MAX_HELD = 64;

// Plain data without a destructor: locks are taken until the last instruction of a thread.
thread_local HeldLock g_held[MAX_HELD];
thread_local size_t g_heldCount = 0;

[[noreturn]] void Die(const char* complaint, const char* name, const char* held)
{
    (void)std::fprintf(stderr, "lock order: %s '%s' while holding '%s'\n", complaint, name, held);
    std::abort();
}

} // namespace

void LockOrder::Taking(const void* lock, const char* name, LockRank rank, bool recursive)
{
    bool again = false;
    for (size_t i = 0; i < g_heldCount; ++i) {
        again = again || g_held[i].lock == lock;
    }
    if (again && !recursive) {
        Die("taking twice", name, name);
    }
    for (size_t i = 0; !again && i < g_heldCount; ++i) {
        if (g_held[i].rank >= rank) {
            Die("taking", name, g_held[i].name);
        }
    }
    if (g_heldCount == MAX_HELD) {
        Die("too deep at", name, g_held[MAX_HELD - 1].name);
    }
    g_held[g_heldCount++] = {lock, name, rank};
}

void LockOrder::Released(const void* lock)
{
    for (size_t i = g_heldCount; i-- > 0;) {
        if (g_held[i].lock == lock) {
            for (size_t k = i + 1; k < g_heldCount; ++k) {
                g_held[k - 1] = g_held[k];
            }
            --g_heldCount;
            return;
        }
    }
}

} // namespace OHOS::Pelago
