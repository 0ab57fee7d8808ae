#include "file_names.h"

#include <string>

#include <gtest/gtest.h>

using namespace OHOS::Pelago::Local;
using std::string_literals::operator""s;

namespace {

TEST(FileNamesTest, ANameIsTakenAsItIsOrRefusedWithAReason)
{
    const struct {
        std::string name;
        const char* fault; // part of it; null: none
    } ROWS[] = {
        {"photo.jpg", nullptr}, {std::string(255, 'x'), nullptr}, {"\xF0\x9F\x98\x80 \xC3\xA9.txt", nullptr},
        {"-rf *; $(true) 'a' \"b\"", nullptr}, {"", "no name"}, {std::string(256, 'x'), "longer"},
        {std::string(4096, 'x'), "longer"}, {".", "dot"}, {"..", "dot"}, {".bashrc", "dot"},
        {"../../etc/passwd", "dot"}, {"/etc/passwd", "separator"}, {"a/b", "separator"}, {"a\\b", "separator"},
        {"a\0b"s, "control"}, {"a\nb", "control"}, {"\x1B[2Jx", "control"}, {"a\x7F", "control"}, {"\xFF", "UTF-8"},
        {"\xC0\xAF", "UTF-8"},         // an overlong slash
        {"\xE0\x80\xAF", "UTF-8"},     // a longer one
        {"\xED\xA0\x80", "UTF-8"},     // half a surrogate pair
        {"\xF4\x90\x80\x80", "UTF-8"}, // beyond Unicode
        {"caf\xC3", "UTF-8"},          // cut
    };
    for (const auto& row : ROWS) {
        const char* fault = FaultOfName(row.name);
        EXPECT_EQ(fault == nullptr, row.fault == nullptr) << row.name;
        if (fault != nullptr && row.fault != nullptr) {
            EXPECT_NE(std::string(fault).find(row.fault), std::string::npos) << row.name << ": " << fault;
        }
    }
}

TEST(FileNamesTest, ANumberGoesBeforeTheExtensionAndTheNameStaysShortEnough)
{
    EXPECT_EQ(NumberedName("photo.jpg", 2), "photo (2).jpg");
    EXPECT_EQ(NumberedName("README", 3), "README (3)");
    EXPECT_EQ(NumberedName("a.tar.gz", 2), "a.tar (2).gz");
    EXPECT_EQ(NumberedName("odd.(b)", 2), "odd (2).(b)");
    std::string e255;
    while (e255.size() < 250) {
        e255 += "\xC3\xA9";
    }
    for (const std::string& name : {std::string(255, 'x'), e255 + ".jpeg", "a." + std::string(253, 'y')}) {
        std::string numbered = NumberedName(name, 9999);
        EXPECT_LE(numbered.size(), 255U);
        EXPECT_TRUE(IsUtf8(numbered)) << numbered;
        EXPECT_EQ(FaultOfName(numbered), nullptr);
    }
}

} // namespace
