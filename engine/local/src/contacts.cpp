#include "contacts.h"

#include <cJSON.h>
#include <fcntl.h>

#include <memory>

#include "file_names.h"
#include "local_engine_limits.h"
#include "nearby_folder.h"
#include "share_log.h"

namespace OHOS::Pelago::Local {
namespace {

[[nodiscard]] bool ReadText(const cJSON* entry, const char* key, size_t most, std::string& text)
{
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(entry, key);
    if (!cJSON_IsString(item)) {
        return false;
    }
    text = item->valuestring;
    return text.size() <= most && IsUtf8(text);
}

[[nodiscard]] bool ReadContact(const cJSON* entry, ContactInfo& contact)
{
    const cJSON* id = cJSON_GetObjectItemCaseSensitive(entry, "id");
    if (!cJSON_IsNumber(id) || id->valuedouble != static_cast<double>(id->valueint) || id->valueint == 0 ||
        !ReadText(entry, "name", MAX_SHORT_TEXT, contact.name)) {
        return false;
    }
    contact.contactId = id->valueint;
    return !cJSON_HasObjectItem(entry, "avatar") || ReadText(entry, "avatar", MAX_AVATAR_BYTES, contact.avatar);
}

} // namespace

void Contacts::Load(const std::string& path)
{
    byHash_.clear();
    auto text = path.empty() ? std::nullopt : ReadSmallFile(AT_FDCWD, path.c_str(), MAX_CONTACTS_BYTES);
    if (!text.has_value()) {
        return;
    }
    const std::string& bytes = *text;
    std::unique_ptr<cJSON, void (*)(cJSON*)> json(cJSON_ParseWithLength(bytes.c_str(), bytes.size()), cJSON_Delete);
    if (!cJSON_IsObject(json.get())) {
        SHARE_LOGD(Log::SERVICE, "the contacts file is no JSON object");
        return;
    }
    for (const cJSON* entry = json->child; entry != nullptr; entry = entry->next) {
        ContactInfo contact;
        if (ReadContact(entry, contact)) {
            byHash_[entry->string] = contact;
        } else {
            SHARE_LOGD(Log::SERVICE, "contact %{private}s is malformed", entry->string);
        }
    }
}

ContactInfo Contacts::Of(const std::string& accountHash) const
{
    auto found = byHash_.find(accountHash);
    return found == byHash_.end() || accountHash.empty() ? ContactInfo() : found->second;
}

} // namespace OHOS::Pelago::Local
