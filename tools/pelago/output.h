#ifndef PELAGO_TOOLS_OUTPUT_H
#define PELAGO_TOOLS_OUTPUT_H

#include <cstdint>
#include <string>

namespace OHOS::Pelago::Tools {

// Data goes to standard output, talk and progress to standard error. Names that others chose are escaped by whoever
// prints them, with EscapeForTerminal. Any thread.

// Prints one JSON object with its schema number: laid out on a terminal, on one line in a pipe.
void PrintJson(const std::string& json);
void PrintLine(const std::string& line);

// What goes on, for people.
void Say(const std::string& line);
// An error: what, why, and what to type next. Words that people typed may stand in it as they are, file names of others
// among them: it is escaped but for its line ends, and each further line is indented, so that none passes for one of
// its own.
void Complain(const std::string& text);
// Whether all data has got out.
bool IsDataWritten();

// Bytes and times for people: "12.3 MiB", "1 m 20 s".
std::string BytesText(int64_t bytes);
std::string SecondsText(int64_t seconds);
// "1 file", "2 files".
std::string Counted(int64_t number, const std::string& what);

// The state of one transfer on standard error: a bar that is drawn over itself on a terminal, a line per ten percent
// elsewhere. One thread at a time.
class ProgressBar {
public:
    ProgressBar(std::string label, int64_t totalBytes);
    // Speed in bytes per second; negative when it is not known.
    void Show(int percent, int64_t speed);
    // A word in place of the numbers: "waiting for an answer".
    void Note(const std::string& text);
    void End();

private:
    std::string Left(int percent, int64_t speed) const;

    const std::string label_;
    const int64_t totalBytes_;
    const int64_t startedMs_;
    const bool terminal_;
    int lastShown_ = -1;
    bool drawn_ = false;
};

// Milliseconds of a clock that only goes forward.
int64_t NowMs();

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_OUTPUT_H
