// What another process may write: to a lane, against the reader of messages itself, and to all sockets of a daemon,
// which ends such a peer and serves the others.
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <poll.h>
#include <unistd.h>

#include "compose.h"
#include "hilog/host_log.h"
#include "host/ipc_transport.h"
#include "ipc_object_stub.h"
#include "link.h"
#include "message_option.h"
#include "message_parcel.h"
#include "message_reader.h"
#include "remote_proxy.h"
#include "targets.h"

namespace OHOS::Pelago::Fuzz {
namespace {

namespace fs = std::filesystem;

using Ipc::ControlMessage;
using Ipc::EndReason;
using Ipc::MessageHead;
using Ipc::ObjectRecord;

constexpr size_t MOST_STEPS = 24;
constexpr size_t MOST_CHUNK_DESCRIPTORS = 4;
constexpr int PATIENCE_MS = 10'000; // for a daemon to hang up
constexpr size_t ASK_NEIGHBOUR_EVERY = 16;

template <typename T>
void Append(std::string& bytes, const T& value)
{
    bytes.append(reinterpret_cast<const char*>(&value), sizeof(value));
}

// Small, so that an input can reach them.
Host::IpcLimits Limits()
{
    Host::IpcLimits limits;
    limits.messageBytes = size_t{64} * 1024;
    limits.descriptorsPerMessage = 6;
    limits.objectsPerConnection = 16;
    limits.lanesPerConnection = 4;
    return limits;
}

std::pair<Host::UniqueFd, Host::UniqueFd> Pair()
{
    std::array<int, 2> ends{-1, -1};
    Demand(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0, "no socket pair");
    return {Host::UniqueFd(ends[0]), Host::UniqueFd(ends[1])};
}

// A peer that takes nothing loses what is sent.
void Send(int socket, std::string_view bytes, const std::vector<int>& descriptors)
{
    if (bytes.empty()) {
        return; // descriptors travel with a byte
    }
    std::array<char, CMSG_SPACE(MOST_CHUNK_DESCRIPTORS * sizeof(int))> control{};
    iovec part = {const_cast<char*>(bytes.data()), bytes.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (!descriptors.empty()) {
        message.msg_control = control.data();
        message.msg_controllen = CMSG_SPACE(descriptors.size() * sizeof(int));
        cmsghdr* rights = CMSG_FIRSTHDR(&message);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(descriptors.size() * sizeof(int));
        std::memcpy(CMSG_DATA(rights), descriptors.data(), descriptors.size() * sizeof(int));
    }
    (void)::sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT); // as the head says
}

std::vector<int> DrawDescriptors(Feed& feed)
{
    return std::vector<int>(feed.Below(MOST_CHUNK_DESCRIPTORS), NullDescriptor());
}

// A message that could be true, or any bytes.
std::string DrawMessage(Feed& feed)
{
    if (feed.Below(4) == 0) {
        return std::string(feed.Take(feed.Byte()));
    }
    MessageHead head;
    head.kind = static_cast<uint16_t>(1 + feed.Below(8) / 7);
    head.flags = static_cast<uint16_t>(feed.Below(2));
    head.objects = static_cast<uint16_t>(feed.Below(4));
    head.descriptors = static_cast<uint16_t>(feed.Below(8));
    head.target = static_cast<uint64_t>(feed.Number());
    head.code = static_cast<uint32_t>(feed.Number());
    head.sequence = static_cast<uint32_t>(feed.Number());
    std::string records;
    for (size_t i = 0; i < head.objects; ++i) {
        auto id = static_cast<uint64_t>(feed.Number());
        Append(records, ObjectRecord{id, static_cast<uint32_t>(1 + feed.Below(16) / 7), 0});
    }
    std::string_view parcel = feed.Take(feed.Byte());
    head.size = static_cast<uint32_t>(sizeof(head) + records.size() + parcel.size());
    std::string message;
    Append(message, head);
    return message.append(records).append(parcel);
}

std::string DrawControl(Feed& feed)
{
    if (feed.Below(4) == 0) {
        return std::string(feed.Take(feed.Byte()));
    }
    ControlMessage message;
    message.kind = static_cast<uint32_t>(1 + feed.Below(6));
    message.id = static_cast<uint64_t>(feed.Number());
    message.number = static_cast<uint64_t>(feed.Number());
    std::string bytes;
    Append(bytes, message);
    return bytes;
}

// Reads one field after the other, of any kind, until the parcel ends.
size_t ReadFields(MessageParcel& parcel)
{
    size_t objects = 0;
    size_t before = parcel.GetReadableBytes() + 1;
    while (parcel.GetReadableBytes() < before) {
        before = parcel.GetReadableBytes();
        objects += parcel.ReadRemoteObject() != nullptr ? 1U : 0U;
        Host::UniqueFd file(parcel.ReadFileDescriptor());
        int32_t size = parcel.ReadInt32();
        (void)parcel.ReadRawData(static_cast<size_t>(size)); // null is an answer too
        (void)parcel.ReadString();                           // likewise empty
    }
    return objects;
}

// ---- A lane, and nothing behind it

class QuietStub : public IPCObjectStub {
public:
    QuietStub() : IPCObjectStub(u"ohos.pelago.fuzz")
    {}
    // 1 reads whatever there is, 2 calls an object that came along, 3 keeps one, others are not known.
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override
    {
        switch (code) {
            case 1:
                return reply.WriteInt32(static_cast<int32_t>(ReadFields(data))) ? 0 : -1;
            case 2:
                return CallBack(data.ReadRemoteObject());
            case 3:
                return GiveBack(data.ReadRemoteObject(), reply);
            default:
                return IPCObjectStub::OnRemoteRequest(code, data, reply, option);
        }
    }

private:
    static int CallBack(const sptr<IRemoteObject>& object)
    {
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        return object == nullptr ? -1 : object->SendRequest(1, data, reply, option);
    }
    int GiveBack(const sptr<IRemoteObject>& object, MessageParcel& reply)
    {
        bool isWritten = object != nullptr && reply.WriteRemoteObject(object) && reply.WriteRemoteObject(this) &&
                         reply.WriteFileDescriptor(NullDescriptor());
        return isWritten ? 0 : -1;
    }
};

// The other process is only what its bytes say.
class QuietLink : public Ipc::Link {
public:
    QuietLink() : Link(Ipc::Caller{}, Limits().objectsPerConnection)
    {}
    int Transact(Ipc::RemoteProxy&, uint32_t, MessageParcel&, MessageParcel&, const MessageOption&) override
    {
        return IPC_DEAD_OBJECT;
    }
    void SendRelease(uint64_t, uint64_t) override
    {}
    void DropWhenRead(uint64_t object) override
    {
        Objects().DropUnused(object);
    }
};

bool TakeMessages(Ipc::MessageReader& reader, QuietLink& link)
{
    for (;;) {
        Ipc::IncomingMessage message;
        EndReason why = EndReason::NONE;
        switch (reader.Next(message, why)) {
            case Ipc::MessageReader::Step::MORE:
                return true;
            case Ipc::MessageReader::Step::BROKEN:
                Demand(why != EndReason::NONE, "a lane broke without a reason");
                return false;
            case Ipc::MessageReader::Step::MESSAGE:
                break;
        }
        Demand(message.descriptors.size() == message.head.descriptors, "another number of descriptors than was said");
        MessageParcel parcel;
        if (message.Unpack(link, parcel) != EndReason::NONE) {
            return false;
        }
        size_t objects = ReadFields(parcel);
        Plant(Target::FRAMING, objects > 0 && message.head.descriptors > 1);
    }
}

void PlayLane(Feed& feed)
{
    const Host::IpcLimits limits = Limits();
    sptr<QuietLink> link = new QuietLink();
    sptr<IPCObjectStub> stub = new QuietStub();
    Demand(link->Objects().Give(stub, 1) == 1, "the first object has another number");
    auto [ours, theirs] = Pair();
    Ipc::Backlog backlog;
    Ipc::MessageReader reader(limits, backlog);
    bool isGood = true;
    for (size_t step = 0; step < MOST_STEPS && isGood && !feed.AtEnd(); ++step) {
        std::vector<int> descriptors = DrawDescriptors(feed);
        Send(theirs.Get(), DrawMessage(feed), descriptors);
        while (isGood && reader.Receive(ours.Get(), MSG_DONTWAIT) == Ipc::DescriptorStream::Fill::DATA) {
            isGood = TakeMessages(reader, *link);
        }
    }
    Demand(link->Objects().Count().held == 0, "objects of a message outlive it");
    Demand(link->Objects().Count().given == 1, "an object that nobody released has gone");
}

// ---- A daemon

class Daemon {
public:
    static Daemon& Instance()
    {
        static Daemon daemon;
        return daemon;
    }

    Host::UniqueFd Connect() const
    {
        Host::UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        (void)Path().copy(address.sun_path, sizeof(address.sun_path) - 1); // a short one
        Demand(::connect(socket.Get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0,
            "the daemon does not listen");
        return socket;
    }
    // Whoever is next door notices nothing.
    void AskNeighbour()
    {
        if (++inputs_ % ASK_NEIGHBOUR_EVERY != 0) {
            return;
        }
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        Demand(neighbour_->SendRequest(1, data, reply, option) == 0, "a neighbour is not served");
    }

private:
    Daemon()
    {
        folder_ = (fs::temp_directory_path() / "pelago-fuzz.XXXXXX").string();
        Demand(::mkdtemp(folder_.data()) != nullptr, "no folder");
        std::string error;
        Demand(server_.Start(folder_, {{"app", 4, 0600}}, new QuietStub(), Limits(), error), error);
        neighbour_ = Host::ConnectToDaemon(Path(), error);
        Demand(neighbour_ != nullptr, error);
    }
    ~Daemon()
    {
        neighbour_ = nullptr;
        Demand(server_.Stop(), "the daemon does not stop");
        std::error_code error;
        fs::remove_all(folder_, error); // a folder that stays is no fault of the daemon
    }
    std::string Path() const
    {
        return folder_ + "/app.sock";
    }

    std::string folder_;
    Host::IpcServer server_;
    sptr<IRemoteObject> neighbour_;
    size_t inputs_ = 0;
};

// A client in another language, and not a good one.
class RawPeer {
public:
    explicit RawPeer(const Daemon& daemon) : control_(daemon.Connect())
    {}

    void Greet()
    {
        std::string hello;
        Append(hello, ControlMessage::Greeting(Ipc::ControlKind::HELLO, Limits()));
        Send(control_.Get(), hello, {});
    }
    void Step(Feed& feed)
    {
        switch (feed.Below(4)) {
            case 0: {
                std::vector<int> descriptors = DrawDescriptors(feed);
                Send(control_.Get(), DrawControl(feed), descriptors);
                return;
            }
            case 1:
                return OfferLane();
            default: {
                int lane = lanes_.empty() ? control_.Get() : lanes_[feed.Below(lanes_.size())].Get();
                std::vector<int> descriptors = DrawDescriptors(feed);
                Send(lane, DrawMessage(feed), descriptors);
                return;
            }
        }
    }
    // Says its last word, and waits for the daemon's.
    void AwaitEnd()
    {
        (void)::shutdown(control_.Get(), SHUT_WR); // fails when the daemon was first
        std::array<char, 4096> bytes;
        ssize_t count = 1;
        while (count > 0) {
            pollfd waiting{control_.Get(), POLLIN, 0};
            int ready = -1;
            do {
                ready = ::poll(&waiting, 1, PATIENCE_MS);
            } while (ready < 0 && errno == EINTR); // the fuzzer's own clock
            Demand(ready == 1, "the daemon does not hang up");
            count = ::recv(control_.Get(), bytes.data(), bytes.size(), 0);
        }
    }

private:
    void OfferLane()
    {
        auto ends = Pair();
        ControlMessage lane;
        lane.kind = static_cast<uint32_t>(Ipc::ControlKind::LANE);
        std::string bytes;
        Append(bytes, lane);
        Send(control_.Get(), bytes, {ends.second.Get()});
        lanes_.push_back(std::move(ends.first));
    }

    Host::UniqueFd control_;
    std::vector<Host::UniqueFd> lanes_;
};

void PlayDaemon(Feed& feed)
{
    Daemon& daemon = Daemon::Instance();
    {
        RawPeer peer(daemon);
        if (feed.Below(8) != 0) {
            peer.Greet();
        }
        for (size_t step = 0; step < MOST_STEPS && !feed.AtEnd(); ++step) {
            peer.Step(feed);
        }
        peer.AwaitEnd();
    }
    daemon.AskNeighbour();
}

} // namespace

void PlayFraming(Feed& feed)
{
    Host::SetLogLevel(LOG_FATAL);
    if (feed.Below(4) == 0) {
        PlayDaemon(feed); // a quarter of the inputs: threads answer, which takes longer
    } else {
        PlayLane(feed);
    }
}

} // namespace OHOS::Pelago::Fuzz
