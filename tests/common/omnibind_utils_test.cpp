// JSON that applications and peers send to be shown: whatever it is, something is shown.

#include <gtest/gtest.h>

#include "host/device.h"
#include "log_tap.h"
#include "omnibind_utils.h"

namespace OHOS::Pelago {
namespace {

const std::string DEEP(5000, '[');

TEST(OmnibindUtils, TakesOfThePreviewExtraWhatIsThere)
{
    const auto inner = [](const std::string& text) { return R"({"text":")" + text + R"("})"; };
    // The extra; title, description and show mode, each "-" and 0 where it was left alone; the log.
    const std::tuple<std::string, std::string, const char*> rows[] = {
        {inner(R"({\"title\":\"T\",\"description\":\"D\",\"showMode\":4})"), "T D 4", ""}, {"", "- - 0", ""},
        {"{", "- - 0", "cJSON_Parse failed."}, {DEEP, "- - 0", "cJSON_Parse failed."}, {"[\"text\"]", "- - 0", ""},
        {"{}", "- - 0", ""}, {R"({"text":7})", "- - 0", ""}, {inner("{"), "- - 0", ""}, {inner(DEEP), "- - 0", ""},
        {inner("7"), "- - 0", ""}, {inner(R"({\"title\":7,\"description\":null,\"showMode\":\"4\"})"), "- - 0", ""},
        {inner(R"({\"title\":\"\",\"showMode\":1e99})"), " - 2147483647", ""},
        {inner(R"({\"title\":\"a\",\"title\":\"b\",\"showMode\":-2.9})"), "a - -2", ""},
        {inner(R"({\"title\":\")" + std::string("\xff\xfe") + R"(\"})") + " and more", "\xff\xfe - 0", ""},
        {R"({"text":{"title":"T"}})", "- - 0", ""}, // an object where its text is meant
    };
    for (const auto& [extra, expected, log] : rows) {
        LogTap tap;
        std::string title = "-", description = "-";
        int32_t showMode = 0;
        OmnibindUtils::ParsePreviewExtraInfo(extra, title, description, showMode);
        EXPECT_EQ(title + " " + description + " " + std::to_string(showMode), expected) << extra.substr(0, 80);
        EXPECT_EQ(tap.Take(), *log == '\0' ? Lines() : LinesOf(Log::SHARE, {log}));
    }
}

TEST(OmnibindUtils, PassesABareThumbnailThroughAndNoBareIcon)
{
    const std::string both = R"({"thumbnail":"small","iconBase64":"aWNvbg=="})";
    const std::string quoted = '"' + std::string(2 << 20, 'x') + '"', numbers = R"({"thumbnail":1,"iconBase64":{}})";
    const std::string missing = "thumbnail not carried or type error.";
    // The data; its thumbnail; its icon; the log of the thumbnail.
    const std::tuple<std::string, std::string, std::string, std::string> rows[] = {{both, "small", "aWNvbg==", ""},
        {"", "", "", ""}, {"bare", "bare", "", "cJSON_Parse error:bare\n"},
        {"{\"thumbnail\":", "{\"thumbnail\":", "", "cJSON_Parse error:\n"}, {"[]", "[]", "", missing},
        {numbers, numbers, "", missing}, {quoted, quoted, "", missing},
        {both + std::string(1, '\0') + "{", "small", "aWNvbg==", ""}};
    for (const auto& [data, thumbnail, icon, log] : rows) {
        LogTap tap;
        EXPECT_TRUE(OmnibindUtils::GetThumbnailFromPreviewData(data) == thumbnail) << data.substr(0, 60);
        EXPECT_EQ(tap.Take(), log.empty() ? Lines() : LinesOf(Log::SHARE, {log}));
        EXPECT_EQ(OmnibindUtils::GetIconFromPreviewData(data), icon);
    }
    EXPECT_EQ(OmnibindUtils::GetThumbnailFromPreviewData(DEEP), DEEP);
}

TEST(OmnibindUtils, WritesTheMembersInOrderAndTheShownOnesAsTextInside)
{
    ASSERT_TRUE(Host::Device::Instance().Configure({"", "", "tablet", ""}));
    LogTap tap;
    const std::string preview = "p\"", title = "T\n", empty;
    const OmnibindUtils::MotionExtraInfo info{6, 1, preview, title, empty, empty, "head", "Ada Lovelace", "phone"};
    EXPECT_EQ(info.GetShowData(),
        "{\n\t\"title\":\t\"T\\n\",\n\t\"description\":\t\"\",\n\t\"previewSource\":\t\"\",\n\t\"icon\":\t\"\",\n\t"
        "\"previewNickName\":\t\"Ada Lovelace\",\n\t\"previewDeviceName\":\t\"phone\",\n\t"
        "\"previewHeadImage\":\t\"head\"\n}");
    for (const std::string& line : tap.Take()) {
        EXPECT_EQ(line.find("Ada"), std::string::npos) << line;
    }
    const std::string text = OmnibindUtils::GetMotionExtraInfoWithPreview(2, 3, info);
    const Json::Ptr json = Json::Parse(text);
    EXPECT_EQ(text.substr(0, text.find("\"showData\"")),
        "{\n\t\"isUiEnable\":\ttrue,\n\t\"role\":\t2,\n\t\"type\":\t3,\n\t\"deviceType\":\t17,\n\t\"showMode\":\t6,\n\t"
        "\"previewData\":\t\"p\\\"\",\n\t\"resourceCount\":\t1,\n\t");
    EXPECT_EQ(Json::StringMember(json.get(), "showData"), info.GetShowData());
}

} // namespace
} // namespace OHOS::Pelago
