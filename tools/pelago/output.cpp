#include "output.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <mutex>

#include <unistd.h>

#include <cJSON.h>

#include "hilog/host_text.h"
#include "host/json_text.h"

namespace OHOS::Pelago::Tools {
namespace {

constexpr int SCHEMA = 1;
constexpr int BAR_WIDTH = 30;
constexpr int64_t TIME_LEFT_AFTER_MS = 3000; // before that, the speed says little

std::mutex g_mutex; // keeps lines whole

void WriteLine(FILE* stream, const std::string& line)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    // A reader who is gone ends us by SIGPIPE, as any tool.
    (void)std::fprintf(stream, "%s\n", line.c_str());
    (void)std::fflush(stream);
}

} // namespace

int64_t NowMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

void PrintJson(const std::string& json)
{
    std::unique_ptr<cJSON, void (*)(cJSON*)> value(cJSON_Parse(json.c_str()), cJSON_Delete);
    std::unique_ptr<cJSON, void (*)(cJSON*)> object(cJSON_CreateObject(), cJSON_Delete);
    (void)cJSON_AddNumberToObject(object.get(), "schema", SCHEMA);
    (void)cJSON_AddItemToObject(object.get(), "data", value == nullptr ? cJSON_CreateNull() : value.release());
    WriteLine(stdout, Host::JsonText(object.get(), ::isatty(STDOUT_FILENO) != 0));
}

void PrintLine(const std::string& line)
{
    WriteLine(stdout, line);
}

void Say(const std::string& line)
{
    WriteLine(stderr, line);
}

void Complain(const std::string& text)
{
    std::string lines = "pelago: ";
    for (size_t begin = 0; begin <= text.size();) {
        size_t end = std::min(text.find('\n', begin), text.size());
        const bool isIndented = begin == 0 || (begin < text.size() && text[begin] == ' ');
        lines += (begin == 0      ? ""
                     : isIndented ? "\n"
                                  : "\n  ") +
                 Host::EscapeForTerminal(text.substr(begin, end - begin));
        begin = end + 1;
    }
    WriteLine(stderr, lines);
}

bool IsDataWritten()
{
    std::lock_guard<std::mutex> lock(g_mutex);
    return std::ferror(stdout) == 0;
}

std::string BytesText(int64_t bytes)
{
    constexpr const char* UNITS[] = {"B", "KiB", "MiB", "GiB", "TiB"};
    double value = static_cast<double>(bytes);
    size_t unit = 0;
    while (value >= 1024 && unit + 1 < std::size(UNITS)) {
        value /= 1024;
        ++unit;
    }
    char text[32];
    (void)std::snprintf(text, sizeof(text), unit == 0 ? "%.0f %s" : "%.1f %s", value, UNITS[unit]);
    return text;
}

std::string SecondsText(int64_t seconds)
{
    return seconds < 60 ? std::to_string(seconds) + " s"
                        : std::to_string(seconds / 60) + " m " + std::to_string(seconds % 60) + " s";
}

std::string Counted(int64_t number, const std::string& what)
{
    return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

ProgressBar::ProgressBar(std::string label, int64_t totalBytes)
    : label_(std::move(label)), totalBytes_(totalBytes), startedMs_(NowMs()), terminal_(::isatty(STDERR_FILENO) != 0)
{}

std::string ProgressBar::Left(int percent, int64_t speed) const
{
    if (speed <= 0 || NowMs() - startedMs_ < TIME_LEFT_AFTER_MS) {
        return {};
    }
    return ", " + SecondsText(totalBytes_ / 100 * (100 - percent) / speed) + " left";
}

void ProgressBar::Show(int percent, int64_t speed)
{
    std::string numbers = std::to_string(percent) + "% of " + BytesText(totalBytes_);
    if (speed > 0) {
        numbers += ", " + BytesText(speed) + "/s" + Left(percent, speed);
    }
    if (!terminal_) {
        if (percent / 10 != lastShown_ / 10 || lastShown_ < 0) {
            lastShown_ = percent;
            Say(label_ + ": " + numbers);
        }
        return;
    }
    std::string bar;
    for (int i = 0; i < BAR_WIDTH; ++i) {
        bar += i * 100 < percent * BAR_WIDTH ? '#' : '.';
    }
    std::lock_guard<std::mutex> lock(g_mutex);
    (void)std::fprintf(stderr, "\r\033[K%s [%s] %s", label_.c_str(), bar.c_str(), numbers.c_str());
    (void)std::fflush(stderr);
    drawn_ = true;
}

void ProgressBar::Note(const std::string& text)
{
    if (!terminal_) {
        Say(label_ + ": " + text);
        return;
    }
    std::lock_guard<std::mutex> lock(g_mutex);
    (void)std::fprintf(stderr, "\r\033[K%s: %s", label_.c_str(), text.c_str());
    (void)std::fflush(stderr);
    drawn_ = true;
}

void ProgressBar::End()
{
    if (drawn_) {
        std::lock_guard<std::mutex> lock(g_mutex);
        (void)std::fprintf(stderr, "\n");
        drawn_ = false;
    }
}

} // namespace OHOS::Pelago::Tools
