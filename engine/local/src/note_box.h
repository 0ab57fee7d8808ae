#ifndef PELAGO_ENGINE_LOCAL_NOTE_BOX_H
#define PELAGO_ENGINE_LOCAL_NOTE_BOX_H

#include <atomic>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "context.h"
#include "ending.h"
#include "listener_queue.h"
#include "reception.h"

namespace OHOS::Pelago::Local {

// Notes between devices: a socket beside that for transfers, served from the first listener on whether the device is
// visible or not; each note has a connection of its own. On the loop's thread; the listener and the results on a queue.
class NoteBox {
public:
    explicit NoteBox(std::shared_ptr<Context> context);
    void Serve(LocalEngine::NoteListener listener);
    void Send(const std::string& deviceId, const std::string& note, LocalEngine::NoteResult result);
    void Drop();

private:
    // A note that the peer has not answered yet.
    struct Letter {
        std::shared_ptr<Channel> channel;
        ControlLoop::Id timer = 0;
        LocalEngine::NoteResult result;
    };

    [[nodiscard]] Reception::Verdict OnNote(
        const std::shared_ptr<Channel>& guest, FrameType type, std::string_view body);
    [[nodiscard]] Ending Take(const std::string& from, const std::string& note);
    [[nodiscard]] std::shared_ptr<Channel> ConnectTo(const std::string& deviceId);
    void Conclude(const std::shared_ptr<Letter>& letter, bool taken);

    const std::shared_ptr<Context> context_;
    const std::shared_ptr<ListenerQueue> queue_;
    Reception reception_;
    std::shared_ptr<LocalEngine::NoteListener> listener_;
    std::shared_ptr<std::atomic<size_t>> waiting_ = std::make_shared<std::atomic<size_t>>(0); // for the listener
    std::set<std::shared_ptr<Letter>> letters_;
};

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_NOTE_BOX_H
