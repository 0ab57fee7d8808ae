#include "file_names.h"

#include <string>

#include <gtest/gtest.h>

using namespace OHOS::Pelago::Local;
using std::string_literals::operator""s;

namespace {

TEST(FileNamesTest, ANameIsTakenAsItIsOrRefusedWithAReasonAndANumberedOneStaysShortEnough)
{
    const std::pair<std::string, std::string> ROWS[] = {
        // the name, and a part of its fault
        {"photo.jpg", ""}, {std::string(255, 'x'), ""}, {"\xF0\x9F\x98\x80 \xC3\xA9.txt", ""},
        {"-rf *; $(true) 'a' \"b\"", ""}, {"", "no name"}, {std::string(256, 'x'), "longer"}, {".", "dot"},
        {"..", "dot"}, {".bashrc", "dot"}, {"../../etc/passwd", "dot"}, {"/etc/passwd", "separator"},
        {"a/b", "separator"}, {"a\\b", "separator"}, {"a\0b"s, "control"}, {"a\nb", "control"}, {"\x1B[2Jx", "control"},
        {"a\x7F", "control"}, {"a\xC2\x9B"s + "31m", "control"}, {"\xFF", "UTF-8"},
        {"\xC0\xAF", "UTF-8"},         // an overlong slash
        {"\xE0\x80\xAF", "UTF-8"},     // a longer one
        {"\xED\xA0\x80", "UTF-8"},     // half a surrogate pair
        {"\xF4\x90\x80\x80", "UTF-8"}, // beyond Unicode
        {"caf\xC3", "UTF-8"},          // cut
    };
    for (const auto& [name, wanted] : ROWS) {
        const char* fault = FaultOfName(name);
        EXPECT_EQ(fault == nullptr, wanted.empty()) << name;
        EXPECT_NE(std::string(fault == nullptr ? "" : fault).find(wanted), std::string::npos) << name;
    }

    EXPECT_EQ(NumberedName("photo.jpg", 2), "photo (2).jpg");
    EXPECT_EQ(NumberedName("README", 3), "README (3)");
    EXPECT_EQ(NumberedName("a.tar.gz", 2), "a.tar (2).gz");
    std::string e250;
    while (e250.size() < 250) {
        e250 += "\xC3\xA9";
    }
    for (const std::string& name : {std::string(255, 'x'), e250 + ".jpeg", "a." + std::string(253, 'y')}) {
        std::string numbered = NumberedName(name, 9999);
        EXPECT_LE(numbered.size(), 255U);
        EXPECT_EQ(FaultOfName(numbered), nullptr) << numbered;
    }
}

} // namespace
