// What may stand on disk when a device comes up: written by a crash, an older install, or a person with an editor.
#include <array>
#include <cstdlib>
#include <fstream>
#include <string>

#include <fcntl.h>

#include "contacts.h"
#include "device.h"
#include "device_memory.h"
#include "device_paths.h"
#include "host/device.h"
#include "host/host_settings.h"
#include "nearby_folder.h"
#include "service_fixture.h"
#include "targets.h"

namespace OHOS::Pelago::Fuzz {
namespace {

namespace fs = std::filesystem;

FuzzDevice& Device()
{
    return FuzzDevice::Instance();
}

void Write(const fs::path& path, std::string_view bytes)
{
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

// The service reads the files of a user who comes to the front.
void UserComes(const std::string& file, std::string_view bytes)
{
    auto& model = Host::Device::Instance();
    (void)model.SwitchUser(OTHER_USER); // both exist
    Device().Advance(0);
    Write(Device().Root() + file, bytes);
    (void)model.SwitchUser(USER);
    Device().Advance(1'000);
    Device().EndInput();
}

void StateFile(std::string_view bytes)
{
    UserComes("/data/service/el2/100/pelago/switch.cfg", bytes);
}

void RecoverFile(std::string_view bytes)
{
    UserComes("/data/service/el2/100/pelago/switch_recover.cfg", bytes);
}

void LegacyFile(std::string_view bytes)
{
    std::error_code error;
    fs::remove(Device().Root() + "/data/service/el2/100/pelago/switch.cfg", error); // if it is there
    UserComes("/data/service/el1/public/pelago/switch_100.cfg", bytes);
}

// Another device with this database. Accesses fail or work; afterwards a good one works.
void Settings(std::string_view bytes)
{
    auto& model = Host::Device::Instance();
    const Host::DeviceIdentity own = model.Identity();
    Host::DeviceIdentity other = own;
    other.root = own.root + "/other";
    fs::remove_all(other.root);
    Write(other.root + "/settings.db", bytes);
    Demand(model.Configure(other), "no other device");
    bool isSeeded = Host::HostSettings::SeedFreshDevice({USER});
    bool isPut = Host::HostSettings::Put("key", "value");
    Demand(!isPut || Host::HostSettings::Get("key") == "value", "a setting that was put is another one");
    (void)Host::HostSettings::Get("key", USER); // any answer is fine
    (void)Host::HostSettings::List();           // likewise
    (void)Host::HostSettings::List(OTHER_USER); // likewise
    Demand(model.Configure(own), "no device");
    Demand(Host::HostSettings::Put("key", isSeeded ? "1" : "0"), "a damaged database harms the next one");
}

void Hardware(std::string_view bytes)
{
    auto device = Host::DeviceFrom(std::string(bytes));
    if (!device.has_value()) {
        return;
    }
    const std::string text = Host::MemoryOf(*device);
    auto again = Host::DeviceFrom(text);
    Demand(again.has_value() && Host::MemoryOf(*again) == text, "a device remembers another one");
    auto& model = Host::Device::Instance();
    const Host::DeviceSnapshot own = model.Snapshot();
    if (model.Become(*device)) {
        (void)model.Snapshot(); // any is fine
        Demand(model.Become(own), "a device is not itself again");
    }
}

void ContactsFile(std::string_view bytes)
{
    const std::string path = Device().Root() + "/contacts.json";
    Write(path, bytes);
    Local::Contacts contacts;
    contacts.Load(path);
    Plant(Target::FILES, contacts.Of("HASH").contactId > 7);
    for (const char* hash : {"", "HASH", "a"}) {
        Demand(
            contacts.Of(hash).contactId != 0 || contacts.Of(hash).name.empty(), "a contact without an id has a name");
    }
}

void Description(std::string_view bytes)
{
    const std::string folder = Device().Root() + "/nearby";
    Write(folder + "/b1.json", bytes);
    fs::permissions(folder, fs::perms::owner_all);
    Local::NearbyFolder nearby;
    std::string why;
    Demand(nearby.Open(folder, why), why);
    auto device = nearby.ReadDescription("b1", why);
    if (device.has_value()) {
        Demand(nearby.WriteDescription(*device, why), why);
        auto again = nearby.ReadDescription("b1", why);
        Demand(again.has_value() && again->name == device->name && again->accountHash == device->accountHash,
            "a description is another one when it is read again");
    }
}

void Card(std::string_view bytes)
{
    (void)::setenv("PELAGO_HOME", (Device().Root() + "/home").c_str(), 1); // there is memory for it
    Tools::DevicePaths paths("blue-phone");
    Write(paths.Card(), bytes);
    auto card = paths.ReadCard();
    if (!card.has_value()) {
        return;
    }
    Demand(paths.WriteCard(*card).empty() && paths.ReadCard().has_value(), "a card cannot be written again");
    for (const std::string& id : Tools::DevicePaths::All()) {
        Demand(Tools::DevicePaths::IsValidId(id), "a device has an id that cannot be");
    }
}

constexpr std::array<void (*)(std::string_view), 8> READERS{
    StateFile, RecoverFile, LegacyFile, Settings, Hardware, ContactsFile, Description, Card};

} // namespace

// Which file, and its bytes.
void PlayFiles(Feed& feed)
{
    (void)Device(); // in manual time
    auto reader = READERS[feed.Below(READERS.size())];
    reader(feed.Rest());
}

} // namespace OHOS::Pelago::Fuzz
