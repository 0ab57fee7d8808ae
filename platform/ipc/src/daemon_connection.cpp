#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <cstring>

#include "host/ipc_transport.h"
#include "link_registry.h"
#include "local_address.h"
#include "socket_link.h"

namespace OHOS::Host {

namespace {

// With a time-out on the socket, a signal interrupts where it would not otherwise.
template <typename Call>
ssize_t Retry(Call call)
{
    ssize_t result = -1;
    do {
        result = call();
    } while (result < 0 && errno == EINTR);
    return result;
}

// The road from a path to a connection, with the reason in `error` when it ends before.
class Connecting {
public:
    Connecting(const std::string& path, const IpcLimits& limits, std::string& error)
        : path_(path), limits_(limits), error_(error)
    {}

    sptr<IRemoteObject> Run()
    {
        if (!Connect() || !SendHello() || !AwaitWelcome() || !AskWhoServes()) {
            return nullptr;
        }
        const auto link = sptr<Ipc::SocketLink>::MakeSptr(Ipc::LinkRegistry::Clients(), std::move(socket_),
            Ipc::PeerName{daemon_, path_}, limits_, sptr<IPCObjectStub>());
        link->LimitBy(welcome_);
        sptr<IRemoteObject> root = link->Objects().Hold(welcome_.id, *link); // before it is found unused
        if (!link->Open()) {
            error_ = "cannot watch the connection to " + path_;
            return nullptr;
        }
        return root;
    }

private:
    bool Fail(const std::string& why)
    {
        error_ = "cannot connect to " + path_ + ": " + why;
        return false;
    }
    bool FailBySystem()
    {
        return Fail(errno == EAGAIN ? "no answer in time" : std::strerror(errno));
    }

    bool Connect()
    {
        const Ipc::LocalAddress address(path_);
        socket_ = Host::UniqueFd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        if (!address.IsValid() || !socket_.IsOpen() || !SetTimeouts(IPC_CONNECT_LIMIT.count()) ||
            Retry([&] { return ::connect(socket_.Get(), address.Get(), address.Size()); }) != 0) {
            return FailBySystem();
        }
        return true;
    }

    // They hold for connecting too.
    bool SetTimeouts(time_t seconds)
    {
        const timeval limit = {seconds, 0};
        return ::setsockopt(socket_.Get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit)) == 0 &&
               ::setsockopt(socket_.Get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit)) == 0;
    }

    bool SendHello()
    {
        const auto hello = Ipc::ControlMessage::Greeting(Ipc::ControlKind::HELLO, limits_);
        const ssize_t sent = Retry([&] { return ::send(socket_.Get(), &hello, sizeof(hello), MSG_NOSIGNAL); });
        return sent == sizeof(hello) || errno == EPIPE || FailBySystem(); // who refuses us says why before it closes
    }

    bool AwaitWelcome()
    {
        const ssize_t received = Retry([&] { return ::recv(socket_.Get(), &welcome_, sizeof(welcome_), MSG_WAITALL); });
        if (received < 0 && errno != ECONNRESET) {
            return FailBySystem();
        }
        if (received != sizeof(welcome_) || welcome_.magic != Ipc::ControlMessage::MAGIC) {
            return Fail("it closed the connection");
        }
        if (welcome_.kind == static_cast<uint32_t>(Ipc::ControlKind::GOODBYE)) {
            return Fail(Ipc::EndReasonText(Ipc::EndReasonOf(welcome_.number)));
        }
        if (welcome_.kind != static_cast<uint32_t>(Ipc::ControlKind::WELCOME) || welcome_.id == 0) {
            return Fail("it does not answer as a daemon does");
        }
        if (welcome_.number != Ipc::WIRE_VERSION) {
            return Fail("it speaks another version of the protocol");
        }
        return welcome_.LeavesRoom() || Fail("it leaves no room to talk");
    }

    bool AskWhoServes()
    {
        ucred credentials = {};
        socklen_t size = sizeof(credentials);
        if (::getsockopt(socket_.Get(), SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) {
            return FailBySystem();
        }
        daemon_.pid = credentials.pid;
        daemon_.uid = credentials.uid;
        return true;
    }

    const std::string& path_;
    const IpcLimits& limits_;
    std::string& error_;
    Host::UniqueFd socket_;
    Ipc::ControlMessage welcome_;
    Ipc::Caller daemon_; // without a token: it is nobody's client here
};

} // namespace

sptr<IRemoteObject> ConnectToDaemon(const std::string& socketPath, std::string& error)
{
    return ConnectToDaemon(socketPath, IpcLimits(), error);
}

sptr<IRemoteObject> ConnectToDaemon(const std::string& socketPath, const IpcLimits& limits, std::string& error)
{
    return Connecting(socketPath, limits, error).Run();
}

} // namespace OHOS::Host
