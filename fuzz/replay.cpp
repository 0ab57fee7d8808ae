// Plays every file of the folders and files that are named, each as the fuzzers would: for every compiler, quickly.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "targets.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> FilesOf(const fs::path& path)
{
    if (!fs::is_directory(path)) {
        return {path};
    }
    std::vector<fs::path> files{fs::directory_iterator(path), fs::directory_iterator()};
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

int main(int argc, char** argv)
{
    size_t played = 0;
    for (int i = 1; i < argc; ++i) {
        for (const fs::path& path : FilesOf(argv[i])) {
            std::ifstream file(path, std::ios::binary);
            std::string bytes{std::istreambuf_iterator<char>(file), {}};
            std::printf("%s\n", path.c_str());
            (void)std::fflush(stdout); // the last line names the input that fails
            OHOS::Pelago::Fuzz::PlayInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
            ++played;
        }
    }
    std::printf("%zu inputs\n", played);
    return played == 0 ? 1 : 0;
}
