#include <map>
#include <set>
#include <sstream>

#include "ending.h"
#include "file_names.h"
#include "frame.h"
#include "nearby_folder.h"
#include "offer.h"
#include "process_scene.h"
#include "raw_peer.h"

// Names that somebody hostile has chosen, on every way in and at every sink.
namespace OHOS::Pelago {
namespace {

using namespace Local;
using testing::PrintToString;

constexpr size_t MAX_TEXT = 1024;
constexpr size_t FILES_PER_SEND = 500;
constexpr int SWAP_FILES = 1000; // unless PELAGO_SWAP_FILES says otherwise

// Those of the list, where \xNN is a byte.
std::vector<std::string> MakeNames()
{
    std::vector<std::string> names;
    std::ifstream list(HOSTILE_NAMES);
    for (std::string line; std::getline(list, line);) {
        std::string& name = names.emplace_back();
        for (size_t at = 0; at < line.size(); at += line[at] == '\\' ? 4 : 1) {
            name += line[at] == '\\' ? static_cast<char>(std::stoi(line.substr(at + 2, 2), nullptr, 16)) : line[at];
        }
    }
    return names;
}

bool IsShown(const std::string& name)
{
    return IsUtf8(name) && name.size() <= MAX_TEXT;
}

std::unique_ptr<cJSON, void (*)(cJSON*)> Parsed(const std::string& text)
{
    return {cJSON_Parse(text.c_str()), cJSON_Delete};
}

std::string JsonString(const std::string& text)
{
    std::string out = "\"";
    for (char c : text) {
        char escape[8];
        (void)std::snprintf(escape, sizeof(escape), c >= 0 ? "\\u%04x" : "%c", c);
        out += escape;
    }
    return out + "\"";
}

class HostileNames : public ProcessScene {
protected:
    // No byte that steers, no character of a name like mXk that does or that nobody sees, no line begun by a name.
    void ExpectHarmless(const std::string& text) const
    {
        EXPECT_FALSE(text.empty() || !IsUtf8(text));
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            bool steers = std::any_of(line.begin(), line.end(),
                [](char c) { return (static_cast<unsigned char>(c) < ' ' && c != '\t') || c == '\x7F'; });
            EXPECT_FALSE(steers || line.rfind("FORGED", 0) == 0) << PrintToString(line);
        }
        for (const std::string& name : names) {
            bool isMark = name.size() > 3 && name.front() == 'm' && name.back() == 'k';
            EXPECT_FALSE(isMark && text.find(name) != std::string::npos) << PrintToString(name);
        }
    }
    std::string Said(const std::vector<std::string>& words, bool isWell = true)
    {
        auto child = Pelago(words);
        EXPECT_EQ(child->Wait() == 0, isWell) << child->Output();
        ExpectHarmless(child->Output());
        return child->Output();
    }
    // A sender of its own making offers an empty file; the ending that it hears.
    Outcome Send(const std::string& file, const std::string& sender) const
    {
        Offer offer;
        offer.senderId = "mallory";
        offer.senderName = offer.packageName = offer.text = sender;
        offer.timeoutMs = 10'000;
        offer.files = {{file, 0}};
        const RawSocket socket = RawSocket::Connect(door_);
        socket.Send(Bytes() + MakeFrame(FrameType::OFFER, offer.Encode()));
        for (;;) {
            const Bytes head = socket.Read(FRAME_HEADER_BYTES);
            const auto header =
                ReadFrameHeader(std::string(head.begin(), head.end())).value_or(FrameHeader{FrameType::END, 0});
            const Bytes body = socket.Read(header.length);
            if (header.type == FrameType::END) {
                return DecodeOutcome(std::string(body.begin(), body.end())).value_or(Outcome{Ending::LOST, "no word"});
            }
            if (header.type == FrameType::ACCEPT) {
                socket.Send(Bytes() + MakeFrame(FrameType::FINISH));
            }
        }
    }
    // Devices and contacts of these names, all of them served by one socket.
    void Publish()
    {
        const fs::path nearby = Home() / "run/nearby";
        NearbyFolder folder;
        std::string error;
        EXPECT_TRUE(folder.Open(nearby, error) && WaitUntil([&] { return !folder.PublishedIds().empty(); })) << error;
        door_ = nearby / (folder.PublishedIds()[0] + ".sock");
        EXPECT_TRUE(folder.Serve("crowd", SOCKET_SUFFIX, crowd_, error)) << error;
        EXPECT_EQ(::listen(crowd_.Get(), 4096), 0);
        std::string contacts = "{\"nobody\":{}";
        for (size_t i = 0; i < names.size(); ++i) {
            const std::string n = std::to_string(i);
            const std::string name = JsonString(names[i]);
            contacts += ",\"h" + n + "\":{\"id\":" + std::to_string(i + 1) + ",\"name\":" + name + "}";
            fs::create_hard_link(nearby / "crowd.sock", nearby / ("d" + n + ".sock"));
            std::ofstream(nearby / "new") << R"({"version":1,"type":14,"capability":4,"id":"d)" << n << R"(","name":)"
                                          << name << R"(,"accountHash":")" << (i % 2 == 0 ? "h" + n : "") << "\"}";
            fs::rename(nearby / "new", nearby / ("d" + n + ".json"));
        }
        std::ofstream(Tools::DevicePaths::Contacts()) << contacts << "}";
    }

    const std::vector<std::string> names = MakeNames();

private:
    Host::UniqueFd crowd_;
    fs::path door_; // of the device
};

TEST_F(HostileNames, StandInTheFolderOrAreRefusedAndAreHarmlessAtEverySink)
{
    ASSERT_GE(std::set<std::string>(names.begin(), names.end()).size(), 300U);
    auto tablet = NewDevice("tablet");
    tablet->SwitchOn();
    Publish();
    EXPECT_EQ(tablet->Control({"log", "level", "debug"}).result, Host::ControlResult::DONE);
    (void)Said({"nearby"});
    std::istringstream lines(Said({"-j", "nearby"}));
    std::map<std::string, std::string> peers; // name and contact by id
    for (std::string line; std::getline(lines, line);) {
        const auto json = Parsed(line);
        const cJSON* peer = cJSON_GetObjectItem(cJSON_GetObjectItem(json.get(), "data"), "peer");
        ASSERT_NE(peer, nullptr) << line;
        const auto text = [peer](const char* key) { return std::string(cJSON_GetObjectItem(peer, key)->valuestring); };
        peers[text("id")] = text("name") + "|" + text("contact");
    }
    auto service = tablet->As("owner");
    for (size_t i = 0; i < names.size(); ++i) { // a C string: what JSON calls NUL ends a name
        const std::string id = i % 2 == 0 ? std::to_string(i + 1) : "d" + std::to_string(i); // of its contact, or own
        const std::string name = names[i].c_str();
        EXPECT_EQ(peers[id], !IsShown(names[i]) ? "" : name + "|" + (i % 2 == 0 ? name : ""));
        ShareDeviceInfo device;
        device.deviceId = device.btName = names[i];
        SendBean bean;
        (void)service->Send(device, bean, names[i]); // it does not matter what becomes of it: it is told
        (void)service->IsAppForeground(names[i]);
        if (i % 8 == 0) {
            (void)Said({"-d", name + "?", "status"}, false);
            (void)Said({"send", name + "?", "--to", name + "?"}, false);
            (void)Said({"--" + name + "?"}, false);
        }
    }
    for (const char* sink : {"status", "dump", "log", "events"}) {
        (void)Said({sink});
        EXPECT_NE(Parsed(Said({"-j", sink})), nullptr) << sink;
    }
    const fs::path in = NewFolder("in");
    size_t arrived = 0;
    for (const char* form : {"--device=tablet", "--json"}) {
        auto front = Pelago({form, "extension", "--dir", in.string()});
        front->Await("ready");
        for (const std::string& name : names) {
            const char* fault = FaultOfName(name);
            const Outcome end = Send(name, IsShown(name) ? name : "mallory");
            EXPECT_EQ(end.ending, fault == nullptr ? Ending::DONE : Ending::BAD_NAME) << name;
            EXPECT_EQ(end.text, fault == nullptr ? "" : fault);
            EXPECT_TRUE(fault == nullptr || !IsShown(name) || Send("plain", name).ending == Ending::DONE) << name;
            arrived += fault == nullptr || IsShown(name) ? 1 : 0;
        }
        ExpectHarmless(front->Output());
        (void)Said({"log"});
    }
    EXPECT_EQ(CountEntries(in), arrived); // and nowhere else, since all of it is there
}

// What the receiver opened is where the files go, whatever stands under its name meanwhile.
TEST_F(HostileNames, AFolderThatIsSwappedForALinkReceivesAndTheOtherIsNotTouched)
{
    const size_t sends = static_cast<size_t>(FromEnvironment("PELAGO_SWAP_FILES", SWAP_FILES)) / FILES_PER_SEND;
    const fs::path in = NewFolder("in");
    const fs::path aside = Home() / "aside";
    const fs::path sentinel = NewFolder("sentinel");
    const Host::UniqueFd opened(::open(in.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::ofstream(sentinel / "f1") << "mine";
    auto phone = NewDevice("phone");
    auto tablet = NewDevice("tablet");
    phone->SwitchOn();
    tablet->SwitchOn();
    auto front = Pelago({"-d", "tablet", "receive", "--dir", in.string()});
    front->Await("ready");
    std::vector<std::string> words{"-d", "phone", "send", "--to", "tablet"};
    for (size_t i = 0; i < FILES_PER_SEND; ++i) {
        words.push_back(NewFile("f" + std::to_string(i), i).string());
    }
    const auto before = fs::last_write_time(sentinel);
    const pid_t swapper = ::fork();
    while (swapper == 0) {
        if (::rename(in.c_str(), aside.c_str()) != 0 || ::symlink(sentinel.c_str(), in.c_str()) != 0 ||
            ::unlink(in.c_str()) != 0 || ::rename(aside.c_str(), in.c_str()) != 0) {
            ::_exit(1);
        }
    }
    for (size_t i = 0; i < sends; ++i) {
        if (i == sends / 2) { // from here on with names that are hidden, as where there are no files without one
            (void)tablet->Control({"sim", "fault", "engine.tmpfile", "-1"});
        }
        EXPECT_EQ(Pelago(words)->Wait(), 0);
    }
    int status = -1;
    EXPECT_EQ(::kill(swapper, SIGKILL), 0);
    EXPECT_TRUE(::waitpid(swapper, &status, 0) == swapper && WIFSIGNALED(status)) << "it has swapped to the end";
    EXPECT_EQ(fs::last_write_time(sentinel), before);
    EXPECT_EQ(fs::file_size(sentinel / "f1"), 4U);
    EXPECT_EQ(CountEntries("/proc/self/fd/" + std::to_string(opened.Get())), sends * FILES_PER_SEND);
}

} // namespace
} // namespace OHOS::Pelago
