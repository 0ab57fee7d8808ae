#include <sys/resource.h>

#include <algorithm>
#include <cctype>
#include <mutex>
#include <utility>

#include "host/ipc_transport.h"
#include "ipc_log.h"
#include "ipc_statistics.h"
#include "link_registry.h"
#include "listener.h"
#include "socket_link.h"

namespace OHOS::Host {

namespace {

bool IsSocketName(const std::string& name)
{
    const auto fits = [](unsigned char c) { return std::isalnum(c) != 0 || c == '_' || c == '-'; };
    return !name.empty() && name.size() <= MAX_TOKEN_SOCKET_NAME && std::all_of(name.begin(), name.end(), fits);
}

// Descriptors come 500 at a time, and every lane is one; what the system allows by default is for small programs.
void RaiseDescriptorLimit()
{
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        (void)::setrlimit(RLIMIT_NOFILE, &limit); // without it the daemon serves fewer at a time
    }
}

bool EndConnections(Ipc::LinkGroup& links)
{
    if (links.EndAll(IPC_END_LIMIT)) {
        return true;
    }
    IPC_LOGE("a request still runs after its connection has ended");
    return false;
}

} // namespace

class IpcServer::Impl {
public:
    bool Start(const std::string& directory, const std::vector<TokenSocket>& sockets, const sptr<IRemoteObject>& root,
        const IpcLimits& limits, std::string& error)
    {
        std::lock_guard lock(mutex_);
        auto* stub = root == nullptr ? nullptr : dynamic_cast<IPCObjectStub*>(root.GetRefPtr());
        if (stub == nullptr || links_ != nullptr) {
            error = stub == nullptr ? "the root is no object of this process" : "it serves already";
            return false;
        }
        RaiseDescriptorLimit();
        directory_ = directory;
        root_ = stub;
        limits_ = limits;
        links_ = Ipc::LinkRegistry::NewGroup(limits.connectionsPerUser, limits.connectionsPerProcess);
        if (std::all_of(sockets.begin(), sockets.end(), [&](const TokenSocket& row) { return Add(row, error); })) {
            return true;
        }
        Clear();
        return false;
    }

    bool AddSocket(const TokenSocket& row, std::string& error)
    {
        std::lock_guard lock(mutex_);
        if (links_ == nullptr) {
            error = "it does not serve";
            return false;
        }
        return Add(row, error);
    }

    bool Stop()
    {
        std::shared_ptr<Ipc::LinkGroup> links;
        {
            std::lock_guard lock(mutex_);
            links = links_;
            if (links == nullptr || generation_ != Ipc::ProcessGeneration()) {
                return true; // the child of a fork has nothing to stop: it all belongs to its parent
            }
            Clear();
        }
        links->Close(); // to who is being accepted at this moment
        return EndConnections(*links);
    }

    std::vector<IpcConnectionInfo> Connections() const
    {
        std::lock_guard lock(mutex_);
        std::vector<IpcConnectionInfo> infos;
        for (const auto& link : links_ == nullptr ? std::vector<sptr<Ipc::SocketLink>>() : links_->All()) {
            infos.push_back(link->Describe());
        }
        return infos;
    }

private:
    bool Add(const TokenSocket& row, std::string& error)
    {
        if (!IsSocketName(row.name)) {
            error = "not a name for a socket: " + row.name;
            return false;
        }
        const auto listener =
            sptr<Ipc::Listener>::MakeSptr(directory_ + '/' + row.name + ".sock", row, links_, root_, limits_);
        if (!listener->Open(error)) {
            return false;
        }
        listeners_.push_back(listener);
        return true;
    }

    void Clear()
    {
        for (const auto& listener : listeners_) {
            listener->Close();
        }
        listeners_.clear();
        links_.reset();
        root_ = nullptr;
    }

    const uint32_t generation_ = Ipc::ProcessGeneration();

    mutable std::mutex mutex_;
    // Guarded by mutex_.
    std::string directory_;
    sptr<IPCObjectStub> root_;
    IpcLimits limits_;
    std::shared_ptr<Ipc::LinkGroup> links_; // null: it does not serve
    std::vector<sptr<Ipc::Listener>> listeners_;
};

IpcServer::IpcServer() : impl_(std::make_unique<Impl>())
{}

IpcServer::~IpcServer()
{
    (void)Stop(); // has said in the log what it could not wait for
}

bool IpcServer::Start(const std::string& directory, const std::vector<TokenSocket>& sockets,
    const sptr<IRemoteObject>& root, const IpcLimits& limits, std::string& error)
{
    return impl_->Start(directory, sockets, root, limits, error);
}

bool IpcServer::AddSocket(const TokenSocket& socket, std::string& error)
{
    return impl_->AddSocket(socket, error);
}

bool IpcServer::Stop()
{
    return impl_->Stop();
}

std::vector<IpcConnectionInfo> IpcServer::Connections() const
{
    return impl_->Connections();
}

// ---- Of the whole process

bool DisconnectFromDaemons()
{
    return EndConnections(*Ipc::LinkRegistry::Clients());
}

IpcCounters CountIpc()
{
    IpcCounters counters;
    for (const auto& group : Ipc::LinkRegistry::Groups()) {
        for (const auto& link : group->All()) {
            const IpcConnectionInfo info = link->Describe();
            ++counters.connections;
            counters.lanes += info.lanesIn + info.lanesOut;
            counters.objectsHeld += info.objectsHeld;
            counters.objectsGiven += info.objectsGiven;
        }
    }
    const Ipc::Reactor::Counters threads = Ipc::Reactor::CountAll();
    counters.threads = threads.threads;
    counters.running = threads.running;
    counters.parked = threads.parked;
    counters.requests = Ipc::Statistics().requests;
    counters.refused = Ipc::Statistics().refused;
    return counters;
}

void SetOwnTokenId(uint32_t tokenId)
{
    Ipc::SetOwnToken(tokenId);
}

} // namespace OHOS::Host
