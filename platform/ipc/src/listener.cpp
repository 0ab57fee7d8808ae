#include "listener.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "ipc_log.h"
#include "ipc_statistics.h"
#include "local_address.h"
#include "socket_link.h"

namespace OHOS::Ipc {

namespace {

void Refuse(int socket, EndReason why, const std::string& token)
{
    ++Statistics().refused;
    IPC_LOGE("a connection as %{public}s is refused: %{public}s", token.c_str(), EndReasonText(why));
    ControlMessage goodbye;
    goodbye.kind = static_cast<uint32_t>(ControlKind::GOODBYE);
    goodbye.number = static_cast<uint64_t>(why);
    (void)!::send(socket, &goodbye, sizeof(goodbye), MSG_NOSIGNAL | MSG_DONTWAIT); // the end says the rest
}

IpcSocket OpenReserve()
{
    return IpcSocket(Host::UniqueFd(::open("/dev/null", O_RDONLY | O_CLOEXEC)));
}

std::string Reason(const std::string& what, const std::string& path)
{
    return "cannot " + what + " " + path + ": " + std::strerror(errno);
}

} // namespace

Listener::Listener(std::string path, const Host::TokenSocket& row, std::shared_ptr<LinkGroup> group,
    const sptr<IPCObjectStub>& root, const Host::IpcLimits& limits)
    : path_(std::move(path)), row_(row), group_(std::move(group)), root_(root), limits_(limits), reserve_(OpenReserve())
{}

Listener::~Listener()
{
    RemoveFile(); // of one that could not be opened
}

void Listener::RemoveFile()
{
    if (std::exchange(bound_, false)) {
        (void)::unlink(path_.c_str()); // whoever finds it left over replaces it
    }
}

bool Listener::Open(std::string& error)
{
    Host::UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket.IsOpen()) {
        error = Reason("open a socket for", path_);
        return false;
    }
    if (!Bind(socket.Get(), error)) {
        return false;
    }
    bound_ = true;
    socket_ = IpcSocket(std::move(socket));
    if (::chmod(path_.c_str(), row_.mode) != 0 || ::listen(socket_.Get(), SOMAXCONN) != 0) {
        error = Reason("listen on", path_);
        return false;
    }
    Reactor::Ticket ticket = 0;
    if (!Reactor::Get().Watch(socket_.Get(), EPOLLIN, this, ticket)) {
        error = Reason("watch", path_);
        return false;
    }
    ticket_ = ticket;
    return true;
}

bool Listener::Bind(int socket, std::string& error)
{
    const LocalAddress address(path_);
    // The file is made with the mode of the socket itself, less what umask takes: never with more than it is to have.
    if (!address.IsValid() || ::fchmod(socket, row_.mode) != 0) {
        error = Reason("make", path_);
        return false;
    }
    if (::bind(socket, address.Get(), address.Size()) == 0) {
        return true;
    }
    if (errno == EADDRINUSE) {
        if (!ReplaceUnserved(error)) {
            return false;
        }
        if (::bind(socket, address.Get(), address.Size()) == 0) {
            return true;
        }
    }
    error = Reason("make", path_);
    return false;
}

bool Listener::ReplaceUnserved(std::string& error) const
{
    const LocalAddress address(path_);
    const Host::UniqueFd probe(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    struct stat file = {};
    if (::lstat(path_.c_str(), &file) != 0 || !S_ISSOCK(file.st_mode)) {
        error = "cannot make " + path_ + ": something else has this name";
        return false;
    }
    if (::connect(probe.Get(), address.Get(), address.Size()) == 0 || errno != ECONNREFUSED) {
        error = path_ + " is served already";
        return false;
    }
    if (::unlink(path_.c_str()) != 0) {
        error = Reason("replace", path_);
        return false;
    }
    return true;
}

void Listener::Close()
{
    RemoveFile(); // first: once nobody listens any more, the name may be another server's
    if (const Reactor::Ticket ticket = ticket_.exchange(0); ticket != 0) {
        Reactor::Get().Unwatch(ticket, socket_.Get());
        socket_.Shutdown(); // who connected and was not accepted sees the end
    }
}

// ---- Accepting

bool Listener::OnReady(uint32_t)
{
    for (;;) {
        if (!reserve_.IsOpen()) {
            reserve_ = OpenReserve();
        }
        Host::UniqueFd socket(::accept4(socket_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (socket.IsOpen()) {
            Accept(std::move(socket));
        } else if (errno == EAGAIN || errno == EINVAL) {
            return false; // nobody waits, or we do not listen any more
        } else if (errno != EINTR && errno != ECONNABORTED && !RefuseOne()) {
            Reactor::Get().RunAt(Clock::now() + RETRY, [self = sptr<Listener>(this)] { self->LookAgain(); });
            return false;
        }
    }
}

void Listener::Accept(Host::UniqueFd socket)
{
    ucred credentials = {};
    socklen_t size = sizeof(credentials);
    if (::getsockopt(socket.Get(), SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0 || credentials.pid == 0) {
        Refuse(socket.Get(), EndReason::NO_CREDENTIALS, row_.name);
        return;
    }
    const PeerName peer = {{credentials.pid, credentials.uid, row_.tokenId}, row_.name};
    const auto link = sptr<SocketLink>::MakeSptr(group_, std::move(socket), peer, limits_, root_);
    (void)link->Open(); // says in the log and to the peer why not
}

bool Listener::RefuseOne()
{
    reserve_.Close();
    const Host::UniqueFd socket(::accept4(socket_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (socket.IsOpen()) {
        Refuse(socket.Get(), EndReason::OUT_OF_DESCRIPTORS, row_.name);
    }
    return socket.IsOpen();
}

void Listener::LookAgain()
{
    if (const Reactor::Ticket ticket = ticket_; ticket != 0) {
        Reactor::Get().Rewatch(ticket, socket_.Get(), EPOLLIN);
    }
}

} // namespace OHOS::Ipc
