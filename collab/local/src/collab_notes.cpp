#include "collab_notes.h"

#include <cmath>
#include <limits>
#include <memory>

#include "device_picker_client.h"
#include "host/json_text.h"

namespace OHOS::Synfold {
namespace {

using Host::Json;
using JsonPointer = std::unique_ptr<cJSON, void (*)(cJSON*)>;

constexpr int32_t REPLY_SERVICE_CODE = 9;
constexpr int32_t CONNECT_BY_BLE = 2;                  // so that the Bluetooth address is read
constexpr const char* SHARE_BUSINESS_CODE = "4";       // the kind of service that a tap is for
constexpr const char* DISCOVERED_BY_ACTION = "Action"; // how a tap finds

constexpr struct {
    NoteKind kind;
    const char* name;
} KINDS[] = {
    {NoteKind::REQUEST, "request"},
    {NoteKind::NOTICE, "notice"},
    {NoteKind::REPLY, "reply"},
};
static_assert(std::size(KINDS) == static_cast<size_t>(NoteKind::REPLY) + 1);

[[nodiscard]] Json NoteOf(NoteKind kind)
{
    return std::move(Json::Object().Put("note", KINDS[static_cast<size_t>(kind)].name));
}

[[nodiscard]] JsonPointer Parse(const std::string& text)
{
    return {cJSON_ParseWithLength(text.data(), text.size()), cJSON_Delete};
}

[[nodiscard]] bool GetText(const cJSON* object, const char* key, size_t most, std::string& value)
{
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(object, key);
    std::string text = cJSON_IsString(item) ? item->valuestring : std::string(most + 1, ' ');
    if (text.size() > most) {
        return false;
    }
    value = std::move(text);
    return true;
}

template <typename Int>
[[nodiscard]] bool GetInt(const cJSON* object, const char* key, Int& value)
{
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(object, key);
    if (!cJSON_IsNumber(item) || item->valuedouble != std::floor(item->valuedouble) ||
        item->valuedouble < static_cast<double>(std::numeric_limits<Int>::min()) ||
        item->valuedouble > static_cast<double>(std::numeric_limits<Int>::max())) {
        return false;
    }
    value = static_cast<Int>(item->valuedouble);
    return true;
}

[[nodiscard]] bool SaysBusy(const std::string& custData)
{
    int32_t busy = 0;
    return GetInt(Parse(custData).get(), "shareBusy", busy) && busy == 1;
}

[[nodiscard]] bool ReadKind(const cJSON* json, NoteKind& kind)
{
    std::string name;
    if (!GetText(json, "note", LocalCollab::MAX_SHORT_TEXT, name)) {
        return false;
    }
    for (const auto& row : KINDS) {
        if (name == row.name) {
            kind = row.kind;
            return true;
        }
    }
    return false;
}

[[nodiscard]] bool ReadReplyNote(const cJSON* json, Note& note)
{
    std::string text;
    bool whole = GetInt(json, "tap", note.tap) && GetText(json, "name", LocalCollab::MAX_SHORT_TEXT, note.from.name) &&
                 GetInt(json, "type", note.from.type) &&
                 GetText(json, "bleMac", LocalCollab::MAX_SHORT_TEXT, note.from.bleMac) &&
                 GetText(json, "reply", LocalCollab::MAX_TEXT, text);
    auto reply = whole ? ReadServiceReply(text) : std::nullopt;
    if (!reply.has_value()) {
        return false;
    }
    note.reply = std::move(*reply);
    return true;
}

[[nodiscard]] bool ReadBody(const cJSON* json, Note& note)
{
    switch (note.kind) {
        case NoteKind::REQUEST:
            return GetInt(json, "tap", note.tap) &&
                   GetText(json, "concurrentId", LocalCollab::MAX_SHORT_TEXT, note.concurrentId);
        case NoteKind::NOTICE:
            return GetInt(json, "notifyInfo", note.notifyInfo);
        case NoteKind::REPLY:
            return ReadReplyNote(json, note);
    }
    return false;
}

} // namespace

std::optional<ServiceReply> ReadServiceReply(const std::string& text)
{
    JsonPointer json = Parse(text);
    ServiceReply reply;
    int32_t code = 0;
    if (!GetInt(json.get(), "serviceCode", code) || code != REPLY_SERVICE_CODE ||
        !GetInt(json.get(), "actionId", reply.actionId) ||
        !GetText(json.get(), "custData", LocalCollab::MAX_TEXT, reply.custData)) {
        return std::nullopt;
    }
    // A busy service says neither.
    (void)GetText(json.get(), "concurrentId", LocalCollab::MAX_SHORT_TEXT, reply.concurrentId);
    (void)GetInt(json.get(), "shareState", reply.shareState);
    reply.busy = SaysBusy(reply.custData);
    return reply;
}

std::string RequestNote(uint32_t tap, const std::string& concurrentId)
{
    return NoteOf(NoteKind::REQUEST).Put("tap", int64_t{tap}).Put("concurrentId", concurrentId).Text();
}

std::string NoticeNote(int32_t notifyInfo)
{
    return NoteOf(NoteKind::NOTICE).Put("notifyInfo", int64_t{notifyInfo}).Text();
}

std::string ReplyNote(uint32_t tap, const CollabDevice& self, const std::string& serviceReply)
{
    return NoteOf(NoteKind::REPLY)
        .Put("tap", int64_t{tap})
        .Put("name", self.name.substr(0, LocalCollab::MAX_SHORT_TEXT / 3)) // escaping makes three bytes of one at most
        .Put("type", int64_t{self.type})
        .Put("bleMac", self.bleMac)
        .Put("reply", serviceReply)
        .Text();
}

std::optional<Note> ReadNote(const std::string& text)
{
    JsonPointer json = Parse(text);
    Note note;
    if (!ReadKind(json.get(), note.kind) || !ReadBody(json.get(), note)) {
        return std::nullopt;
    }
    return note;
}

std::string KnockText(const std::string& peer)
{
    return Json::Object().Put("deviceId", peer).Text();
}

std::string RequestText(const std::string& concurrentId, uint32_t actionId)
{
    return Json::Object()
        .Put("serviceId", DevicePickerClient::SOFTBUS_SENDER_SERVICE_ID)
        .Put("concurrentId", concurrentId)
        .Put("actionId", int64_t{actionId})
        .Text();
}

std::string NotifyText(int32_t notifyInfo)
{
    return Json::Object()
        .Put("serviceId", DevicePickerClient::SOFTBUS_SENDER_SERVICE_ID)
        .Put("notifyInfo", int64_t{notifyInfo})
        .Text();
}

// JSON inside JSON inside JSON, with the peer's own JSON in the innermost.
std::string PublishText(const std::string& peer, const Note& reply)
{
    std::string service = Json::Object()
                              .Put("serviceId", DevicePickerClient::SOFTBUS_RECEIVER_SERVICE_ID)
                              .Put("subId", SHARE_BUSINESS_CODE)
                              .Put("shareState", int64_t{reply.reply.shareState})
                              .Put("discType", DISCOVERED_BY_ACTION)
                              .Put("actionId", int64_t{reply.reply.actionId})
                              .Put("custData", reply.reply.custData)
                              .Text();
    std::string address = Json::Object()
                              .Put("CONN_ADDR_TYPE", int64_t{CONNECT_BY_BLE})
                              .Put("BLE_MAC", reply.from.bleMac)
                              .Put("CUSTOM_DATA", service)
                              .Text();
    return Json::Object()
        .Put("deviceId", peer)
        .Put("deviceName", reply.from.name)
        .Put("deviceTypeId", int64_t{reply.from.type})
        .Put("concurrentId", reply.reply.concurrentId)
        .Put("extraData", address)
        .Text();
}

} // namespace OHOS::Synfold
