#include <limits>
#include <memory>

#include <unistd.h>

#include <cJSON.h>

#include "host/json_text.h"
#include "host/whole_file.h"
#include "output.h"
#include "verbs.h"

// Whose devices are whose.
namespace OHOS::Pelago::Tools {
namespace {

using Host::Json;
using JsonValue = std::unique_ptr<cJSON, void (*)(cJSON*)>;

struct ContactOptions {
    std::string account;
    int id = 0;
    std::string name;
};

// The contacts that stand in the file; null when it holds something else.
JsonValue ReadContacts()
{
    auto text = Host::ReadWhole(DevicePaths::Contacts());
    JsonValue contacts(text.has_value() ? cJSON_Parse(text->c_str()) : cJSON_CreateObject(), cJSON_Delete);
    return cJSON_IsObject(contacts.get()) ? std::move(contacts) : JsonValue(nullptr, cJSON_Delete);
}

ExitCode WriteContact(const ContactOptions& options)
{
    JsonValue contacts = ReadContacts();
    if (contacts == nullptr) {
        Complain(DevicePaths::Contacts() + " holds no contacts; mend it or take it away");
        return EXIT_FAILED;
    }
    cJSON* contact = cJSON_CreateObject();
    (void)cJSON_AddNumberToObject(contact, "id", options.id);
    (void)cJSON_AddStringToObject(contact, "name", options.name.c_str());
    cJSON_DeleteItemFromObjectCaseSensitive(contacts.get(), options.account.c_str());
    (void)cJSON_AddItemToObject(contacts.get(), options.account.c_str(), contact);
    std::string text = Host::JsonText(contacts.get(), true) + "\n";
    std::string reason = Host::WriteWhole(DevicePaths::Contacts(), text, Host::Outlives::MACHINE);
    if (!reason.empty()) {
        Complain(reason);
        return EXIT_NO_SPACE;
    }
    return EXIT_DONE;
}

// The file is shared by all devices of the user; running engines see the change.
ExitCode AddContact(const ContactOptions& options)
{
    std::string reason;
    int lock = DevicePaths::LockContacts(reason);
    if (lock < 0) {
        Complain(reason);
        return EXIT_NO_SPACE;
    }
    ExitCode code = WriteContact(options);
    (void)::close(lock); // a folder: nothing to lose
    return code;
}

} // namespace

Action ContactVerb(CLI::App& app)
{
    auto options = std::make_shared<ContactOptions>();
    app.add_option("ACCOUNT", options->account, "hash of the account")->required()->check(NotEmpty());
    app.add_option("--id", options->id, "id of the contact; devices of one id are one entry")
        ->required()
        ->type_name("N")
        ->check(NumberFrom(1, std::numeric_limits<int>::max()));
    app.add_option("--name", options->name, "name of the contact")->required()->type_name("NAME")->check(NotEmpty());
    return [options](const Context& context) {
        ExitCode code = AddContact(*options);
        if (code == EXIT_DONE && context.json) {
            PrintJson(Json::Object()
                          .Put("account", options->account)
                          .Put("id", int64_t{options->id})
                          .Put("name", options->name)
                          .Text());
        }
        return code;
    };
}

} // namespace OHOS::Pelago::Tools
