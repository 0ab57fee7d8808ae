// Writes the first inputs of each target into the folder that is named: the traffic of ordinary use, as it is really
// written, so that a fuzzer begins where sense ends. What fuzzers have found stands beside it under names of its own.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "collab_notes.h"
#include "compose.h"
#include "device.h"
#include "device_memory.h"
#include "host/device.h"
#include "nearby_folder.h"
#include "omnibind_utils.h"
#include "samples.h"
#include "targets.h"

namespace OHOS::Pelago::Fuzz {
namespace {

namespace fs = std::filesystem;

// A word of WORDS by its place.
constexpr size_t PEER_0 = 1;
constexpr size_t PEER_1 = 2;
constexpr size_t CONTACT = 7;

// The other way round of Feed.
class Seed {
public:
    Seed& Byte(size_t value)
    {
        bytes_ += static_cast<char>(value);
        return *this;
    }
    Seed& Bytes(std::initializer_list<size_t> values)
    {
        for (size_t value : values) {
            Byte(value);
        }
        return *this;
    }
    Seed& Number(int32_t value)
    {
        if (value >= 0 && value < 192) {
            return Byte(static_cast<size_t>(value));
        }
        Byte(224);
        bytes_.append(reinterpret_cast<const char*>(&value), sizeof(value));
        return *this;
    }
    // At most 223 bytes.
    Seed& Text(const std::string& text)
    {
        Byte(std::size(WORDS) + text.size());
        bytes_ += text;
        return *this;
    }
    Seed& Raw(const std::string& bytes)
    {
        bytes_ += bytes;
        return *this;
    }
    const std::string& Get() const
    {
        return bytes_;
    }

    // The steps of the first target, see stubs_target.cpp. 0 is the shape of a likely request: wild codes and wrong
    // fields are the fuzzer's to find.
    Seed& Service(size_t client, size_t code)
    {
        Bytes({0, client, 0, code - 1});
        return *this;
    }
    Seed& Found(size_t peer, int32_t contact, int32_t flags = 1)
    {
        Bytes({4, 0, 0, peer}).Number(flags).Number(contact);
        if (contact != 0) {
            Bytes({CONTACT, 0});
        }
        Number(14).Number(4).Byte(0);
        return *this;
    }
    Seed& Lost(size_t peer)
    {
        Bytes({4, 0, 1, peer, 1, 0, 14, 4, 0});
        return *this;
    }
    Seed& Report(size_t transfer, size_t row)
    {
        Bytes({6, transfer, 0, row});
        return *this;
    }
    Seed& Entry(size_t peer)
    {
        Bytes({peer, 1, 0});
        return *this;
    }
    Seed& Preview()
    {
        Bytes({0, 0, 0, 1, 100, 0, 0});
        return *this;
    }

private:
    std::string bytes_;
};

fs::path g_folder;

void Save(Target target, const std::string& name, const Seed& seed)
{
    const fs::path folder = g_folder / TARGETS[static_cast<size_t>(target)].name;
    fs::create_directories(folder);
    std::ofstream(folder / name, std::ios::binary) << static_cast<char>(target) << seed.Get();
}

// ---- Stubs

void WriteSends()
{
    Seed send;
    send.Service(0, 5).Byte(0);
    send.Service(0, 7);
    send.Found(PEER_0, 0).Service(0, 21);
    send.Service(0, 13).Entry(PEER_0).Bytes({2, 15, 100, 200, 15, 100, 200, 1, 2, 0, 0, 0, 12});
    send.Report(0, 2).Byte(0).Number(1004);
    send.Report(0, 2).Byte(0).Number(1012);
    send.Report(0, 0).Byte(50);
    send.Report(0, 6).Byte(90);
    send.Report(0, 1).Bytes({0, 1, 15});
    Save(Target::STUBS, "send", send);

    Seed contact;
    contact.Service(0, 5).Byte(0);
    contact.Service(0, 7);
    contact.Found(PEER_0, 7).Found(PEER_1, 7);
    contact.Service(1, 14).Entry(PEER_0).Bytes({1, 15, 0, 0, 0});
    contact.Report(1, 0).Byte(10);
    contact.Report(0, 3).Byte(0).Number(1);
    contact.Service(0, 16).Entry(PEER_0);
    contact.Service(0, 12).Entry(PEER_1);
    contact.Service(0, 15).Entry(PEER_1).Bytes({1, 10, 15, 100, 1, 0, 0, 12});
    contact.Lost(PEER_1).Report(1, 12).Bytes({PEER_1, 1});
    contact.Service(0, 28).Entry(PEER_0).Number(1203);
    contact.Bytes({13, 0, 0}); // the client dies
    Save(Target::STUBS, "contact", contact);
}

void WriteReceive()
{
    Seed offer;
    offer.Service(2, 17).Byte(1);
    offer.Bytes({8, 0, 2, 0}).Bytes({0, 0, 0, 1, 100, 0, 0});
    offer.Service(2, 19).Service(2, 20);
    offer.Bytes({12, 2, 3, 0, 0, 0, 1, 5}); // refuses what it was given
    offer.Bytes({8, 0, 1, 0, 15}).Raw(Seed().Preview().Get());
    offer.Bytes({8, 0, 3, 0}).Bytes({8, 0, 4, 0, 3}).Bytes({8, 0, 5, 0, 15}).Raw(Seed().Preview().Get());
    offer.Bytes({8, 0, 10, 0}).Raw(Seed().Preview().Get()).Byte(1);
    offer.Bytes({8, 0, 7, 8, 0, 6, 8, 0, 0, 1}).Bytes({8, 0, 9, 1, 2, 3});
    offer.Service(2, 18).Byte(1);
    offer.Bytes({15, 5});
    Save(Target::STUBS, "offer", offer);
}

void WriteSwitch()
{
    Seed scene;
    scene.Service(0, 5).Byte(0);
    scene.Service(0, 24).Byte(0);
    scene.Service(0, 26).Byte(14);
    scene.Service(0, 1).Bytes({2, 0, 0}).Service(0, 3);
    scene.Service(0, 2).Bytes({1, 2, 0, 0}).Service(0, 4);
    scene.Bytes({14, 0, 0, 15, 4, 14, 1, 0, 15, 4}); // Wi-Fi goes and comes
    scene.Bytes({14, 0, 2, 15, 4, 14, 1, 2});        // users
    scene.Service(0, 23).Byte(1).Service(0, 22).Service(0, 31).Byte(12);
    scene.Bytes({9, 0, 0, 0, 100, 0}).Bytes({15, 7});
    Save(Target::STUBS, "switch", scene);
}

void WriteGestures()
{
    Seed swing;
    swing.Service(3, 32).Byte(2);
    swing.Service(3, 34).Bytes({2, 0}).Service(3, 34).Bytes({3, 1});
    swing.Bytes({14, 1, 4, 3}).Service(3, 36);
    swing.Bytes({14, 0, 5, 0}).Bytes({9, 1, 0, 0, PEER_0, 4, 0, 14, 4, 0});
    swing.Service(3, 14).Entry(PEER_0).Bytes({1, 15, 0, 0, 0});
    swing.Service(0, 30).Entry(PEER_0).Byte(1);
    swing.Bytes({9, 1, 0, 3, 1, 0, 100});
    swing.Report(0, 15).Bytes({2, 0, 1}).Report(0, 16).Bytes({PEER_0, 1});
    Save(Target::STUBS, "swing", swing);

    Seed tap;
    tap.Service(3, 32).Byte(2);
    tap.Service(3, 34).Bytes({3, 0});
    tap.Bytes({11, 0, 0, 1, 0}).Bytes({11, 0, 0, 0}).Text(R"({"deviceId":"peer0","concurrentId":"tap"})");
    tap.Bytes({11, 1, 0, 0}).Text(Synfold::RequestText("tap", 7));
    tap.Bytes({11, 1, 0, 0}).Text(Synfold::NotifyText(1)).Bytes({15, 5});
    Save(Target::STUBS, "tap", tap);
}

void WriteCallbacks()
{
    Seed scene;
    for (size_t row = 0; row < 14; ++row) {
        scene.Bytes({10, 0, 0, 0, row}).Entry(PEER_0).Bytes({1, 2, 3, 0, 0, 0, 0, 0});
    }
    for (size_t row = 0; row < 5; ++row) {
        scene.Bytes({10, 0, 1, 0, row, 0, 15, 1, 0, 0});
    }
    scene.Bytes({10, 0, 2, 0, 0, 2, 0}).Entry(PEER_0);
    Save(Target::STUBS, "callbacks", scene);
}

// ---- Records: as they travel

template <class... All>
void WriteRecords(testing::Types<All...>)
{
    size_t kind = 0;
    auto write = [&kind](const Parcelable& record) {
        MessageParcel parcel;
        Demand(record.Marshalling(parcel), "a sample cannot be written");
        Seed seed;
        seed.Bytes({kind, 2}).Raw({reinterpret_cast<const char*>(parcel.GetData()), parcel.GetDataSize()});
        Save(Target::RECORDS, FROZEN[kind], seed);
        ++kind;
    };
    (write(Sample<All>()), ...);
}

// ---- Texts

void WriteTexts()
{
    const std::string custom = R"({"OH":1,"devHash":"H","nick":"ada","newActionID":false,"capability":4})";
    const std::string reply =
        R"({"serviceCode":9,"actionId":7,"concurrentId":"tap","shareState":1,"custData":"{\"OH\":1,\"newActionID\":true}"})";
    Synfold::Note note;
    note.from = {"peer0", "Blue phone", 14, "02:00:00:00:00:00"};
    note.reply = {7, "tap", 1, custom, false};
    std::string preview =
        R"({"thumbnail":"t","icon":"i","text":"{\"title\":\"a\",\"description\":\"b\",\"showMode\":2}"})";
    const struct {
        const char* name;
        size_t reader;
        std::string text;
    } ROWS[] = {
        {"preview", 0, preview},
        {"members", 1, R"({"actionId":7,"serviceId":"pelago.sender"})"},
        {"publish", 2, Synfold::PublishText("peer0", note)},
        {"deliver", 4, Synfold::RequestText("tap", 7)},
        {"notice", 5, Synfold::NoticeNote(1)},
        {"reply", 5, Synfold::ReplyNote(1, note.from, reply)},
        {"request", 6, Synfold::RequestNote(1, "tap")},
        {"control", 7, preview},
    };
    for (const auto& row : ROWS) {
        Save(Target::JSON, row.name, Seed().Byte(row.reader).Raw(row.text));
    }
}

// ---- The wire, see framing_target.cpp

Seed Request(size_t objects, const MessageParcel& parcel, size_t descriptors)
{
    Seed seed;
    seed.Bytes({descriptors, 1, 0, 0, objects, descriptors, 1, 1, 1});
    for (size_t i = 0; i < objects; ++i) {
        seed.Bytes({5 + i, 0});
    }
    return seed.Byte(parcel.GetDataSize()).Raw({reinterpret_cast<const char*>(parcel.GetData()), parcel.GetDataSize()});
}

void WriteFrames()
{
    MessageParcel plain;
    Demand(plain.WriteInt32(41) && plain.WriteString("peer"), "no parcel");
    sptr<IPCObjectStub> stub = new IPCObjectStub(u"ohos.pelago.fuzz");
    MessageParcel rich;
    Demand(rich.WriteRemoteObject(stub) && rich.WriteFileDescriptor(NullDescriptor()) && rich.WriteInt32(1) &&
               rich.WriteString16(u"peer") && rich.WriteRawData("raw", 3),
        "no parcel");
    Save(Target::FRAMING, "lane", Seed().Byte(1).Raw(Request(0, plain, 0).Get() + Request(1, rich, 1).Get()));
    Seed daemon;
    daemon.Bytes({0, 1, 1}); // greets, and offers a lane
    daemon.Bytes({2, 0}).Raw(Request(0, plain, 0).Get()).Bytes({2, 0}).Raw(Request(1, rich, 1).Get());
    daemon.Bytes({0, 0, 1, 3, 1, 1}); // releases the root
    Save(Target::FRAMING, "daemon", daemon);
}

// ---- The engine's channel, see channel_target.cpp

void WriteChannel()
{
    constexpr size_t SHAPED = 7;
    Seed offer;
    offer.Bytes({0, SHAPED, 1, 0}).Text("sender-1").Text("Blue phone").Bytes({0, 30, 0, 0, 2});
    offer.Text("a.txt").Number(5).Text("b.txt").Number(6);
    Seed abort;
    abort.Bytes({0, SHAPED, 6, 3}).Text("why");
    Seed note;
    note.Bytes({0, SHAPED, 8}).Text("b1").Text(R"({"note":"notice","notifyInfo":1})");
    Seed rest;
    rest.Bytes({1, SHAPED, 3, 0, SHAPED, 4, 50, 0, SHAPED, 2, 0, SHAPED, 5, 0, SHAPED, 0});
    Save(Target::CHANNEL, "anybody", Seed().Byte(0).Raw(offer.Get() + abort.Get() + note.Get() + rest.Get()));
    Save(Target::CHANNEL, "note", Seed().Byte(1).Raw(note.Get()));
    Save(Target::CHANNEL, "offer", Seed().Byte(2).Raw(offer.Get() + abort.Get()));
    Save(Target::CHANNEL, "watch", Seed().Byte(2).Bytes({0, SHAPED, 0}));
    Save(Target::CHANNEL, "answer", Seed().Byte(3).Text("hello").Bytes({0, SHAPED, 7, 0, 0}));
}

// ---- Files

std::string Fields(const std::vector<int32_t>& fields)
{
    return {reinterpret_cast<const char*>(fields.data()), fields.size() * sizeof(int32_t)};
}

void WriteFiles()
{
    LocalDevice device{"b1", "Blue phone", 14, "HASH", 4};
    std::ifstream database(FuzzDevice::Instance().Root() + "/settings.db", std::ios::binary);
    const struct {
        const char* name;
        std::string bytes;
    } ROWS[] = {
        {"state", Fields({1, 2, 1})},
        {"recover", Fields({1, 1})},
        {"legacy", Fields({2, 0, 0})},
        {"settings", {std::istreambuf_iterator<char>(database), {}}},
        {"hardware", Host::MemoryOf(Host::Device::Instance().Snapshot())},
        {"contacts", R"({"HASH":{"id":7,"name":"Ada","avatar":"face"},"a":{"id":-1,"name":"Bob"}})"},
        {"description", Local::DescriptionText(device)},
        {"card", R"({"name":"Blue phone","type":"phone","udid":"AB","account":"HASH"})"},
    };
    for (size_t reader = 0; reader < std::size(ROWS); ++reader) {
        Save(Target::FILES, ROWS[reader].name, Seed().Byte(reader).Raw(ROWS[reader].bytes));
    }
}

} // namespace
} // namespace OHOS::Pelago::Fuzz

int main(int argc, char** argv)
{
    using namespace OHOS::Pelago;
    using namespace OHOS::Pelago::Fuzz;
    if (argc != 2) {
        (void)std::fprintf(stderr, "fuzz_seeds: takes the folder of the corpora, e.g. fuzz/corpus\n");
        return 2;
    }
    g_folder = argv[1];
    WriteSends();
    WriteReceive();
    WriteSwitch();
    WriteGestures();
    WriteCallbacks();
    WriteRecords(AllRecords());
    WriteTexts();
    WriteFrames();
    WriteChannel();
    WriteFiles();
    return 0;
}
