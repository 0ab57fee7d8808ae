#ifndef PELAGO_TOOLS_COMMAND_LINE_H
#define PELAGO_TOOLS_COMMAND_LINE_H

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace OHOS::Pelago::Tools {

// What a program's parser takes, read out of it once: help, manual and completion are three ways to print it, and
// errors send people there. Plain values and pure functions; any thread.

// One thing that can be typed: an option, or a word that stands in its place.
struct CommandWord {
    std::vector<std::string> names;   // "-d", "--device"; none for a word
    std::string value;                // "FILE", "confirm|refuse"; empty for a flag
    std::vector<std::string> choices; // what the value may be, where that is a list
    std::string help;
    std::string usual; // the value when none is typed
    bool needed = false;
    bool many = false;
};

// A program, or one of its verbs.
struct Command {
    std::string name; // "pelago", "pelago send"
    std::string group;
    std::string help;
    std::string more; // paragraphs; a line that begins with a space is shown as it is
    std::vector<CommandWord> words;
    std::vector<Command> verbs;
    bool listsItself = false; // takes further words, and prints which ones when it gets none
};

[[nodiscard]] Command Describe(const CLI::App& app);

// What goes with a word that is no option: "1", "no such thing".
struct ManualEntry {
    std::string term;
    std::string text;
};
struct ManualSection {
    const char* title;
    std::vector<ManualEntry> entries;
};

// "pelago send [FILE...] --to PEER [OPTION...]"
[[nodiscard]] std::string UsageLine(const Command& command);
[[nodiscard]] std::string HelpText(const Command& command);
// As man reads it.
[[nodiscard]] std::string ManualPage(const Command& program, const std::vector<ManualSection>& sections);
// To be sourced by bash. It asks the program itself for what only a device knows.
[[nodiscard]] std::string BashCompletion(const Command& program);

// Has the parser, and the verbs that are added from here on, print HelpText.
void UseHelpText(CLI::App& app);
// What is wrong with what was typed, and where to read on.
[[nodiscard]] std::string UsageError(const CLI::App& app, const CLI::ParseError& error);

// Kinds of values that completion knows.
inline constexpr const char* FILE_VALUE = "FILE";
inline constexpr const char* FOLDER_VALUE = "FOLDER";
inline constexpr const char* VERB_VALUE = "VERB";
inline constexpr const char* DEVICE_VALUE = "DEVICE"; // of this user, by its id
inline constexpr const char* PEER_VALUE = "PEER";     // a device as the others see it, by its name

// Words that both programs take.
extern const std::vector<std::string> DEVICE_TYPES;
extern const std::vector<std::string> LOG_LEVELS;

// Values that are one of these words, a whole number between these two, or anything but nothing.
[[nodiscard]] CLI::Validator OneOf(const std::vector<std::string>& words);
[[nodiscard]] CLI::Validator NumberFrom(long long least, long long most);
[[nodiscard]] CLI::Validator NotEmpty();

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_COMMAND_LINE_H
