#include "feed.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>

namespace OHOS::Pelago::Fuzz {
namespace {

constexpr uint8_t FIRST_ODD_NUMBER = 192;
constexpr uint8_t FIRST_RAW_NUMBER = 224;
constexpr int64_t ODD_NUMBERS[] = {-1, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max(),
    std::numeric_limits<uint32_t>::max(), std::numeric_limits<int64_t>::min(), std::numeric_limits<int64_t>::max(), 500,
    501, 1004, 1007, 1009, 1012, 1203, 1221, 10000, 65536};

constexpr uint8_t FIRST_HUGE_TEXT = 240;
constexpr size_t HUGE_STEP = size_t{16} * 1024;

} // namespace

uint8_t Feed::Byte()
{
    if (rest_.empty()) {
        return 0;
    }
    auto byte = static_cast<uint8_t>(rest_.front());
    rest_.remove_prefix(1);
    return byte;
}

std::string_view Feed::Take(size_t most)
{
    std::string_view taken = rest_.substr(0, most);
    rest_.remove_prefix(taken.size());
    return taken;
}

int64_t Feed::Number()
{
    uint8_t first = Byte();
    if (first < FIRST_ODD_NUMBER) {
        return first;
    }
    if (first < FIRST_RAW_NUMBER) {
        return ODD_NUMBERS[first % std::size(ODD_NUMBERS)];
    }
    std::string_view raw = Take(first % 2 == 0 ? sizeof(int32_t) : sizeof(int64_t));
    int64_t value = 0;
    std::memcpy(&value, raw.data(), raw.size());
    return value;
}

std::string Feed::Text()
{
    uint8_t first = Byte();
    if (first < std::size(WORDS)) {
        return WORDS[first];
    }
    if (first < FIRST_HUGE_TEXT) {
        return std::string(Take(first - std::size(WORDS)));
    }
    return std::string(HUGE_STEP * static_cast<size_t>(first - FIRST_HUGE_TEXT + 1), 'x');
}

} // namespace OHOS::Pelago::Fuzz
