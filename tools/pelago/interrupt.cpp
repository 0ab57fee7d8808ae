#include "interrupt.h"

#include <atomic>
#include <csignal>

namespace OHOS::Pelago::Tools {
namespace {

std::atomic<int> g_interrupts{0};

void OnInterrupt(int)
{
    ++g_interrupts;
}

} // namespace

void NoteInterrupts()
{
    (void)std::signal(SIGINT, OnInterrupt);
    (void)std::signal(SIGTERM, OnInterrupt);
}

int Interrupts()
{
    return g_interrupts;
}

} // namespace OHOS::Pelago::Tools
