#ifndef PLATFORM_IPC_HOST_IPC_TRANSPORT_H
#define PLATFORM_IPC_HOST_IPC_TRANSPORT_H

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "iremote_object.h"

namespace OHOS::Host {

// What one peer can take of this process. Each limit has its own error or its own line in the log, and harms nobody
// else.
struct IpcLimits {
    size_t messageBytes = size_t{4} << 20; // one request or reply, header included
    size_t descriptorsPerMessage = 1024;
    size_t objectsPerConnection = 4096;                  // that one side holds of the other
    size_t lanesPerConnection = 64;                      // in each direction
    size_t connectionsPerUser = 1024;                    // by uid
    size_t connectionsPerProcess = 256;                  // by pid
    size_t lanesPerProcess = 1024;                       // that it calls through, over all its connections
    size_t queuedBytesPerConnection = size_t{8} << 20;   // written, and not yet taken by the peer's socket
    std::chrono::milliseconds unfinishedMessage{10'000}; // from the first byte of a message to its last
    // Of all messages of a process that have begun to arrive and are not whole, over all its connections: what their
    // heads announce, and the descriptors that came already. Not below those of one message.
    size_t unfinishedBytesPerProcess = size_t{64} << 20;
    size_t unfinishedDescriptorsPerProcess = 4096;
};

inline constexpr size_t IPC_CONCURRENT_REQUESTS = 16;
// A peer counts a lane as closed before we have read its end, so it may seem to have more than its limit, up to these
// times as many.
inline constexpr size_t IPC_LANE_TOLERANCE = 4;
inline constexpr std::chrono::seconds IPC_CONNECT_LIMIT{5}; // for a daemon to answer who connects
inline constexpr std::chrono::seconds IPC_END_LIMIT{10};    // for the last requests to return at the end
inline constexpr size_t MAX_TOKEN_SOCKET_NAME = 64;

// One row of the table of callers: whoever connects to this socket has this token.
struct TokenSocket {
    std::string name;     // of the socket's file, without ".sock": 1 to MAX_TOKEN_SOCKET_NAME of [A-Za-z0-9_-]
    uint32_t tokenId = 0; // what IPCSkeleton::GetCallingTokenID gives
    mode_t mode = 0600;   // of the socket's file: who may connect
};

struct IpcConnectionInfo {
    pid_t pid = 0;
    uid_t uid = 0;
    std::string token;      // name of the socket
    size_t lanesIn = 0;     // lanes that it calls through
    size_t lanesOut = 0;    // lanes that it is called through
    size_t objectsHeld = 0; // objects of it that this process holds
    size_t objectsGiven = 0;
    size_t queuedBytes = 0;
};

// Of the whole process, servers and clients together.
struct IpcCounters {
    size_t connections = 0;
    size_t lanes = 0;
    size_t objectsHeld = 0;
    size_t objectsGiven = 0;
    size_t threads = 0;    // that serve requests, idle ones included
    size_t running = 0;    // requests being handled
    size_t parked = 0;     // lanes with a request that waits for a place
    uint64_t requests = 0; // handled since the start
    uint64_t refused = 0;  // connections refused, or ended for what they sent, since the start
};

// The daemon's side of the local IPC: listens on one socket for each row of the table of callers and gives each process
// that connects the root object.
// Owned by the daemon's main; one for each folder. Start and Stop belong to the thread that owns it; the rest is for
// any thread. Requests run on the threads of the process's IPC, which Stop leaves idle. Does not check permissions, and
// does not guard the folder: only file modes and the folder's own say who may connect.
class IpcServer {
public:
    IpcServer();
    ~IpcServer(); // as Stop
    IpcServer(const IpcServer&) = delete;
    IpcServer& operator=(const IpcServer&) = delete;

    // Serves `directory`, which exists, on "<name>.sock" of each row. Socket files that nobody serves any more are
    // replaced. False, with nothing left behind and the reason in `error`, when any of them cannot be served.
    [[nodiscard]] bool Start(const std::string& directory, const std::vector<TokenSocket>& sockets,
        const sptr<IRemoteObject>& root, const IpcLimits& limits, std::string& error);
    // Adds a row while it serves. Errors as Start.
    [[nodiscard]] bool AddSocket(const TokenSocket& socket, std::string& error);
    // Removes the socket files, ends all connections and waits until the last of their requests has returned. False,
    // and said in the log, when one has not within IPC_END_LIMIT, or when a request itself calls.
    bool Stop();

    [[nodiscard]] std::vector<IpcConnectionInfo> Connections() const;

private:
    class Impl;
    const std::unique_ptr<Impl> impl_;
};

// Connects this process to the daemon behind `socketPath` and gives its root object; null, with the reason in `error`,
// when that fails. Each call makes a connection of its own, which lasts until nothing of it is held on either side, or
// until one side goes. Waits at most IPC_CONNECT_LIMIT. Any thread; works again in a child after fork, where the
// parent's proxies are dead.
[[nodiscard]] sptr<IRemoteObject> ConnectToDaemon(const std::string& socketPath, std::string& error);
[[nodiscard]] sptr<IRemoteObject> ConnectToDaemon(
    const std::string& socketPath, const IpcLimits& limits, std::string& error);

// Ends all connections that this process has made and waits as IpcServer::Stop does: for the end of a client's main.
bool DisconnectFromDaemons();

[[nodiscard]] IpcCounters CountIpc();

// The token of this process itself: what GetCallingTokenID gives outside of requests. 0 until it is set.
void SetOwnTokenId(uint32_t tokenId);

} // namespace OHOS::Host

#endif // PLATFORM_IPC_HOST_IPC_TRANSPORT_H
