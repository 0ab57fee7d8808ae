#include "engine_world.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <thread>

#include "engine_handles.h"
#include "engine_listener_proxies.h"
#include "host/faults.h"
#include "message_parcel.h"

namespace OHOS::Pelago {
namespace {

constexpr auto PATIENCE = std::chrono::seconds(20);

template <typename Code>
bool Is(uint32_t code, Code wanted)
{
    return code == static_cast<uint32_t>(wanted);
}

// A remote object that hands each request to a function.
class Listener : public IPCObjectStub {
public:
    using Hear = std::function<void(uint32_t code, MessageParcel& data)>;
    Listener(const std::u16string& token, Hear hear) : IPCObjectStub(token), token_(token), hear_(std::move(hear))
    {}
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel&, MessageOption&) override
    {
        EXPECT_EQ(data.ReadInterfaceToken(), token_);
        hear_(code, data);
        return 0;
    }

private:
    const std::u16string token_;
    const Hear hear_;
};

std::string Numbers(MessageParcel& data, int count)
{
    std::string line;
    for (int i = 0; i < count; ++i) {
        line += " " + std::to_string(data.ReadInt32());
    }
    return line;
}

void HearNearby(Journal& heard, uint32_t code, MessageParcel& data)
{
    if (Is(code, SubscribeListenerCode::ON_DISCOVER_RESULT)) {
        return;
    }
    if (Is(code, SubscribeListenerCode::ON_SWING_STATUS)) {
        std::string role = Numbers(data, 1);
        std::string id = data.ReadString();
        heard.Add("swing of" + role + id + " ends:" + Numbers(data, 1));
        return;
    }
    EXPECT_NE(data.ReadInt32(), 0);
    sptr<ShareDevice> device = ShareDevice::Unmarshalling(data);
    heard.Add((Is(code, SubscribeListenerCode::ON_DEVICE_FOUND) ? "found " : "lost ") + device->GetDeviceId() + " '" +
              device->GetDeviceName() + "' contact " + std::to_string(device->GetContactInfo().contactId) + " flags " +
              std::to_string(device->GetDiscoveredBy()));
}

// The service's end of a transfer: writes down each report and lets progress pass its door.
void HearTransfer(const Sending& sending, uint32_t code, MessageParcel& data)
{
    Journal& heard = *sending.heard;
    if (Is(code, TransmitCallbackCode::ON_PROGESS)) {
        sending.percents->Add(std::to_string(data.ReadInt8()));
        if (sending.onProgress) {
            sending.onProgress();
        }
        sending.progressDoor->Pass();
    } else if (Is(code, TransmitCallbackCode::ON_SUCCESS)) {
        heard.Add("end: success");
    } else if (Is(code, TransmitCallbackCode::ON_STATUS)) {
        (void)data.ReadString();
        std::string status = Numbers(data, 1);
        heard.Add((status == " 1004" || status == " 1012" ? "status" : "end: status") + status);
    } else if (Is(code, TransmitCallbackCode::ON_ERROR)) {
        std::string text = data.ReadString();
        heard.Add("end: error" + Numbers(data, 1) + " " + text);
    } else if (Is(code, TransmitCallbackCode::ON_MOTION_STATE)) {
        heard.Add("motion" + Numbers(data, 3));
    } else if (Is(code, TransmitCallbackCode::ON_POP_SWING)) {
        std::string id = data.ReadString();
        heard.Add((data.ReadBool() ? "dialog for " : "no dialog for ") + id);
    } else if (!Is(code, TransmitCallbackCode::ON_SPEED)) {
        heard.Add("code " + std::to_string(code));
    }
}

void HearProgress(Journal& heard, uint32_t code, MessageParcel& data)
{
    if (Is(code, ReceiveProgressCode::ON_PROGRESS)) {
        int64_t bytes = data.ReadInt64();
        heard.Add(bytes == data.ReadInt64() ? "bytes all" : "bytes some");
        return;
    }
    std::string line = "result" + Numbers(data, 1);
    std::vector<std::string> names;
    EXPECT_TRUE(data.ReadStringVector(&names));
    for (const std::string& name : names) {
        line += " " + name;
    }
    heard.Add(line);
}

sockaddr_un RawAddress(const fs::path& socket)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    EXPECT_LT(socket.string().size(), sizeof(address.sun_path));
    std::strncpy(address.sun_path, socket.c_str(), sizeof(address.sun_path) - 1);
    return address;
}

LocalEngineConfig ConfigOf(const fs::path& root, const std::string& id, int64_t limitMs)
{
    LocalEngineConfig config{root / "nearby", root / "contacts.json", DeviceOf(id)};
    if (limitMs != 0) {
        config.stallLimitMs = config.unreadLimitMs = config.swingFindMs = limitMs;
    }
    return config;
}

} // namespace

void Journal::Add(const std::string& line)
{
    std::lock_guard guard(mutex_);
    lines_.push_back(line);
    changed_.notify_all();
}

bool Journal::Await(const std::string& start, size_t times)
{
    std::unique_lock lock(mutex_);
    bool came = changed_.wait_for(lock, PATIENCE, [&] { return Count(start) >= times; });
    EXPECT_TRUE(came) << "waited for '" << start << "', heard:\n" << Text();
    return came;
}

size_t Journal::Count(const std::string& start) const
{
    std::lock_guard guard(mutex_);
    auto begins = [&](const std::string& line) { return line.compare(0, start.size(), start) == 0; };
    return static_cast<size_t>(std::count_if(lines_.begin(), lines_.end(), begins));
}

std::string Journal::Text() const
{
    std::lock_guard guard(mutex_);
    std::string text;
    for (const std::string& line : lines_) {
        text += line + "\n";
    }
    return text;
}

void Journal::Clear()
{
    std::lock_guard guard(mutex_);
    lines_.clear();
}

void Door::Set(bool open)
{
    std::lock_guard guard(mutex_);
    open_ = open;
    opened_.notify_all();
}

void Door::Pass()
{
    std::unique_lock lock(mutex_);
    opened_.wait(lock, [this] { return open_; });
}

LocalDevice DeviceOf(const std::string& id)
{
    return {id, id + "'s name", 1, "hash-" + id, CAPABILITY_BYTES};
}

TestDevice::TestDevice(const fs::path& root, const std::string& id, int64_t limitMs)
    : inbox(root / ("inbox-" + id)),
      subscriber(new SubscribeListenerProxy(new Listener(ISubscribeListener::GetDescriptor(),
          [this](uint32_t code, MessageParcel& data) { HearNearby(nearby, code, data); }))),
      publisher_(new PublishListenerProxy(new Listener(IPublishListener::GetDescriptor(),
          [this](uint32_t, MessageParcel& data) {
              EXPECT_EQ(data.ReadInt32(), LocalEngine::PUBLISH_ID);
              nearby.Add("published" + Numbers(data, 1));
          }))),
      receiver_(new ReceiveListenerProxy(new Listener(PelagoReceiveListener::GetDescriptor(),
          [this](uint32_t code, MessageParcel& data) { OnRequest(code, data); }))),
      engine(ConfigOf(root, id, limitMs))
{
    fs::create_directory(inbox);
    std::string error;
    EXPECT_TRUE(engine.Start(error)) << error;
}

void TestDevice::OnRequest(uint32_t code, MessageParcel& data)
{
    if (Is(code, ReceiveListenerCode::ON_MOTION_STATE)) {
        offers.Add("motion" + Numbers(data, 3));
        return;
    }
    auto receiver = iface_cast<PelagoReceiver>(data.ReadRemoteObject());
    EXPECT_NE(receiver, nullptr);
    if (Is(code, ReceiveListenerCode::ON_RECV_BYTES_INFO)) {
        (void)data.ReadString();
        OnOffer(receiver, data);
    } else if (Is(code, ReceiveListenerCode::ON_RECV_PREVIEW_RECEIVE)) {
        OnOffer(receiver, data);
    } else if (Is(code, ReceiveListenerCode::ON_POP_SWING)) {
        RecvPreview preview;
        EXPECT_TRUE(preview.ReadFromParcel(data));
        offers.Add(data.ReadBool() ? "dialog" : "no dialog");
    } else if (Is(code, ReceiveListenerCode::ON_SEND_CANCEL_BEFORE_CONFIRM)) {
        offers.Add("cancelled");
    } else {
        offers.Add("error" + Numbers(data, 1));
    }
}

void TestDevice::OnOffer(const sptr<PelagoReceiver>& offer, MessageParcel& data)
{
    RecvPreview preview;
    EXPECT_TRUE(preview.ReadFromParcel(data));
    {
        std::lock_guard guard(mutex_);
        offer_ = offer;
    }
    if (acceptAll) {
        (void)Accept(); // the sender may have ended it by now
    }
    offers.Add("offer from " + preview.GetSenderName() + ": " + std::to_string(preview.GetFileCounter()) + " files, " +
               std::to_string(preview.GetTotalSize()) + " bytes, " + preview.GetAllFileNameData() +
               preview.GetBytesData());
}

void TestDevice::Publish(const std::string& outcome)
{
    engine.EnableDiscoveryPolicy(1);
    EXPECT_TRUE(engine.RegisterReceiveListener(receiver_));
    EXPECT_TRUE(engine.Publish(publisher_));
    if (!outcome.empty()) {
        nearby.Await(outcome);
    }
}

void TestDevice::Subscribe()
{
    EXPECT_TRUE(engine.Subscribe(subscriber));
}

int32_t TestDevice::Accept()
{
    Local::UniqueFd directory(::open(inbox.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return Offer()->Accept(
        directory.Get(), new ReceiveProgressProxy(new Listener(IReceiveProgress::GetDescriptor(),
                             [this](uint32_t code, MessageParcel& data) { HearProgress(progress, code, data); })));
}

sptr<PelagoReceiver> TestDevice::Offer() const
{
    std::lock_guard guard(mutex_);
    return offer_;
}

TransmitParam TestDevice::ParamFor(Sending& sending, const std::string& to) const
{
    TransmitParam param;
    param.deviceId = to;
    param.eventType = sending.event;
    Sending hears = sending;
    hears.handle = nullptr; // each would hold the other
    param.callback = new TransmitCallbackProxy(new Listener(ITransmitCallback::GetDescriptor(),
        [hears](uint32_t code, MessageParcel& data) { HearTransfer(hears, code, data); }));
    return param;
}

void TestDevice::Send(Sending& sending, const std::string& to, const std::vector<fs::path>& files,
    const std::string& name, int32_t timeoutMs)
{
    SendBean bean;
    std::vector<Local::UniqueFd> owned;
    for (const fs::path& path : files) {
        owned.emplace_back(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        FileHolder holder;
        holder.fileName_ = name.empty() ? path.filename().string() : name;
        holder.fileFd = owned.back().Get();
        bean.uriList.push_back(holder);
    }
    TransmitParam param = ParamFor(sending, to);
    param.timeoutMs = timeoutMs;
    sending.handle = engine.SendFile(param, bean, "com.example");
    EXPECT_NE(sending.handle, nullptr);
}

void TestDevice::SendUri(
    Sending& sending, const std::string& to, const std::string& uri, size_t previewBytes, int32_t timeoutMs)
{
    DataBean bean;
    bean.fileItems.resize(1);
    bean.fileItems[0].fileUri_ = uri;
    bean.thumbnail.assign(previewBytes, 'x');
    TransmitParam param = ParamFor(sending, to);
    param.timeoutMs = timeoutMs;
    sending.handle = engine.SendFile(param, bean, "");
}

std::vector<std::string> TestDevice::Received() const
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(inbox)) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

void EngineTest::SetUp()
{
    std::string pattern = fs::temp_directory_path() / "pelago-engine-XXXXXX";
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    root = pattern;
    nearby = root / "nearby";
    descriptors_ = OpenDescriptors().size();
}

void EngineTest::TearDown()
{
    sending.handle = nullptr;
    a.reset();
    b.reset();
    Host::Faults::Clear();
    EXPECT_TRUE(WaitUntil([this] { return OpenDescriptors().size() == descriptors_; }))
        << testing::PrintToString(OpenDescriptors());
    EXPECT_TRUE(WaitUntil([this] { // only the lock is left
        return !fs::exists(nearby) || std::distance(fs::directory_iterator(nearby), fs::directory_iterator()) <= 1;
    }));
    fs::remove_all(root);
}

void EngineTest::Start(int64_t limitMs)
{
    sending = Sending();
    a = nullptr;
    b = nullptr;
    a = std::make_unique<TestDevice>(root, "A", limitMs);
    b = std::make_unique<TestDevice>(root, "B");
}

void EngineTest::Offer(const std::vector<fs::path>& files, bool hold)
{
    sending.progressDoor->Set(!hold);
    a->Send(sending, "B", files);
    sending.heard->Await("status 1012");
}

void EngineTest::Act(const std::string& steps)
{
    const std::map<std::string, std::function<void()>> STEPS = {
        {"shown", [this] { sending.heard->Await("status 1012"); }},
        {"accept", [this] { EXPECT_EQ(b->Accept(), RECEIVER_OK); }},
        {"moving", [this] { b->progress.Await("bytes"); }},
        {"all-there", [this] { b->progress.Await("bytes all"); }},
        {"refuse", [this] { EXPECT_EQ(b->Offer()->Refuse(1), RECEIVER_OK); }},
        {"cancel-here", [this] { sending.handle->Cancel(); }},
        {"cancel-there", [this] { EXPECT_EQ(b->Offer()->Cancel(), RECEIVER_OK); }},
        {"go-there", [this] { b->engine.Stop(); }},
        // A report may be held at the door, and a stop waits for it: the peer hears of the loss before.
        {"go-here",
            [this] {
                std::thread stopping([this] { a->engine.Stop(); });
                EXPECT_TRUE(WaitUntil([this] { return b->progress.Count("result") + b->offers.Count("error") > 0; }));
                sending.progressDoor->Set(true);
                stopping.join();
            }},
        {"dialog",
            [this] {
                sending.heard->Await("dialog for B");
                EXPECT_EQ(b->offers.Text(), "") << "nothing leaves the device before";
            }},
        {"yes", [this] { sending.handle->SwingConfirm(1); }},
        {"no", [this] { sending.handle->SwingConfirm(0); }},
    };
    std::istringstream words(steps);
    for (std::string word; words >> word;) {
        STEPS.at(word)();
    }
}

void EngineTest::ExpectNothingLeft()
{
    EXPECT_TRUE(WaitUntil([this] {
        return a->engine.Counters().sending + b->engine.Counters().accepted + b->engine.Counters().offers == 0;
    }));
    EXPECT_EQ(b->Received(), std::vector<std::string>{});
}

fs::path EngineTest::MakeFile(const std::string& name, size_t size) const
{
    std::string text(size, '\0');
    uint32_t state = 1;
    for (char& c : text) {
        state = state * 1664525 + 1013904223;
        c = static_cast<char>(state >> 24);
    }
    WriteFile(root / name, text);
    return root / name;
}

std::vector<std::string> OpenDescriptors()
{
    std::vector<std::string> lines;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        std::string target = fs::read_symlink(entry.path(), gone);
        if (target != "anon_inode:[timerfd]") {
            lines.push_back(entry.path().filename().string() + " " + target);
        }
    }
    return lines;
}

std::string ReadAll(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void WriteFile(const fs::path& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

Local::UniqueFd ConnectRaw(const fs::path& socket)
{
    Local::UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = RawAddress(socket);
    EXPECT_EQ(::connect(fd.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    return fd;
}

Local::UniqueFd ServeRaw(const fs::path& socket)
{
    Local::UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = RawAddress(socket);
    EXPECT_EQ(::bind(fd.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_EQ(::listen(fd.Get(), 8), 0);
    return fd;
}

void SendRaw(int socket, const std::string& bytes, int fd)
{
    iovec part{const_cast<char*>(bytes.data()), bytes.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    if (fd >= 0) {
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        *CMSG_FIRSTHDR(&message) = {CMSG_LEN(sizeof(int)), SOL_SOCKET, SCM_RIGHTS};
        std::memcpy(CMSG_DATA(CMSG_FIRSTHDR(&message)), &fd, sizeof(fd));
    }
    (void)::sendmsg(socket, &message, MSG_NOSIGNAL); // an engine that has hung up already is what is asked for
}

std::string ReadUntilClosed(int socket)
{
    std::string all;
    for (;;) {
        pollfd ready{socket, POLLIN, 0};
        if (::poll(&ready, 1, static_cast<int>(std::chrono::milliseconds(PATIENCE).count())) <= 0) {
            ADD_FAILURE() << "the other end did not close";
            return all;
        }
        char bytes[4096];
        ssize_t count = ::read(socket, bytes, sizeof(bytes));
        if (count <= 0) {
            return all;
        }
        all.append(bytes, static_cast<size_t>(count));
    }
}

} // namespace OHOS::Pelago
