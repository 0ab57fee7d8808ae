#include <algorithm>
#include <sstream>

#include "command_line.h"

namespace OHOS::Pelago::Tools {
namespace {

constexpr size_t WIDTH = 80;
constexpr size_t HELP_AT = 28; // where the second column begins

// Breaks a text into lines of this width, but for words that are longer.
std::vector<std::string> Wrapped(const std::string& text, size_t width)
{
    std::vector<std::string> lines{""};
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (!lines.back().empty() && lines.back().size() + 1 + word.size() > width) {
            lines.emplace_back();
        }
        lines.back() += (lines.back().empty() ? "" : " ") + word;
    }
    return lines;
}

std::string Paragraphs(const std::string& text)
{
    std::string wrapped;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const bool asItIs = line.empty() || line.front() == ' ';
        for (const std::string& part : asItIs ? std::vector<std::string>{line} : Wrapped(line, WIDTH)) {
            wrapped += part + "\n";
        }
    }
    return wrapped;
}

std::string Row(const std::string& left, const std::string& right)
{
    std::string row = "  " + left;
    const std::string indent(HELP_AT, ' ');
    row += row.size() + 2 > HELP_AT ? "\n" + indent : indent.substr(row.size());
    const std::vector<std::string> lines = Wrapped(right, WIDTH - HELP_AT);
    for (size_t i = 0; i < lines.size(); ++i) {
        row += (i == 0 ? "" : indent) + lines[i] + "\n";
    }
    return row;
}

std::string Rows(const Command& command, bool isVerb)
{
    std::string rows;
    for (const CommandWord& word : command.words) {
        const bool isHelp = std::count(word.names.begin(), word.names.end(), "--help") > 0;
        if (isHelp && isVerb) {
            continue; // who reads it knows it
        }
        std::string left = CLI::detail::join(word.names, ", ");
        left += (left.empty() || word.value.empty() ? "" : " ") + word.value + (word.many ? "..." : "");
        std::string right = word.help;
        right += word.choices.empty() || word.names.empty() ? "" : ": " + CLI::detail::join(word.choices, ", ");
        right += word.usual.empty() ? "" : " (default: " + word.usual + ")";
        right += word.needed && !word.names.empty() ? " (needed)" : "";
        rows += Row(left, right);
    }
    return rows;
}

// By group, each group where its first verb stands.
std::string Verbs(const Command& program)
{
    std::string text;
    std::string group;
    for (const Command& verb : program.verbs) {
        if (verb.group != group) {
            group = verb.group;
            text += "\n" + group + ":\n";
        }
        text += Row(verb.name.substr(program.name.size() + 1), verb.help);
    }
    return text;
}

} // namespace

std::string UsageLine(const Command& command)
{
    std::string line = command.name;
    bool hasOptions = false;
    for (const CommandWord& word : command.words) {
        const std::string value = word.value + (word.many ? "..." : "");
        if (word.names.empty()) {
            line += word.needed ? " " + value : " [" + value + "]";
        } else if (word.needed) {
            line += " " + word.names.back() + " " + value;
        } else {
            hasOptions = hasOptions || word.names.back() != "--help";
        }
    }
    line += hasOptions ? " [OPTION...]" : "";
    line += command.listsItself ? " [COMMAND...]" : "";
    return line + (command.verbs.empty() ? "" : " VERB ...");
}

std::string HelpText(const Command& command)
{
    const bool isVerb = command.name.find(' ') != std::string::npos;
    const std::string rows = Rows(command, isVerb);
    std::string text = Paragraphs(command.name + ": " + command.help);
    text += "\nusage: " + UsageLine(command) + "\n" + (rows.empty() ? "" : "\n" + rows) + Verbs(command);
    text += command.more.empty() ? "" : "\n" + Paragraphs(command.more);
    text += isVerb ? "\nOptions of every verb: " + command.name.substr(0, command.name.find(' ')) + " --help\n" : "";
    return text;
}

} // namespace OHOS::Pelago::Tools
