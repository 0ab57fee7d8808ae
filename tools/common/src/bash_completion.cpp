#include <algorithm>
#include <cctype>

#include "command_line.h"

namespace OHOS::Pelago::Tools {
namespace {

// What does not depend on the program: finds out which verb, whose value and which of the verb's own words is being
// typed, and offers what goes there. `@` stands for the program; `_@_takes`, `_@_offers` come from its parser.
constexpr const char* ENGINE = R"bash(
# Offers each line of the input that begins with what was typed, quoted as bash needs it there: a name may be a command.
_@_offer() {
    local line typed special
    while IFS= read -r line; do
        typed=$cur
        case $cur in
            \'*) line=${line//\'/"'\\''"} typed=${cur:1} ;;
            \"*)
                [[ $line != *!* ]] || continue # history is looked up there, and nothing keeps it from that
                for special in \\ \" \$ \`; do line=${line//"$special"/"\\$special"}; done
                typed=${cur:1}
                ;;
            *) printf -v line %q "$line" ;;
        esac
        [[ $line == "$typed"* ]] && COMPREPLY+=("$line")
    done
}

# Offers what may stand behind the verb's words so far, by the usage lines that the program prints for the verb alone:
# "wifi off|semi|on", "user add ID". Words in capitals are anything.
_@_offer_listed() {
    local -a row
    local i
    while read -r -a row; do
        for ((i = 0; i < ${#own[@]}; i++)); do
            [[ ${row[i + 2]-} == *[A-Z]* || "|${row[i + 2]-}|" == *"|${own[i]}|"* ]] || continue 2
        done
        _@_offer < <(tr -d '[]' <<<"${row[${#own[@]} + 2]-}" | tr '|' '\n' | grep -v '[A-Z]' | grep .)
    done < <(@ "${device[@]}" "$verb" 2>/dev/null)
    [ ${#COMPREPLY[@]} -eq 0 ] || mapfile -t COMPREPLY < <(printf '%s\n' "${COMPREPLY[@]}" | sort -u)
}

_@_complete() {
    local cur verb= due= many= word line i
    local -a typed=() own=() device=()
    COMPREPLY=()
    for ((i = 1; i <= COMP_CWORD; i++)); do # "--type=pc" comes in three words
        [ "${COMP_WORDS[i]}" = = ] || typed+=("${COMP_WORDS[i]}")
    done
    [ "${COMP_WORDS[COMP_CWORD]}" != = ] || typed+=("")
    cur=${typed[-1]}
    unset 'typed[-1]'
    for word in "${typed[@]}"; do
        case $due in -d | --device) device=(-d "$word") ;; esac
        if [ -n "$due" ] && [[ -z $many || $word != -* ]]; then
            [ -n "$many" ] || due=
            continue
        fi
        due= many=
        case $word in
            -*) _@_takes "$verb" "$word" && due=$word ;;
            *) if [ -z "$verb" ]; then verb=$word; else own+=("$word"); fi ;;
        esac
    done
    if [[ $cur == -* && ( -z $due || -n $many ) ]]; then
        _@_offer < <(_@_options "$verb")
    else
        _@_values "$verb" "${due:-${#own[@]}}"
    fi
}

complete -F _@_complete @
)bash";

std::string Replaced(std::string text, char mark, const std::string& by)
{
    for (size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + by.size())) {
        // "${own[@]}" is bash's.
        if (at > 0 && text[at - 1] == '[') {
            ++at;
            continue;
        }
        text.replace(at, 1, by);
    }
    return text;
}

bool HasCapitals(const std::string& word)
{
    return std::any_of(word.begin(), word.end(), [](unsigned char c) { return std::isupper(c) != 0; });
}

// The bash that offers values of this word; empty when anything goes.
std::string OfferOf(const CommandWord& word)
{
    std::string choices;
    for (const std::string& choice : word.choices) {
        choices += HasCapitals(choice) ? "" : " " + choice;
    }
    if (!choices.empty()) {
        return "_@_offer < <(printf '%s\\n'" + choices + ")";
    }
    if (word.value == FILE_VALUE) {
        return "compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -f -- \"$cur\")";
    }
    if (word.value == FOLDER_VALUE) {
        return "compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -d -- \"$cur\")";
    }
    if (word.value == VERB_VALUE) {
        return "_@_values '' 0";
    }
    if (word.value == DEVICE_VALUE) {
        return "_@_offer < <(pelago devices 2>/dev/null | cut -f 1)";
    }
    return word.value == PEER_VALUE ? "_@_offer < <(pelago devices 2>/dev/null | cut -f 3)" : "";
}

// One row of `case "$1 $2"`: for these verbs and words.
std::string Row(const std::string& verb, const std::vector<std::string>& words, const std::string& what)
{
    std::string pattern;
    for (const std::string& word : words) {
        pattern.append(pattern.empty() ? "" : " | ").append(verb).append("\" ").append(word).append("\"");
    }
    return "        " + pattern + ") " + what + " ;;\n";
}

struct Tables {
    std::string takes;   // options that have a value
    std::string options; // of each verb
    std::string values;
};

// `verb` is a bash pattern: the verb's name, or * for words that go with all.
void AddWords(const Command& command, const std::string& verb, Tables& tables)
{
    int place = 0;
    for (const CommandWord& word : command.words) {
        std::vector<std::string> where = word.names;
        if (word.names.empty()) {
            where = {word.many ? "\"[0-9]*\"" : std::to_string(place++)};
        } else if (!word.value.empty()) {
            tables.takes += Row(verb, word.names, word.many ? "many=1" : "true");
        }
        if (std::string offer = OfferOf(word); !offer.empty()) {
            tables.values += Row(verb, where, offer);
        }
    }
}

std::string NamesOf(const Command& command)
{
    std::string names;
    for (const CommandWord& word : command.words) {
        for (const std::string& name : word.names) {
            names += " " + name;
        }
    }
    return names;
}

void AddVerb(const Command& program, const Command& verb, Tables& tables)
{
    const std::string name = verb.name.substr(program.name.size() + 1);
    AddWords(verb, name, tables);
    Command own = verb;
    own.words.erase(own.words.begin()); // --help, which the program has too
    if (!NamesOf(own).empty()) {
        tables.options += "        " + name + ") printf '%s\\n'" + NamesOf(own) + " ;;\n";
    }
    if (verb.listsItself) {
        tables.values += "        " + name + "\" \"*) _@_offer_listed ;;\n";
    }
}

} // namespace

std::string BashCompletion(const Command& program)
{
    Tables tables;
    std::string verbs;
    for (const Command& verb : program.verbs) {
        AddVerb(program, verb, tables);
        verbs += verb.name.substr(program.name.size()); // with its space
    }
    AddWords(program, "*", tables);
    if (!verbs.empty()) {
        tables.values += "        \" 0\") _@_offer < <(printf '%s\\n'" + verbs + ") ;;\n";
    }
    std::string text = "# bash completion of @, made by @ itself.\n\n";
    text += "# VERB OPTION: whether the option has a value; sets `many` when it has any number.\n";
    text += "_@_takes() {\n    case \"$1 $2\" in\n" + tables.takes + "        *) false ;;\n    esac\n}\n\n";
    text += "# VERB: its options, and the program's.\n";
    text += "_@_options() {\n    printf '%s\\n'" + NamesOf(program) + "\n    case $1 in\n" + tables.options +
            "        *) ;;\n    esac\n}\n\n";
    text += "# VERB OPTION, or VERB and how many words of its own stand before: offers what goes there.\n";
    text += "_@_values() {\n    case \"$1 $2\" in\n" + tables.values + "    esac\n}\n" + ENGINE;
    return Replaced(text, '@', program.name);
}

} // namespace OHOS::Pelago::Tools
