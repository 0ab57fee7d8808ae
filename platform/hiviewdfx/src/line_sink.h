#ifndef PLATFORM_HIVIEWDFX_LINE_SINK_H
#define PLATFORM_HIVIEWDFX_LINE_SINK_H

#include <string>
#include <string_view>

namespace OHOS::Host {

// An open file, pipe or terminal that takes whole lines. Owns its descriptor unless that is borrowed; closed at first.
// Its owner guards it. A reader that does not read cannot hold the writer for longer than PATIENCE_MS, once until it
// reads again: the line is refused instead.
class LineSink {
public:
    LineSink() = default;
    ~LineSink();
    LineSink(const LineSink&) = delete;
    LineSink& operator=(const LineSink&) = delete;

    // Appends to the file, making it. False, with the former file kept, if it cannot be opened.
    [[nodiscard]] bool Open(const std::string& path);
    // Uses a descriptor that stays the caller's.
    void Borrow(int fd);
    void Close();
    [[nodiscard]] bool IsOpen() const
    {
        return fd_ >= 0;
    }

    // Writes the line and its end. False if not all of it was taken. A line that was cut by a full disk is ended before
    // the next one begins.
    [[nodiscard]] bool Append(std::string_view line);

private:
    static constexpr int PATIENCE_MS = 100;

    bool WaitWritable();

    int fd_ = -1;
    bool owned_ = false;
    bool waits_ = false; // on a reader: no regular file, which costs no second system call
    bool stuck_ = false; // the last line was refused by a reader that does not read
    bool torn_ = false;  // the last line was cut
};

} // namespace OHOS::Host

#endif // PLATFORM_HIVIEWDFX_LINE_SINK_H
