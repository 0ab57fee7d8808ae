#ifndef PELAGO_TOOLS_EXIT_CODES_H
#define PELAGO_TOOLS_EXIT_CODES_H

namespace OHOS::Pelago::Tools {

// What every verb ends with. Scripts rely on the numbers; `EXIT_CODES` in verbs_about.cpp says them in words.
enum ExitCode : int {
    EXIT_DONE = 0,
    EXIT_FAILED = 1,
    EXIT_USAGE = 2, // the words are off, or do not say which device is meant
    EXIT_UNREACHABLE = 3,
    EXIT_PERMISSION = 4,
    EXIT_NO_SUCH = 5, // no such device or entry
    EXIT_REFUSED = 6, // by the receiver
    EXIT_CANCELLED = 7,
    EXIT_TIMED_OUT = 8,
    EXIT_NO_SPACE = 9, // or another failure to read or write
    EXIT_LIMIT = 11,
    EXIT_INTERRUPTED = 130,
};

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_EXIT_CODES_H
