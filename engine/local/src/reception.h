#ifndef PELAGO_ENGINE_LOCAL_RECEPTION_H
#define PELAGO_ENGINE_LOCAL_RECEPTION_H

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "channel.h"
#include "context.h"

namespace OHOS::Pelago::Local {

// Serves one socket of this device in the folder: waits for the folder's lock, takes the connections of others, and
// hears their first frame; what they want is decided by the owner. A guest that says nothing, or too much, is dropped.
// Belongs to its owner, on the loop's thread.
class Reception {
public:
    enum class Verdict : uint8_t {
        REFUSED, // that cannot come first
        TAKEN,   // somebody else has the guest now
        STAYS,   // until one side goes; it has nothing more to say
    };
    using FirstFrame =
        std::function<Verdict(const std::shared_ptr<Channel>& guest, FrameType type, std::string_view body)>;
    // What stands in the folder while the socket is served. `serve` runs with the folder's lock held.
    struct Place {
        std::function<bool(Host::UniqueFd& listening, std::string& error)> serve;
        std::function<void()> leave;
        std::function<void(bool served)> told;
    };

    Reception(std::shared_ptr<Context> context, FirstFrame onFirst)
        : context_(std::move(context)), onFirst_(std::move(onFirst))
    {}
    // Not while it is open; an attempt that still waits is begun anew.
    void Open(Place place);
    // Hangs up on everybody.
    void Close();
    [[nodiscard]] bool IsOpen() const
    {
        return static_cast<bool>(listening_);
    }

private:
    struct Guest {
        pid_t process = 0;
        ControlLoop::Id silence = 0; // its timer; 0 once it has spoken
    };

    void TryOpen(int attemptsLeft);
    void OnConnection();
    [[nodiscard]] bool HasRoomFor(pid_t process) const;
    void Greet(Host::UniqueFd socket);
    void OnFrame(const std::shared_ptr<Channel>& guest, FrameType type, std::string_view body);
    void Dismiss(const std::shared_ptr<Channel>& guest, const char* why);

    const std::shared_ptr<Context> context_;
    const FirstFrame onFirst_;
    Place place_;
    Host::UniqueFd listening_;
    ControlLoop::Id watch_ = 0;
    ControlLoop::Id timer_ = 0;                        // for the lock, or for descriptors to accept with
    std::map<std::shared_ptr<Channel>, Guest> guests_; // those that stay, and those who have said nothing yet
};

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_RECEPTION_H
