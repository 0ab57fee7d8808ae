#ifndef PLATFORM_UTILS_URI_H
#define PLATFORM_UTILS_URI_H

#include <string>
#include <utility>

namespace OHOS {

// The address of a piece of content, kept as the text that it was made from. A value; one thread at a time.
// Does not parse or normalise: observers and tables are found by the exact text.
class Uri {
public:
    explicit Uri(std::string text) : text_(std::move(text))
    {}

    const std::string& ToString() const
    {
        return text_;
    }

    friend bool operator==(const Uri& left, const Uri& right)
    {
        return left.text_ == right.text_;
    }
    friend bool operator!=(const Uri& left, const Uri& right)
    {
        return !(left == right);
    }
    friend bool operator<(const Uri& left, const Uri& right)
    {
        return left.text_ < right.text_;
    }

private:
    std::string text_;
};

} // namespace OHOS

#endif // PLATFORM_UTILS_URI_H
