#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

// The house keeps its own rules: floors, sizes, words. Each rule is a function of texts, tried on a planted offence
// first.
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

struct Source {
    std::string path; // from the root
    Lines lines;
};

Lines ReadLines(const fs::path& path)
{
    std::ifstream file(path);
    Lines lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

const std::vector<Source>& Tree()
{
    static const std::vector<Source> tree = [] {
        std::vector<Source> sources;
        for (auto entry = fs::recursive_directory_iterator(SOURCE_ROOT); entry != fs::recursive_directory_iterator();
             ++entry) {
            std::string name = entry->path().filename().string();
            if (entry->is_directory() && (name.front() == '.' || name.rfind("build", 0) == 0)) {
                entry.disable_recursion_pending();
            } else if (entry->path().extension() == ".cpp" || entry->path().extension() == ".h") {
                sources.push_back({fs::relative(entry->path(), SOURCE_ROOT).string(), ReadLines(entry->path())});
            }
        }
        return sources;
    }();
    return tree;
}

bool StartsWith(const std::string& text, const std::string& prefix)
{
    return text.rfind(prefix, 0) == 0;
}

// The names of what a file includes.
Lines Includes(const Source& source)
{
    static const std::regex include(R"re(\s*#include ["<]([^">]+)[">].*)re");
    Lines names;
    for (const std::string& line : source.lines) {
        if (std::smatch match; std::regex_match(line, match, include)) {
            names.push_back(match[1]);
        }
    }
    return names;
}

// Floors

using Floors = std::map<std::string, std::set<std::string>>;

Floors ReadFloors(const Lines& document)
{
    static const std::regex row(R"(\| ([a-z_/]+) \| [^|]* \| ?([a-z_/, ]*)\|)");
    static const std::regex word("[a-z_/]+");
    Floors floors;
    for (const std::string& line : document) {
        std::smatch match;
        if (std::regex_match(line, match, row)) {
            const std::string list = match[2];
            floors[match[1]] = {std::sregex_token_iterator(list.begin(), list.end(), word), {}};
        }
    }
    return floors;
}

// The floor that a file stands on: the longest that is a prefix of its path, and so the last in their order.
std::string FloorOf(const Floors& floors, const std::string& path)
{
    const auto floor = std::find_if(floors.rbegin(), floors.rend(),
        [&path](const auto& candidate) { return StartsWith(path, candidate.first + "/"); });
    return floor == floors.rend() ? "" : floor->first;
}

bool MayUse(const Floors& floors, const std::string& user, const std::string& used)
{
    const std::set<std::string>& allowed = floors.at(user);
    return user == used || std::any_of(allowed.begin(), allowed.end(),
                               [&used](const std::string& floor) { return StartsWith(used + "/", floor + "/"); });
}

bool IsHostHeader(const std::string& name)
{
    return StartsWith(name, "host/") || StartsWith(name, "host_") || StartsWith(name, "hilog/host_");
}

// Where each quoted include leads: the headers whose path ends with it.
std::map<std::string, std::string> HeadersByName(const std::vector<Source>& tree)
{
    std::map<std::string, std::string> headers;
    for (const Source& source : tree) {
        for (size_t slash = source.path.rfind('/'); slash != std::string::npos && slash > 0;
             slash = source.path.rfind('/', slash - 1)) {
            headers.emplace(source.path.substr(slash + 1), source.path);
        }
    }
    return headers;
}

Lines WrongIncludes(const Floors& floors, const std::vector<Source>& tree)
{
    static const std::set<std::string> hostFree{"trellis_service", "interfaces", "common", "services/parcel"};
    const std::map<std::string, std::string> headers = HeadersByName(tree);
    Lines wrong;
    for (const Source& source : tree) {
        const std::string user = FloorOf(floors, source.path);
        for (const std::string& name : user.empty() ? Lines() : Includes(source)) {
            auto header = headers.find(name);
            const std::string used = header == headers.end() ? "" : FloorOf(floors, header->second);
            if ((!used.empty() && !MayUse(floors, user, used)) || (hostFree.count(user) != 0 && IsHostHeader(name))) {
                wrong.push_back(source.path + " includes " + name);
            }
        }
    }
    return wrong;
}

TEST(House, FloorsUseOnlyWhatStandsBelowThem)
{
    Lines document = ReadLines(fs::path(SOURCE_ROOT) / "docs/ARCHITECTURE.md");
    Floors floors = ReadFloors(document);
    ASSERT_GT(floors.size(), 20u) << "the table of floors cannot be read";
    std::vector<Source> planted = Tree();
    planted.push_back({"interfaces/include/planted.h", {"#include \"core/trellis_service.h\""}});
    planted.push_back({"common/src/planted.cpp", {"#include \"host/device.h\""}});
    EXPECT_EQ(WrongIncludes(floors, planted), (Lines{"interfaces/include/planted.h includes core/trellis_service.h",
                                                  "common/src/planted.cpp includes host/device.h"}));
}

// Sizes

struct Function {
    std::string where;
    size_t lines;
};

// Functions as our format writes them: a brace of its own at the start of a line opens, one closes; members of classes
// in headers stand four columns in. Lines between the braces count.
std::vector<Function> Functions(const std::vector<Source>& tree)
{
    std::vector<Function> functions;
    for (const Source& source : tree) {
        for (const std::string indent : {"", "    "}) {
            const auto end = source.lines.end();
            for (auto open = source.lines.begin(), close = open; open != end; open = close) {
                open = std::find(open, end, indent + "{");
                close = std::find(open, end, indent + "}");
                if (close != end) {
                    const auto line = std::to_string(open - source.lines.begin() + 1);
                    functions.push_back({source.path + ":" + line, static_cast<size_t>(close - open - 1)});
                }
            }
        }
    }
    std::sort(functions.begin(), functions.end(),
        [](const Function& left, const Function& right) { return left.lines < right.lines; });
    return functions;
}

TEST(House, FunctionsFitAScreen)
{
    Source planted{"planted.cpp", Lines(73, "x")};
    planted.lines.front() = "{";
    planted.lines.back() = "}";
    ASSERT_EQ(Functions({planted}).back().lines, 71u);

    std::vector<Source> product;
    std::copy_if(Tree().begin(), Tree().end(), std::back_inserter(product),
        [](const Source& source) { return !StartsWith(source.path, "tests/") && !StartsWith(source.path, "bench/"); });
    std::vector<Function> functions = Functions(product);
    ASSERT_GT(functions.size(), 500u) << "functions cannot be found";
    EXPECT_LE(functions[functions.size() / 2].lines, 8u);
    EXPECT_LE(functions[functions.size() * 95 / 100].lines, 45u);
    EXPECT_LE(functions.back().lines, 70u);
    for (size_t i = functions.size() - 10; i < functions.size(); ++i) {
        std::printf("%4zu lines  %s\n", functions[i].lines, functions[i].where.c_str());
    }
}

// Words

struct Ban {
    const char* name;
    std::regex pattern;
    const char* where; // prefix of paths; with a leading '!', everywhere else
    const char* instead;
    const char* planted;
};

const std::vector<Ban>& Bans()
{
    static const std::vector<Ban> bans{
        {"sleeping", std::regex(R"(sleep_for|usleep\(|\bsleep\()"), "tests/",
            "settle the scheduler or wait for a condition", "std::this_thread::sleep_for(1s);"},
        {"leftover", std::regex(R"(\b(TODO|FIXME|XXX|HACK)\b)"), "", "do it or leave it", "// TODO"},
        {"throw", std::regex(R"(^\s*throw\b)"), "!tests/", "return what failed", "    throw 1;"},
        {"plain rand", std::regex(R"(\bs?rand\()"), "", "a seeded generator", "rand();"},
    };
    return bans;
}

// What must not come cannot be awaited; and this file names what it bans.
Lines Offences(const Ban& ban, const std::vector<Source>& tree)
{
    const bool isElsewhere = *ban.where == '!';
    Lines offences;
    for (const Source& source : tree) {
        const bool applies = StartsWith(source.path, ban.where + (isElsewhere ? 1 : 0)) != isElsewhere &&
                             source.path != "tests/house/house_test.cpp";
        for (const std::string& line : applies ? source.lines : Lines()) {
            if (line.find("must not come") == std::string::npos && std::regex_search(line, ban.pattern)) {
                offences.push_back(source.path + ": " + line + ": " + ban.name + "; " + ban.instead);
            }
        }
    }
    return offences;
}

TEST(House, NobodyWritesWhatIsBanned)
{
    for (const Ban& ban : Bans()) {
        const Source planted{(*ban.where == '!' ? "" : ban.where) + std::string("planted.cpp"), {ban.planted}};
        ASSERT_EQ(Offences(ban, {planted}).size(), 1u) << ban.name;
        for (const std::string& offence : Offences(ban, Tree())) {
            ADD_FAILURE() << offence;
        }
    }
}

// Headers

Lines UnusedHeaders(const std::vector<Source>& tree)
{
    std::set<std::string> included;
    for (const Source& source : tree) {
        for (const std::string& name : Includes(source)) {
            included.insert(fs::path(name).filename());
        }
    }
    Lines unused;
    for (const Source& source : tree) {
        const fs::path path = source.path;
        if (path.extension() == ".h" && included.count(path.filename()) == 0) {
            unused.push_back(path);
        }
    }
    return unused;
}

TEST(House, EveryHeaderIsIncluded)
{
    EXPECT_EQ(UnusedHeaders({{"a/planted.h", {}}}), Lines{"a/planted.h"});
    for (const std::string& header : UnusedHeaders(Tree())) {
        ADD_FAILURE() << "nobody includes " << header;
    }
}

} // namespace
