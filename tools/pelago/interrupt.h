#ifndef PELAGO_TOOLS_INTERRUPT_H
#define PELAGO_TOOLS_INTERRUPT_H

#include <cstdint>

namespace OHOS::Pelago::Tools {

// SIGINT and SIGTERM, for verbs that have something to take back before they end. One per process.

// From here on the signals are noted, and end nothing by themselves.
void NoteInterrupts();

// How often one has come.
int Interrupts();

// How often whoever waits looks at them.
inline constexpr int64_t TICK_MS = 200;

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_INTERRUPT_H
