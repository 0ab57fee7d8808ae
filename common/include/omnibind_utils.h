#ifndef PELAGO_COMMON_OMNIBIND_UTILS_H
#define PELAGO_COMMON_OMNIBIND_UTILS_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

struct cJSON;

namespace OHOS::Pelago {

// Reading and writing JSON texts that come from, or go to, somebody else. Stateless; any thread. A text is read up to
// its first NUL, and what stands behind its value is not looked at.
namespace Json {
struct Deleter {
    void operator()(cJSON* json) const;
};
using Ptr = std::unique_ptr<cJSON, Deleter>;

// Null when `text` is no JSON; `*errorAt` is then the rest of `text` from where it stops to be.
[[nodiscard]] Ptr Parse(const std::string& text, const char** errorAt = nullptr);
Ptr Parse(const std::string&& text, const char** errorAt) = delete; // it would point into a text that is gone
// An empty object; null without memory.
[[nodiscard]] Ptr NewObject();

// The member of this exact name. Null, or nothing, when `json` is no object, has none, or has one of another type. The
// text lives as long as `json`.
[[nodiscard]] const char* StringMember(const cJSON* json, const char* key);
[[nodiscard]] std::optional<int32_t> NumberMember(const cJSON* json, const char* key);

// Appends a member. Without memory it is missing, and logged.
void Put(cJSON* json, const char* key, const std::string& value);
void Put(cJSON* json, const char* key, int32_t value);
void PutBool(cJSON* json, const char* key, bool value);

// The text of `json`, indented, or on one line; "" without memory.
[[nodiscard]] std::string Print(const Ptr& json);
[[nodiscard]] std::string PrintUnformatted(const Ptr& json);
} // namespace Json

// The JSON that the collaboration framework shows while people share by gesture or tap. Static and without state; any
// thread. Texts come from applications and peers: a piece that is missing or of another type becomes an empty one, and
// nothing is ever refused.
class OmnibindUtils {
public:
    OmnibindUtils() = delete;

    // What is shown of a share. The references are the caller's.
    struct MotionExtraInfo {
        int32_t showMode;
        int32_t resourceCount;
        const std::string& previewData; // the thumbnail's text
        const std::string& title;
        const std::string& description;
        const std::string& icon;      // base-64
        std::string previewHeadImage; // this and below: of the peer, empty for a swing
        std::string previewNickName;
        std::string previewDeviceName;

        // The part of it that travels as a JSON text inside the JSON text.
        [[nodiscard]] std::string GetShowData() const;
    };

    // Takes title, description and show mode out of `extra`, whose member "text" is a JSON text of its own. What is not
    // there leaves its output alone.
    static void ParsePreviewExtraInfo(
        const std::string& extra, std::string& title, std::string& description, int32_t& showMode);
    // The icon in the preview data; "" when there is none.
    [[nodiscard]] static std::string GetIconFromPreviewData(const std::string& data);
    // The thumbnail in the preview data; without one the data itself, which is a bare thumbnail in old applications.
    [[nodiscard]] static std::string GetThumbnailFromPreviewData(const std::string& data);
    // What PublishServiceState is given. `role`: 1 sender, 2 receiver; `type`: 2 tap, 3 swing.
    [[nodiscard]] static std::string GetMotionExtraInfoWithPreview(
        int32_t role, int32_t type, const MotionExtraInfo& info);
};

} // namespace OHOS::Pelago

#endif // PELAGO_COMMON_OMNIBIND_UTILS_H
