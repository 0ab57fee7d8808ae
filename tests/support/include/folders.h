#ifndef PELAGO_TESTS_FOLDERS_H
#define PELAGO_TESTS_FOLDERS_H

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

namespace OHOS::Pelago {

namespace fs = std::filesystem;

// 0 for a folder that is not there.
inline size_t CountEntries(const fs::path& folder)
{
    std::error_code error;
    return static_cast<size_t>(std::distance(fs::directory_iterator(folder, error), {}));
}

// Of this process.
inline size_t CountDescriptors()
{
    return CountEntries("/proc/self/fd");
}

// A new folder that goes with its owner, and all that it holds then.
struct TestFolder {
    TestFolder()
    {
        std::string pattern = "/tmp/pelago-test.XXXXXX"; // short: sockets have little room
        EXPECT_NE(::mkdtemp(pattern.data()), nullptr);
        path = pattern;
    }
    ~TestFolder()
    {
        fs::remove_all(path);
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    fs::path path;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_FOLDERS_H
