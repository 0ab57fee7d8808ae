// What must not happen to a device that is used for long, and by many: plays clients, peers, transfers and files with
// real daemons and real clients. `load --help` says what each story does and what fails it.
#include <sys/resource.h>

#include <cmath>
#include <optional>

#include "expect.h"
#include "stage.h"
#include "stories.h"

using namespace OHOS::Pelago;
using namespace OHOS::Pelago::Load;

namespace {

constexpr double DEFAULT_MINUTES = 10;
constexpr rlim_t DESCRIPTORS = 12'000; // a device has a connection to each peer
constexpr int EXIT_WRONG_WORDS = 2;

constexpr Sends TRANSFERS{"transfers", 5000, 1};
constexpr Sends FILES{"files", 14, 500};
constexpr Crowd PEERS{1000, 30};
constexpr Crowd CROWD{10'000, 10};

// Its words are those of the help.
struct Story {
    const char* name;
    std::string does;
    std::vector<std::string> fails;
    void (*play)(const fs::path& home, double minutes);
};

std::string Words(const Sends& sends)
{
    return "phone sends tablet " + std::to_string(sends.number * sends.filesPerSend) + " files of " +
           std::to_string(FILE_BYTES) + " bytes in " + std::to_string(sends.number) + " sends, one after the other";
}

std::string Words(const Crowd& crowd)
{
    return std::to_string(crowd.peers) + " peers come and go " + std::to_string(crowd.rounds) +
           " times, half of them without a word, while a client discovers";
}

const std::vector<Story>& Stories()
{
    static const std::vector<std::string> sendFaults{"a send is refused or fails, or a file does not arrive whole",
        "phone or tablet keeps something of the client when it has gone"};
    static const std::vector<std::string> peerFaults{"the client does not see all of them come, or all of them go"};
    static const std::vector<std::string> clientFaults{"a call fails on its way; that it is refused is no fault",
        "a listener does not hear of every change of the switch",
        "the phone keeps something of the clients when they have gone"};
    static const std::vector<Story> stories{
        {TRANSFERS.story, Words(TRANSFERS), sendFaults,
            [](const fs::path& home, double) { PlaySends(home, TRANSFERS); }},
        {FILES.story, Words(FILES), sendFaults, [](const fs::path& home, double) { PlaySends(home, FILES); }},
        {"peers", Words(PEERS), peerFaults, [](const fs::path& home, double) { PlayPeers(home, PEERS); }},
        {"crowd", Words(CROWD), peerFaults, [](const fs::path& home, double) { PlayPeers(home, CROWD); }},
        {"clients",
            std::to_string(MOST_CLIENTS) + " clients make mixed calls for MINUTES, half of them come and go, and so "
                                           "does sharing",
            clientFaults, PlayClients},
    };
    return stories;
}

void PrintHelp()
{
    Print(
        "load [MINUTES] [STORY...]: what must not happen to devices in long use, with real daemons and real clients\n\n"
        "Plays the stories that are named, or all, each in a home of its own on a memory file system. MINUTES (%.0f)\n"
        "are those of the clients. Ends with 0 when all is well, with 1 when something is not, with 2 for words\n"
        "that it does not know. Leaves no process and no file behind, also when a signal ends it.\n",
        DEFAULT_MINUTES);
    for (const Story& story : Stories()) {
        Print("\n  %-10s %s\n", story.name, story.does.c_str());
        for (const std::string& fault : story.fails) {
            Print("  %-10s - fails when %s\n", "", fault.c_str());
        }
    }
    Print("\nEach of them fails, too, when\n"
          "  - nothing happens for %d seconds, or a process ends before its time;\n"
          "  - its last tenth takes more than %.1f times as long as its first, as medians;\n"
          "  - a daemon has grown from the middle to the end: by more than %lld KiB of memory, %lld descriptors or\n"
          "    %lld threads.\n",
        PATIENCE_MS / 1000, MOST_SLOWER, static_cast<long long>(MOST_GROWTH_KB), static_cast<long long>(MOST_MORE_OPEN),
        static_cast<long long>(MOST_MORE_THREADS));
}

const Story* Find(const std::string& name)
{
    for (const Story& story : Stories()) {
        if (name == story.name) {
            return &story;
        }
    }
    return nullptr;
}

// What was typed.
struct Wish {
    bool isHelp = false;
    double minutes = DEFAULT_MINUTES;
    std::vector<const Story*> stories;
};

// Empty, with words on standard error, when it cannot be granted.
std::optional<Wish> Read(int argc, char** argv)
{
    Wish wish;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        char* end = nullptr;
        const double number = std::strtod(word.c_str(), &end);
        if (word == "--help" || word == "-h") {
            wish.isHelp = true;
        } else if (const Story* story = Find(word); story != nullptr) {
            wish.stories.push_back(story);
        } else if (*end == '\0' && std::isfinite(number) && number > 0) {
            wish.minutes = number;
        } else {
            (void)std::fprintf(stderr, "load: '%s' is neither minutes nor a story; see: load --help\n", word.c_str());
            return std::nullopt;
        }
    }
    if (wish.stories.empty()) {
        for (const Story& story : Stories()) {
            wish.stories.push_back(&story);
        }
    }
    return wish;
}

} // namespace

int main(int argc, char** argv)
{
    const std::optional<Wish> wish = Read(argc, argv);
    if (!wish) {
        return EXIT_WRONG_WORDS;
    }
    if (wish->isHelp) {
        PrintHelp();
        return 0;
    }
    rlimit limit{};
    Require(::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_max >= DESCRIPTORS, "needs ulimit -Hn 12000");
    limit.rlim_cur = limit.rlim_max;
    Require(::setrlimit(RLIMIT_NOFILE, &limit) == 0, "no descriptors");
    Stage stage;
    bool isWell = true;
    for (const Story* story : wish->stories) {
        isWell = stage.Play([&](const fs::path& home) { story->play(home, wish->minutes); }) && isWell;
    }
    Print("%s\n", isWell ? "all is well" : "something is not well");
    return isWell ? 0 : 1;
}
