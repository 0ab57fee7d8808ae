#include "ipc_skeleton.h"

#include <unistd.h>

#include <atomic>
#include <cinttypes>
#include <cstdio>

#include "caller.h"

namespace OHOS {

namespace Ipc {
namespace {

std::atomic<uint32_t> g_ownToken{0};
thread_local std::optional<Caller> t_caller; // empty: this process

constexpr const char* OWN_IDENTITY = "own";

} // namespace

Caller OwnCaller()
{
    return {::getpid(), ::getuid(), g_ownToken.load()};
}

void SetOwnToken(uint32_t tokenId)
{
    g_ownToken = tokenId;
}

CallerScope::CallerScope(const std::optional<Caller>& caller) : outer_(t_caller)
{
    t_caller = caller;
}

CallerScope::~CallerScope()
{
    t_caller = outer_;
}

} // namespace Ipc

pid_t IPCSkeleton::GetCallingPid()
{
    return Ipc::t_caller ? Ipc::t_caller->pid : ::getpid();
}

uid_t IPCSkeleton::GetCallingUid()
{
    return Ipc::t_caller ? Ipc::t_caller->uid : ::getuid();
}

uint32_t IPCSkeleton::GetCallingTokenID()
{
    return Ipc::t_caller ? Ipc::t_caller->tokenId : Ipc::g_ownToken.load();
}

std::string IPCSkeleton::ResetCallingIdentity()
{
    if (!Ipc::t_caller) {
        return Ipc::OWN_IDENTITY;
    }
    std::string identity = std::to_string(Ipc::t_caller->pid) + ':' + std::to_string(Ipc::t_caller->uid) + ':' +
                           std::to_string(Ipc::t_caller->tokenId);
    Ipc::t_caller.reset();
    return identity;
}

bool IPCSkeleton::SetCallingIdentity(const std::string& identity)
{
    if (identity == Ipc::OWN_IDENTITY) {
        Ipc::t_caller.reset();
        return true;
    }
    Ipc::Caller caller;
    int end = 0;
    if (std::sscanf(identity.c_str(), "%d:%u:%" SCNu32 "%n", &caller.pid, &caller.uid, &caller.tokenId, &end) != 3 ||
        static_cast<size_t>(end) != identity.size()) {
        return false;
    }
    Ipc::t_caller = caller;
    return true;
}

} // namespace OHOS
