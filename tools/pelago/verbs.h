#ifndef PELAGO_TOOLS_VERBS_H
#define PELAGO_TOOLS_VERBS_H

#include <functional>

#include <CLI/CLI.hpp>

#include "command_line.h"
#include "connection.h"

namespace OHOS::Pelago::Tools {

// A number of seconds that somebody can wait for.
inline CLI::Validator Seconds()
{
    return NumberFrom(0, 1'000'000);
}

// Runs once the command line has been read.
using Action = std::function<ExitCode(const Context& context)>;

// What the numbers in exit_codes.h mean, in a line.
std::string ExitCodesText();

// Each adds the verb's own words to its sub-command and gives what it does. They stand in one table in main.cpp.
Action UpVerb(CLI::App& app);
Action DownVerb(CLI::App& app);
Action DevicesVerb(CLI::App& app);
Action ContactVerb(CLI::App& app);
Action OnVerb(CLI::App& app);
Action OffVerb(CLI::App& app);
Action StatusVerb(CLI::App& app);
Action NearbyVerb(CLI::App& app);
Action SendVerb(CLI::App& app);
Action CancelVerb(CLI::App& app);
Action ReceiveVerb(CLI::App& app);
Action ExtensionVerb(CLI::App& app);
Action AppVerb(CLI::App& app);
Action SwingVerb(CLI::App& app);
Action TapVerb(CLI::App& app);
Action WatchVerb(CLI::App& app);
Action WaitForVerb(CLI::App& app);
Action DumpVerb(CLI::App& app);
Action LogVerb(CLI::App& app);
Action EventsVerb(CLI::App& app);
Action SimVerb(CLI::App& app);
Action HelpVerb(CLI::App& app);
Action ManVerb(CLI::App& app);
Action CompletionVerb(CLI::App& app);

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_VERBS_H
