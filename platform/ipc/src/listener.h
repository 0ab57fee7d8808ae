#ifndef PLATFORM_IPC_LISTENER_H
#define PLATFORM_IPC_LISTENER_H

#include <atomic>
#include <chrono>
#include <memory>
#include <string>

#include "host/ipc_transport.h"
#include "ipc_object_stub.h"
#include "ipc_socket.h"
#include "link_group.h"
#include "reactor.h"

namespace OHOS::Ipc {

// One token socket: gives each process that connects a link, or says why not and closes. Owned by the server, and by
// the reactor while it listens. Accepts on the reactor's threads.
class Listener : public Pollable {
public:
    Listener(std::string path, const Host::TokenSocket& row, std::shared_ptr<LinkGroup> group,
        const sptr<IPCObjectStub>& root, const Host::IpcLimits& limits);
    ~Listener() override;

    // Makes the file, replacing one that nobody serves, and begins to accept. False with the reason in `error`.
    [[nodiscard]] bool Open(std::string& error);
    // Removes the file and accepts nobody any more.
    void Close();

    [[nodiscard]] bool OnReady(uint32_t events) override;

private:
    static constexpr std::chrono::seconds RETRY{1}; // when not even a refusal is possible

    [[nodiscard]] bool Bind(int socket, std::string& error);
    [[nodiscard]] bool ReplaceUnserved(std::string& error) const;
    void Accept(Host::UniqueFd socket);
    [[nodiscard]] bool RefuseOne();
    void LookAgain();
    void RemoveFile();

    const std::string path_;
    const Host::TokenSocket row_;
    const std::shared_ptr<LinkGroup> group_;
    const sptr<IPCObjectStub> root_;
    const Host::IpcLimits limits_;
    IpcSocket socket_;
    IpcSocket reserve_; // the accepting thread's: given up for a moment when no more can be opened, to tell that to who
                        // connects
    std::atomic<Reactor::Ticket> ticket_{0};
    bool bound_ = false;
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_LISTENER_H
