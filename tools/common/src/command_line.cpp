#include "command_line.h"

#include <algorithm>
#include <memory>

namespace OHOS::Pelago::Tools {
namespace {

// CLI11 tells a value's kind and what is checked of it in one text: "TEXT:{phone,tablet}".
std::string KindOf(const CLI::Option& option)
{
    const std::string type = option.get_type_name();
    return type.substr(0, type.find(':'));
}

std::vector<std::string> ChoicesOf(const CLI::Option& option)
{
    const std::string type = option.get_type_name();
    const size_t begin = type.find('{');
    const size_t end = type.find('}');
    return begin == std::string::npos || end == std::string::npos
               ? std::vector<std::string>()
               : CLI::detail::split(type.substr(begin + 1, end - begin - 1), ',');
}

CommandWord WordOf(const CLI::Option& option)
{
    CommandWord word;
    for (const std::string& name : option.get_snames()) {
        word.names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        word.names.push_back("--" + name);
    }
    if (option.get_items_expected_max() > 0) {
        word.choices = ChoicesOf(option);
        const std::string name = word.choices.empty() ? option.get_name(true) : CLI::detail::join(word.choices, "|");
        word.value = word.names.empty() ? name : KindOf(option);
        word.usual = option.get_default_str();
    }
    word.help = option.get_description();
    word.needed = option.get_required();
    word.many = option.get_expected_max() >= CLI::detail::expected_max_vector_size;
    return word;
}

// The App's own way of printing help, for those who type --help.
class Formatter : public CLI::FormatterBase {
public:
    std::string make_help(const CLI::App* app, std::string, CLI::AppFormatMode) const override
    {
        return HelpText(Describe(*app));
    }
};

std::string FullName(const CLI::App& app)
{
    return (app.get_parent() == nullptr ? "" : FullName(*app.get_parent()) + " ") + app.get_name();
}

std::string Quoted(const std::string& word)
{
    return "'" + word + "'";
}

std::string WhatIs(const std::string& word, const Command& command)
{
    if (!word.empty() && word.front() == '-') {
        return "there is no option " + Quoted(word);
    }
    if (command.verbs.empty()) {
        return Quoted(word) + " is a word too many";
    }
    std::vector<std::string> verbs;
    for (const Command& verb : command.verbs) {
        verbs.push_back(verb.name.substr(verb.name.rfind(' ') + 1));
    }
    return "there is no verb " + Quoted(word) + "; there are: " + CLI::detail::join(verbs, ", ");
}

} // namespace

const std::vector<std::string> DEVICE_TYPES{"phone", "tablet", "pc", "2in1", "watch", "car", "tv"};
const std::vector<std::string> LOG_LEVELS{"debug", "info", "warn", "error", "fatal"};

Command Describe(const CLI::App& app)
{
    Command command;
    command.name = FullName(app);
    command.group = app.get_group();
    command.help = app.get_description();
    command.more = app.get_footer();
    command.listsItself = app.get_prefix_command();
    for (const CLI::Option* option : app.get_options()) {
        command.words.push_back(WordOf(*option));
    }
    for (const CLI::App* verb : app.get_subcommands([](const CLI::App*) { return true; })) {
        command.verbs.push_back(Describe(*verb));
    }
    return command;
}

void UseHelpText(CLI::App& app)
{
    app.formatter(std::make_shared<Formatter>());
    app.set_help_flag("-h,--help", "print what can be typed");
}

std::string UsageError(const CLI::App& app, const CLI::ParseError& error)
{
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    const Command command = Describe(chosen.empty() ? app : *chosen.front());
    const std::vector<std::string> extras = app.remaining(true);
    std::string what = error.what();
    // Before what is missing comes an option that is not known: it may be the missing one, misspelt.
    const auto stray = std::find_if(extras.begin(), extras.end(),
        [](const std::string& extra) { return extra.size() > 1 && extra.front() == '-'; });
    const int kind = error.get_exit_code();
    if (kind == static_cast<int>(CLI::ExitCodes::ArgumentMismatch)) {
        what = what.substr(0, what.find(':')) + ": the value is missing, or there are too many";
    } else if (kind == static_cast<int>(CLI::ExitCodes::RequiredError) && stray != extras.end()) {
        what = WhatIs(*stray, command);
    } else if (kind == static_cast<int>(CLI::ExitCodes::ExtrasError) && !extras.empty()) {
        what = WhatIs(extras.front(), command);
    }
    return what + "; see: " + command.name + " --help";
}

CLI::Validator OneOf(const std::vector<std::string>& words)
{
    return CLI::Validator(
        [words](const std::string& word) {
            return std::find(words.begin(), words.end(), word) != words.end()
                       ? std::string()
                       : Quoted(word) + " is not one of: " + CLI::detail::join(words, ", ");
        },
        "{" + CLI::detail::join(words) + "}");
}

CLI::Validator NumberFrom(long long least, long long most)
{
    return CLI::Validator(
        [least, most](const std::string& word) {
            long long number = 0;
            return CLI::detail::lexical_cast(word, number) && number >= least && number <= most
                       ? std::string()
                       : Quoted(word) + " is not a whole number from " + std::to_string(least) + " to " +
                             std::to_string(most);
        },
        "");
}

CLI::Validator NotEmpty()
{
    return CLI::Validator(
        [](const std::string& word) { return word.empty() ? std::string("the value is empty") : std::string(); }, "");
}

} // namespace OHOS::Pelago::Tools
