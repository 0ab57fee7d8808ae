#ifndef PELAGO_TESTS_COMMON_LOG_TAP_H
#define PELAGO_TESTS_COMMON_LOG_TAP_H

#include <cstdint>
#include <string>
#include <vector>

#include "hilog/host_log.h"
#include "share_log.h"

namespace OHOS::Pelago {

using Lines = std::vector<std::string>;

// A line as the tests write it down: where it is counted, and what it says.
inline std::string Line(unsigned int domain, const std::string& tag, const std::string& text)
{
    return std::to_string(domain) + "/" + tag + ": " + text;
}
inline Lines LinesOf(LogLabel label, const std::vector<std::string>& texts)
{
    Lines lines;
    for (const std::string& text : texts) {
        lines.push_back(Line(label.domain, label.tag, text));
    }
    return lines;
}

// What was logged since it was made, or since the last Take.
class LogTap {
public:
    // The raw lines of this level and above: "[file:line] function# text".
    std::vector<Host::LogLine> TakeRaw(LogLevel level = LOG_INFO)
    {
        std::vector<Host::LogLine> lines;
        for (Host::LogLine& line : Host::ReadLog(from_)) {
            from_ = line.seq;
            if (line.level >= level) {
                lines.push_back(std::move(line));
            }
        }
        return lines;
    }
    Lines Take(LogLevel level = LOG_INFO)
    {
        Lines lines;
        for (const Host::LogLine& line : TakeRaw(level)) {
            lines.push_back(Plain(line));
        }
        return lines;
    }
    static std::string Plain(const Host::LogLine& line)
    {
        return Line(line.domain, line.tag, line.text.substr(line.text.find("# ") + 2));
    }

private:
    uint64_t from_ = Host::LastLogSeq();
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_COMMON_LOG_TAP_H
