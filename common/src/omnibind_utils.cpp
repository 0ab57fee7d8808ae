#include "omnibind_utils.h"

#include "cJSON.h"
#include "common_utils.h"
#include "share_log.h"

namespace OHOS::Pelago {
namespace Json {
namespace {

std::string TakeText(char* text)
{
    std::string copy = text == nullptr ? "" : text;
    cJSON_free(text);
    return copy;
}

} // namespace

void Deleter::operator()(cJSON* json) const
{
    cJSON_Delete(json);
}

// Where it stops is asked of this call alone: cJSON_GetErrorPtr tells of the last one of any thread.
Ptr Parse(const std::string& text, const char** errorAt)
{
    const char* end = nullptr;
    Ptr json(cJSON_ParseWithOpts(text.c_str(), &end, 0));
    if (errorAt != nullptr) {
        *errorAt = end == nullptr ? "" : end;
    }
    return json;
}

Ptr NewObject()
{
    return Ptr(cJSON_CreateObject());
}

const char* StringMember(const cJSON* json, const char* key)
{
    return cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(json, key));
}

std::optional<int32_t> NumberMember(const cJSON* json, const char* key)
{
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(json, key);
    return cJSON_IsNumber(item) != 0 ? std::optional<int32_t>(item->valueint) : std::nullopt;
}

void Put(cJSON* json, const char* key, const std::string& value)
{
    (void)CommonUtils::AddStringToJsonObject(json, key, value.c_str()); // logged there; the text goes without it
}

void Put(cJSON* json, const char* key, int32_t value)
{
    (void)CommonUtils::AddNumberToJsonObject(json, key, value); // as above
}

void PutBool(cJSON* json, const char* key, bool value)
{
    (void)CommonUtils::AddBoolToJsonObject(json, key, value); // as above
}

std::string Print(const Ptr& json)
{
    return TakeText(cJSON_Print(json.get()));
}

std::string PrintUnformatted(const Ptr& json)
{
    return TakeText(cJSON_PrintUnformatted(json.get()));
}

} // namespace Json

namespace {

// The member `key` of the preview data, which `missing` is said to be; nothing when it is not there. Applications of
// old send something else than JSON.
std::optional<std::string> FindInPreviewData(const std::string& data, const char* key, const char* missing)
{
    const char* errorAt = nullptr;
    const Json::Ptr json = Json::Parse(data, &errorAt);
    if (json == nullptr) {
        SHARE_LOGE(Log::SHARE, "cJSON_Parse error:%{public}s\n", errorAt);
        return std::nullopt;
    }
    const char* value = Json::StringMember(json.get(), key);
    if (value == nullptr) {
        SHARE_LOGE(Log::SHARE, "%{public}s", missing);
        return std::nullopt;
    }
    return value;
}

} // namespace

std::string OmnibindUtils::MotionExtraInfo::GetShowData() const
{
    SHARE_LOGI(Log::SHARE, "peerNickName: %{public}s", CommonUtils::GetSecureDeviceName(previewNickName).c_str());
    SHARE_LOGI(Log::SHARE, "peerDeviceName: %{public}s", CommonUtils::GetSecureDeviceName(previewDeviceName).c_str());
    const Json::Ptr json = Json::NewObject();
    Json::Put(json.get(), "title", title);
    Json::Put(json.get(), "description", description);
    Json::Put(json.get(), "previewSource", "");
    Json::Put(json.get(), "icon", icon);
    Json::Put(json.get(), "previewNickName", previewNickName);
    Json::Put(json.get(), "previewDeviceName", previewDeviceName);
    Json::Put(json.get(), "previewHeadImage", previewHeadImage);
    return Json::Print(json);
}

void OmnibindUtils::ParsePreviewExtraInfo(
    const std::string& extra, std::string& title, std::string& description, int32_t& showMode)
{
    if (extra.empty()) {
        return;
    }
    const Json::Ptr outer = Json::Parse(extra);
    if (outer == nullptr) {
        SHARE_LOGE(Log::SHARE, "cJSON_Parse failed.");
        return;
    }
    const char* text = Json::StringMember(outer.get(), "text");
    if (text == nullptr) {
        return;
    }
    const Json::Ptr inner = Json::Parse(text);
    if (const char* value = Json::StringMember(inner.get(), "title"); value != nullptr) {
        title = value;
    }
    if (const char* value = Json::StringMember(inner.get(), "description"); value != nullptr) {
        description = value;
    }
    showMode = Json::NumberMember(inner.get(), "showMode").value_or(showMode);
}

std::string OmnibindUtils::GetIconFromPreviewData(const std::string& data)
{
    if (data.empty()) {
        return "";
    }
    const auto icon = FindInPreviewData(data, "iconBase64", "icon not carried or type error.");
    if (!icon) {
        return "";
    }
    SHARE_LOGI(Log::SHARE, "Sender icon length %{public}d", static_cast<int>(icon->size()));
    return *icon;
}

std::string OmnibindUtils::GetThumbnailFromPreviewData(const std::string& data)
{
    if (data.empty()) {
        return data;
    }
    return FindInPreviewData(data, "thumbnail", "thumbnail not carried or type error.").value_or(data);
}

std::string OmnibindUtils::GetMotionExtraInfoWithPreview(int32_t role, int32_t type, const MotionExtraInfo& info)
{
    const Json::Ptr json = Json::NewObject();
    Json::PutBool(json.get(), "isUiEnable", true);
    Json::Put(json.get(), "role", role);
    Json::Put(json.get(), "type", type);
    Json::Put(json.get(), "deviceType", CommonUtils::GetLocalDeviceType());
    Json::Put(json.get(), "showMode", info.showMode);
    Json::Put(json.get(), "previewData", info.previewData);
    Json::Put(json.get(), "resourceCount", info.resourceCount);
    Json::Put(json.get(), "showData", info.GetShowData());
    return Json::Print(json);
}

} // namespace OHOS::Pelago
