#ifndef PELAGO_FUZZ_FEED_H
#define PELAGO_FUZZ_FEED_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace OHOS::Pelago::Fuzz {

// The bytes of one input, taken from the front. Behind the end all is 0 and empty. Short forms of likely values come
// first, so that small changes of an input stay near what makes sense. One thread.
class Feed {
public:
    explicit Feed(std::string_view bytes) : rest_(bytes)
    {}

    bool AtEnd() const
    {
        return rest_.empty();
    }
    uint8_t Byte();
    // 0 to `limit` - 1, of one byte.
    size_t Below(size_t limit)
    {
        return Byte() % limit;
    }
    // The next `most` bytes, or those that are left.
    std::string_view Take(size_t most);
    std::string_view Rest()
    {
        return Take(rest_.size());
    }
    // Below 192 itself, then the numbers at which things end, then four or eight bytes as they stand.
    int64_t Number();
    int32_t Int()
    {
        return static_cast<int32_t>(Number());
    }
    // A word that means something to the service, some bytes, or very many.
    std::string Text();

private:
    std::string_view rest_;
};

// The first words of Text; a byte below their number is one of them.
inline constexpr const char* WORDS[] = {"", "peer0", "peer1", "peer2", "peer3", "peer4", "peer5", "contact", "1", "2",
    "file:///tmp/a", "trellisCBCount", "com.example.photos", "{\"shareBusy\":1}", "swing", "a.jpg"};

} // namespace OHOS::Pelago::Fuzz

#endif // PELAGO_FUZZ_FEED_H
