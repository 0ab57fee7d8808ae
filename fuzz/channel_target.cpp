// What another device may say on the engine's channel: to a bare channel, to the note box, to whoever takes offers, and
// in answer to a note.
#include <sys/socket.h>

#include <array>
#include <condition_variable>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include <unistd.h>

#include "channel.h"
#include "compose.h"
#include "context.h"
#include "engine_listener_proxies.h"
#include "frame.h"
#include "hilog/host_log.h"
#include "ipc_object_stub.h"
#include "nearby_reports.h"
#include "note_box.h"
#include "offer.h"
#include "offer_inbox.h"
#include "targets.h"
#include "visibility.h"

namespace OHOS::Pelago::Fuzz {
namespace {

namespace fs = std::filesystem;

using namespace Local;

constexpr size_t MOST_STEPS = 24;
constexpr size_t QUIET_TURNS = 3; // of the loop, for what the last words cause
constexpr int VISIBLE = 1;

// Stops a loop from outside, since a loop cannot wait for its own end. One thread for all inputs.
class Stopper {
public:
    static Stopper& Instance()
    {
        static Stopper stopper;
        return stopper;
    }

    void Stop(ControlLoop& loop)
    {
        std::lock_guard<std::mutex> guard(mutex_);
        loop_ = &loop;
        changed_.notify_all();
    }
    void Await()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return loop_ == nullptr; });
    }

private:
    Stopper() : thread_([this] { Run(); })
    {}
    ~Stopper()
    {
        {
            std::lock_guard<std::mutex> guard(mutex_);
            ended_ = true;
            changed_.notify_all();
        }
        thread_.join();
    }

    void Run()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            changed_.wait(lock, [this] { return ended_ || loop_ != nullptr; });
            if (ended_) {
                return;
            }
            lock.unlock();
            loop_->Stop(); // nobody else changes it until it is null again
            lock.lock();
            loop_ = nullptr;
            changed_.notify_all();
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    ControlLoop* loop_ = nullptr; // to be stopped
    bool ended_ = false;
    std::thread thread_; // last: it uses the rest
};

class Folder {
public:
    static const std::string& Path()
    {
        static const Folder folder;
        return folder.path_;
    }

private:
    Folder() : path_((fs::temp_directory_path() / "pelago-fuzz.XXXXXX").string())
    {
        Demand(::mkdtemp(path_.data()) != nullptr, "no folder");
    }
    ~Folder()
    {
        std::error_code error;
        fs::remove_all(path_, error); // a folder that stays is no fault of the engine
    }

    std::string path_;
};

LocalEngineConfig Config()
{
    LocalEngineConfig config;
    config.nearbyFolder = Folder::Path();
    config.device.id = "me";
    config.device.name = "Blue phone";
    config.device.capability = CAPABILITY_BYTES;
    return config;
}

Offer DrawOffer(Feed& feed)
{
    Offer offer;
    offer.kind = static_cast<OfferKind>(feed.Below(2));
    offer.senderId = feed.Text();
    offer.senderName = feed.Text();
    offer.eventType = feed.Int();
    offer.timeoutMs = feed.Int();
    offer.text = feed.Text();
    offer.preview = feed.Text();
    offer.files.resize(feed.Below(4));
    for (OfferedFile& file : offer.files) {
        file.name = feed.Text();
        file.size = static_cast<uint64_t>(feed.Number());
    }
    return offer;
}

std::string DrawBody(FrameType type, Feed& feed)
{
    switch (type) {
        case FrameType::OFFER:
            return DrawOffer(feed).Encode();
        case FrameType::TAKEN:
            return BodyWriter().U64(static_cast<uint64_t>(feed.Number())).Bytes();
        case FrameType::ABORT:
        case FrameType::END:
            return EncodeOutcome({static_cast<Ending>(feed.Below(20)), feed.Text()});
        case FrameType::NOTE: {
            std::string from = feed.Text();
            return BodyWriter().Text(from).Text(feed.Text()).Bytes();
        }
        case FrameType::WATCH:
        case FrameType::SHOWN:
        case FrameType::ACCEPT:
        case FrameType::FINISH:
            break;
    }
    return {};
}

// A frame that could be true, or any bytes, with or without a frame's head.
std::string DrawFrame(Feed& feed)
{
    size_t shape = feed.Below(8);
    if (shape == 0) {
        return std::string(feed.Take(feed.Byte()));
    }
    auto type = static_cast<FrameType>(1 + feed.Below(9));
    return shape < 3 ? MakeFrame(type, feed.Take(feed.Byte())) : MakeFrame(type, DrawBody(type, feed));
}

// ---- What the bodies hold: what was read is written and read to the same

void CheckBody(FrameType type, std::string_view body)
{
    if (type == FrameType::OFFER) {
        Outcome refusal;
        auto offer = DecodeOffer(body, refusal);
        Demand(offer.has_value() || refusal.ending != Ending::DONE, "an offer was refused without a reason");
        if (!offer.has_value()) {
            return;
        }
        Demand(offer->Encode() == body, "an offer is another one when it is written again");
        (void)FitsRequest(PreviewOf(*offer)); // either is fine
        Plant(Target::CHANNEL, offer->files.size() == 2 && offer->files[0].name == offer->files[1].name);
    }
    if (type == FrameType::ABORT || type == FrameType::END) {
        auto outcome = DecodeOutcome(body);
        Demand(!outcome.has_value() || DecodeOutcome(EncodeOutcome(*outcome))->ending == outcome->ending,
            "an ending is another one when it is read again");
    }
}

// ---- A conversation, on the loop's thread

class Scene {
public:
    explicit Scene(Feed& feed)
        : feed_(feed), context_(std::make_shared<Context>(Config())),
          reports_(std::make_shared<NearbyReports>(context_->activity)),
          visibility_(context_, reports_,
              [this](std::shared_ptr<Channel> channel, std::string_view body) {
                  inbox_.TakeOffer(std::move(channel), body);
              }),
          inbox_(context_), notes_(context_)
    {}

    // The loop runs inside Settle, on this thread, until the last step has it stopped.
    void Play()
    {
        std::string error;
        Demand(context_->folder.Open(Folder::Path(), error) && context_->loop.Start(error), error);
        Demand(context_->loop.Post([this] { Begin(); }), "the loop takes nothing");
        Demand(Host::Scheduler::Instance().Settle(), "time does not come to rest");
        Stopper::Instance().Await();
        context_->activity->Close();
        Demand(Host::Scheduler::Instance().Settle(), "time does not come to rest");
        Demand(context_->sending.empty() && context_->receiving.empty(), "a transfer outlives its conversation");
    }

private:
    void Begin()
    {
        static constexpr std::array<void (Scene::*)(), 4> PLACES{
            &Scene::BeAnybody, &Scene::BeGuestOfNotes, &Scene::BeGuestOfOffers, &Scene::BeAskedForAnswer};
        (this->*PLACES[feed_.Below(PLACES.size())])();
        Next();
    }
    // Both ends of a bare channel.
    void BeAnybody()
    {
        std::array<int, 2> ends{-1, -1};
        Demand(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) == 0, "no sockets");
        peer_ = Host::UniqueFd(ends[0]);
        channel_ = Channel::Open(context_->loop, Host::UniqueFd(ends[1]), STALL_LIMIT_MS);
        Demand(channel_ != nullptr, "no channel");
        channel_->SetHandlers(
            [this](FrameType type, std::string_view body, Host::UniqueFd fd) {
                Demand(type == FrameType::ACCEPT || !fd, "a descriptor came with a frame that has none");
                CheckBody(type, body);
                channel_->Send(type, body); // what can be read can be written
            },
            [](const char*) {});
    }
    void BeGuestOfNotes()
    {
        notes_.Serve([](const std::string&, const std::string&) {});
        Demand(context_->folder.Connect("me", peer_, NOTE_SUFFIX) == ConnectResult::CONNECTED, "notes are not served");
    }
    void BeGuestOfOffers()
    {
        sptr<IPCObjectStub> object = new IPCObjectStub(u"ohos.pelago.fuzz");
        visibility_.SetPolicy(VISIBLE);
        visibility_.Publish(object);
        inbox_.SetListener(new ReceiveListenerProxy(object));
        Demand(context_->folder.Connect("me", peer_) == ConnectResult::CONNECTED, "the device is not served");
    }
    void BeAskedForAnswer()
    {
        std::string error;
        Host::UniqueFd listening;
        Demand(context_->folder.Serve("peer", NOTE_SUFFIX, listening, error), error);
        notes_.Send("peer", feed_.Text().substr(0, MAX_NOTE_BYTES), [](bool) {}); // longer ones are refused before
        peer_ = Host::UniqueFd(::accept4(listening.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        Demand(static_cast<bool>(peer_), "a note does not come");
        context_->folder.RemoveSocket("peer", NOTE_SUFFIX);
    }

    // One step in each turn of the loop, so that it hears what was said before it hears more.
    void Next()
    {
        Listen();
        if (steps_++ < MOST_STEPS && !feed_.AtEnd()) {
            Say();
        } else if (quiet_++ == 0) {
            (void)::shutdown(peer_.Get(), SHUT_WR); // the other end may have gone
        } else if (quiet_ > QUIET_TURNS) {
            End();
            return;
        }
        Demand(context_->loop.Post([this] { Next(); }), "the loop has ended by itself");
    }
    void Say()
    {
        size_t descriptors = feed_.Below(8) % 3; // mostly none or one
        std::string bytes = DrawFrame(feed_);
        if (bytes.empty()) {
            return;
        }
        const std::array<int, 2> sent{NullDescriptor(), NullDescriptor()};
        alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(sent))> control{};
        iovec part{bytes.data(), bytes.size()};
        msghdr message{};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        if (descriptors > 0) {
            message.msg_control = control.data();
            message.msg_controllen = CMSG_SPACE(descriptors * sizeof(int));
            cmsghdr* head = CMSG_FIRSTHDR(&message);
            head->cmsg_level = SOL_SOCKET;
            head->cmsg_type = SCM_RIGHTS;
            head->cmsg_len = CMSG_LEN(descriptors * sizeof(int));
            std::memcpy(CMSG_DATA(head), sent.data(), descriptors * sizeof(int));
        }
        (void)::sendmsg(peer_.Get(), &message, MSG_NOSIGNAL | MSG_DONTWAIT); // the other end may have gone
    }
    // What the engine says is frames.
    void Listen()
    {
        std::array<char, 4096> bytes;
        ssize_t count = 0;
        while ((count = ::recv(peer_.Get(), bytes.data(), bytes.size(), MSG_DONTWAIT)) > 0) {
            heard_.append(bytes.data(), static_cast<size_t>(count));
        }
        while (heard_.size() >= FRAME_HEADER_BYTES) {
            auto header = ReadFrameHeader(heard_);
            Demand(header.has_value(), "the engine says what is no frame");
            if (heard_.size() < FRAME_HEADER_BYTES + header->length) {
                return;
            }
            heard_.erase(0, FRAME_HEADER_BYTES + header->length);
        }
    }
    void End()
    {
        channel_.reset();
        notes_.Drop();
        visibility_.Drop();
        inbox_.Drop();
        Stopper::Instance().Stop(context_->loop);
    }

    Feed& feed_;
    const std::shared_ptr<Context> context_;
    const std::shared_ptr<NearbyReports> reports_;
    Visibility visibility_;
    OfferInbox inbox_;
    NoteBox notes_;
    std::shared_ptr<Channel> channel_;
    Host::UniqueFd peer_;
    std::string heard_;
    size_t steps_ = 0;
    size_t quiet_ = 0;
};

} // namespace

void PlayChannel(Feed& feed)
{
    Host::SetLogLevel(LOG_FATAL);
    if (!Host::Scheduler::Instance().IsManual()) {
        Demand(Host::Scheduler::Instance().UseManualTime(), "no manual time");
    }
    Scene(feed).Play();
}

} // namespace OHOS::Pelago::Fuzz
