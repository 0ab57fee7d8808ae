#ifndef PELAGO_ENGINE_LOCAL_CHANNEL_H
#define PELAGO_ENGINE_LOCAL_CHANNEL_H

#include <sys/socket.h>

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "control_loop.h"
#include "frame.h"

namespace OHOS::Pelago::Local {

// One connection between two engines: frames both ways, ACCEPT with one descriptor.
// Belongs to the loop's thread; held by whoever talks. What a peer sends can end its own connection and nothing more.
// It does not know what may follow what: the frame's reader does.
class Channel : public std::enable_shared_from_this<Channel> {
public:
    // `fd` is empty unless a descriptor came with the frame.
    using FrameHandler = std::function<void(FrameType type, std::string_view body, Host::UniqueFd fd)>;
    // Nothing comes after it. `why` is null when the peer has gone, else it says what the peer did wrong.
    using EndHandler = std::function<void(const char* why)>;

    // `socket` is connected and does not block. A frame that waits for the peer waits for `unreadLimitMs` at most.
    [[nodiscard]] static std::shared_ptr<Channel> Open(ControlLoop& loop, Host::UniqueFd socket, int64_t unreadLimitMs);
    ~Channel();

    // Who hears; may be replaced at any time, by a handler too. Without them frames are dropped.
    void SetHandlers(FrameHandler onFrame, EndHandler onEnd);
    // Queues a frame, and the descriptor that it carries, if any.
    void Send(FrameType type, std::string_view body = {}, Host::UniqueFd fd = {});
    // No handler is called any more. What is queued is written while the peer takes it, for CLOSE_LIMIT_MS at most.
    void Finish();
    // As Finish, but at once.
    void Close();
    [[nodiscard]] bool IsOpen() const
    {
        return static_cast<bool>(socket_);
    }

private:
    struct Outgoing {
        std::string bytes;
        size_t written = 0;
        Host::UniqueFd fd;
    };

    Channel(ControlLoop& loop, Host::UniqueFd socket, int64_t unreadLimitMs)
        : loop_(loop), unreadLimitMs_(unreadLimitMs), socket_(std::move(socket))
    {}
    void OnReady(uint32_t events);
    // False when there is nothing more to read, and when the peer has gone or erred: then the channel is closed.
    [[nodiscard]] bool Read();
    [[nodiscard]] bool TakeDescriptors(const msghdr& message);
    void TakeFrames();
    void GuardUnfinished();
    void GuardUnread(bool tookSome);
    void Flush();
    [[nodiscard]] bool WriteSome(Outgoing& message);
    void End(const char* why);
    void UpdateEvents();

    ControlLoop& loop_;
    const int64_t unreadLimitMs_;
    Host::UniqueFd socket_;
    ControlLoop::Id watch_ = 0;
    ControlLoop::Id unfinished_ = 0;
    ControlLoop::Id unread_ = 0;
    ControlLoop::Id lingering_ = 0;
    FrameHandler onFrame_;
    EndHandler onEnd_;
    std::string in_;
    Host::UniqueFd inFd_; // came, and its frame has not been taken yet
    std::deque<Outgoing> out_;
    bool finishing_ = false;
};

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_CHANNEL_H
