#include <algorithm>
#include <cctype>
#include <sstream>

#include "command_line.h"

namespace OHOS::Pelago::Tools {
namespace {

// Text as roff takes it: no character of it is one of roff's own.
std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (char c : text) {
        escaped += c == '\\' ? "\\e" : c == '-' ? "\\-" : std::string(1, c);
    }
    const bool looksLikeRequest = !text.empty() && (text.front() == '.' || text.front() == '\'');
    return (looksLikeRequest ? "\\&" : "") + escaped;
}

std::string Upper(std::string text)
{
    std::transform(
        text.begin(), text.end(), text.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string Bold(const std::string& text)
{
    return "\\fB" + Escaped(text) + "\\fR";
}

std::string Entry(const std::string& term, const std::string& text)
{
    return ".TP\n" + term + "\n" + Escaped(text) + "\n";
}

std::string Sentence(const std::string& text)
{
    return text.empty() || text.back() == '.' ? text : Upper(text.substr(0, 1)) + text.substr(1) + ".";
}

// Lines that begin with a space stand as they are.
std::string Paragraphs(const std::string& text)
{
    std::string page;
    bool isAsItIs = false;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const bool wants = !line.empty() && line.front() == ' ';
        page += wants == isAsItIs ? "" : wants ? ".PP\n.nf\n" : ".fi\n";
        page += (wants ? "" : ".PP\n") + Escaped(line) + "\n";
        isAsItIs = wants;
    }
    return page + (isAsItIs ? ".fi\n" : "");
}

std::string Words(const Command& command, bool isVerb)
{
    std::string page;
    for (const CommandWord& word : command.words) {
        if (isVerb && std::count(word.names.begin(), word.names.end(), "--help") > 0) {
            continue; // said once, for all verbs
        }
        std::string term;
        for (const std::string& name : word.names) {
            term += (term.empty() ? "" : ", ") + Bold(name);
        }
        const std::string value = word.value + (word.many ? "..." : "");
        term += (term.empty() || value.empty() ? "" : " ") + ("\\fI" + Escaped(value) + "\\fR");
        std::string text = word.help;
        text += word.choices.empty() || word.names.empty() ? "" : ": " + CLI::detail::join(word.choices, ", ");
        text += word.usual.empty() ? "" : " (default: " + word.usual + ")";
        page += Entry(term, text);
    }
    return page;
}

// A section for each group, a part of it for each verb.
std::string Verbs(const Command& program)
{
    std::string page;
    std::string group;
    for (const Command& verb : program.verbs) {
        if (verb.group != group) {
            group = verb.group;
            page += ".SH " + Upper(group) + "\n";
        }
        page += ".SS " + Escaped(UsageLine(verb)) + "\n" + Escaped(Sentence(verb.help)) + "\n";
        page += Words(verb, true) + Paragraphs(verb.more);
    }
    return page;
}

} // namespace

std::string ManualPage(const Command& program, const std::vector<ManualSection>& sections)
{
    std::string page = ".TH " + Upper(program.name) + " 1 \"\" \"Pelago\" \"User Commands\"\n";
    page += ".SH NAME\n" + program.name + " \\- " + Escaped(program.help) + "\n";
    page += ".SH SYNOPSIS\n.nh\n" + Bold(UsageLine(program)) + "\n.hy\n";
    page += ".SH DESCRIPTION\n" + Paragraphs(program.more) + ".SH OPTIONS\n" + Words(program, false) + Verbs(program);
    for (const ManualSection& section : sections) {
        page += std::string(".SH ") + section.title + "\n";
        for (const ManualEntry& entry : section.entries) {
            page += Entry(Bold(entry.term), entry.text);
        }
    }
    return page;
}

} // namespace OHOS::Pelago::Tools
