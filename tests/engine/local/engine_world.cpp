#include "engine_world.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <thread>

#include "engine_handles.h"
#include "engine_listener_proxies.h"
#include "message_parcel.h"

namespace OHOS::Pelago {
namespace {

namespace fs = std::filesystem;
constexpr auto PATIENCE = std::chrono::seconds(20);
constexpr int PATIENCE_MS = 60'000;

template <typename Code>
bool Is(uint32_t code, Code wanted)
{
    return code == static_cast<uint32_t>(wanted);
}

// "motion", and the three numbers.
std::string MotionLine(MessageParcel& data)
{
    std::string line = "motion";
    for (int i = 0; i < 3; ++i) {
        line += " " + std::to_string(data.ReadInt32());
    }
    return line;
}

class FoundRecorder : public IRemoteStub<ISubscribeListener> {
public:
    explicit FoundRecorder(Journal& heard) : heard_(heard)
    {}
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel&, MessageOption&) override
    {
        EXPECT_EQ(data.ReadInterfaceToken(), GetDescriptor());
        if (Is(code, SubscribeListenerCode::ON_DISCOVER_RESULT)) {
            return 0;
        }
        if (Is(code, SubscribeListenerCode::ON_SWING_STATUS)) {
            int32_t role = data.ReadInt32();
            std::string id = data.ReadString();
            heard_.Add("swing of " + std::to_string(role) + id + " ends: " + std::to_string(data.ReadInt32()));
            return 0;
        }
        EXPECT_NE(data.ReadInt32(), 0);
        sptr<ShareDevice> device = ShareDevice::Unmarshalling(data);
        bool found = code == static_cast<uint32_t>(SubscribeListenerCode::ON_DEVICE_FOUND);
        heard_.Add((found ? "found " : "lost ") + device->GetDeviceId() + " '" + device->GetDeviceName() +
                   "' contact " + std::to_string(device->GetContactInfo().contactId) + " flags " +
                   std::to_string(device->GetDiscoveredBy()));
        return 0;
    }
    void OnDeviceFound(const sptr<ShareDevice>&) override
    {}
    void OnDeviceLost(const sptr<ShareDevice>&) override
    {}
    void OnDiscoverResult(int, int) override
    {}
    void OnSwingStatus(int, std::string&, int) override
    {}

private:
    Journal& heard_;
};

class PublishRecorder : public IRemoteStub<IPublishListener> {
public:
    explicit PublishRecorder(Journal& heard) : heard_(heard)
    {}
    int OnRemoteRequest(uint32_t, MessageParcel& data, MessageParcel&, MessageOption&) override
    {
        EXPECT_EQ(data.ReadInterfaceToken(), GetDescriptor());
        EXPECT_EQ(data.ReadInt32(), LocalEngine::PUBLISH_ID);
        heard_.Add("published " + std::to_string(data.ReadInt32()));
        return 0;
    }
    void OnPublishResult(int, int) override
    {}

private:
    Journal& heard_;
};

// The service's end of a transfer: writes down each report and lets progress pass its door.
class Callback : public IPCObjectStub {
public:
    Callback(std::shared_ptr<Journal> heard, std::shared_ptr<Door> door, std::function<void()> onProgress)
        : IPCObjectStub(ITransmitCallback::GetDescriptor()), heard_(std::move(heard)), door_(std::move(door)),
          onProgress_(std::move(onProgress))
    {}
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel&, MessageOption&) override
    {
        EXPECT_EQ(data.ReadInterfaceToken(), ITransmitCallback::GetDescriptor());
        if (Is(code, TransmitCallbackCode::ON_PROGESS)) {
            heard_->Add("progress " + std::to_string(data.ReadInt8()));
            if (onProgress_) {
                onProgress_();
            }
            door_->Pass();
        } else if (Is(code, TransmitCallbackCode::ON_SUCCESS)) {
            heard_->Add("end: success");
        } else if (Is(code, TransmitCallbackCode::ON_STATUS)) {
            (void)data.ReadString();
            AddStatus(data.ReadInt32());
        } else if (Is(code, TransmitCallbackCode::ON_ERROR)) {
            std::string text = data.ReadString();
            heard_->Add("end: error " + std::to_string(data.ReadInt32()) + " " + text);
        } else if (Is(code, TransmitCallbackCode::ON_MOTION_STATE)) {
            heard_->Add(MotionLine(data));
        } else if (Is(code, TransmitCallbackCode::ON_POP_SWING)) {
            std::string id = data.ReadString();
            heard_->Add((data.ReadBool() ? "dialog for " : "no dialog for ") + id);
        } else {
            heard_->Add("code " + std::to_string(code));
        }
        return 0;
    }

private:
    void AddStatus(int32_t status)
    {
        bool ends = status != 1004 && status != 1012;
        heard_->Add((ends ? "end: status " : "status ") + std::to_string(status));
    }

    const std::shared_ptr<Journal> heard_;
    const std::shared_ptr<Door> door_;
    const std::function<void()> onProgress_;
};

class ReceiveListener : public IPCObjectStub {
public:
    explicit ReceiveListener(TestDevice& device)
        : IPCObjectStub(PelagoReceiveListener::GetDescriptor()), device_(device)
    {}
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel&, MessageOption&) override
    {
        EXPECT_EQ(data.ReadInterfaceToken(), PelagoReceiveListener::GetDescriptor());
        if (Is(code, ReceiveListenerCode::ON_MOTION_STATE)) {
            device_.offers.Add(MotionLine(data));
            return 0;
        }
        auto receiver = iface_cast<PelagoReceiver>(data.ReadRemoteObject());
        EXPECT_NE(receiver, nullptr);
        if (Is(code, ReceiveListenerCode::ON_RECV_BYTES_INFO)) {
            (void)data.ReadString();
            AddOffer(receiver, data);
        } else if (Is(code, ReceiveListenerCode::ON_RECV_PREVIEW_RECEIVE)) {
            AddOffer(receiver, data);
        } else if (Is(code, ReceiveListenerCode::ON_POP_SWING)) {
            RecvPreview preview;
            EXPECT_TRUE(preview.ReadFromParcel(data));
            device_.offers.Add(data.ReadBool() ? "dialog" : "no dialog");
        } else if (Is(code, ReceiveListenerCode::ON_SEND_CANCEL_BEFORE_CONFIRM)) {
            device_.offers.Add("cancelled");
        } else if (Is(code, ReceiveListenerCode::ON_ERROR_BEFORE_CONFIRM)) {
            device_.offers.Add("error " + std::to_string(data.ReadInt32()));
        } else {
            device_.offers.Add("code " + std::to_string(code));
        }
        return 0;
    }

private:
    void AddOffer(const sptr<PelagoReceiver>& receiver, MessageParcel& data)
    {
        RecvPreview preview;
        EXPECT_TRUE(preview.ReadFromParcel(data));
        device_.OnOffer(receiver);
        device_.offers.Add("offer from " + preview.GetSenderName() + ": " + std::to_string(preview.GetFileCounter()) +
                           " files, " + std::to_string(preview.GetTotalSize()) + " bytes, " +
                           preview.GetAllFileNameData() + preview.GetBytesData());
    }

    TestDevice& device_;
};

class Progress : public ReceiveProgressStub {
public:
    explicit Progress(Journal& heard) : heard_(heard)
    {}
    void OnProgress(int64_t bytes, int64_t total, int64_t) override
    {
        heard_.Add(bytes == total ? "bytes all" : "bytes some");
    }
    void OnResult(int32_t result, const std::vector<std::string>& names) override
    {
        std::string line = "result " + std::to_string(result);
        for (const std::string& name : names) {
            line += " " + name;
        }
        heard_.Add(line);
    }

private:
    Journal& heard_;
};

// An interface around a stub that reads its requests by itself.
template <typename Proxy>
sptr<Proxy> Around(const sptr<IRemoteObject>& object)
{
    return new Proxy(object);
}

// One line each, but for the timer that the scheduler keeps from its first delayed task on.
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

bool BeginsWith(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
}

sockaddr_un RawAddress(const fs::path& socket)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    EXPECT_LT(socket.string().size(), sizeof(address.sun_path));
    std::strncpy(address.sun_path, socket.c_str(), sizeof(address.sun_path) - 1);
    return address;
}

} // namespace

void Journal::Add(const std::string& line)
{
    std::lock_guard<std::mutex> guard(mutex_);
    lines_.push_back(line);
    changed_.notify_all();
}

bool Journal::Await(const std::string& start, size_t times)
{
    std::unique_lock<std::mutex> lock(mutex_);
    bool came = changed_.wait_for(lock, PATIENCE, [&] { return CountLocked(start) >= times; });
    lock.unlock();
    EXPECT_TRUE(came) << "waited for '" << start << "', heard:\n" << Text();
    return came;
}

size_t Journal::CountLocked(const std::string& start) const
{
    return static_cast<size_t>(
        std::count_if(lines_.begin(), lines_.end(), [&](const std::string& line) { return BeginsWith(line, start); }));
}

size_t Journal::Count(const std::string& start) const
{
    std::lock_guard<std::mutex> guard(mutex_);
    return CountLocked(start);
}

std::string Journal::Text() const
{
    std::lock_guard<std::mutex> guard(mutex_);
    std::string text;
    for (const std::string& line : lines_) {
        text += line + "\n";
    }
    return text;
}

void Journal::Clear()
{
    std::lock_guard<std::mutex> guard(mutex_);
    lines_.clear();
}

bool Eventually(const std::function<bool()>& isSo)
{
    auto limit = std::chrono::steady_clock::now() + PATIENCE;
    while (!isSo()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

void Door::Shut()
{
    std::lock_guard<std::mutex> guard(mutex_);
    open_ = false;
}

void Door::Open()
{
    std::lock_guard<std::mutex> guard(mutex_);
    open_ = true;
    opened_.notify_all();
}

void Door::Pass()
{
    std::unique_lock<std::mutex> lock(mutex_);
    opened_.wait(lock, [this] { return open_; });
}

TestDevice::TestDevice(const fs::path& root, const LocalDevice& device, int64_t limitMs)
    : engine({root / "nearby", root / "contacts.json", device, limitMs == 0 ? STALL_LIMIT_MS : limitMs,
          limitMs == 0 ? SWING_FIND_MS : limitMs}),
      inbox(root / ("inbox-" + device.id)), subscriber_(new FoundRecorder(nearby)),
      publisher_(new PublishRecorder(nearby)), receiver_(Around<ReceiveListenerProxy>(new ReceiveListener(*this)))
{
    fs::create_directory(inbox);
    std::string error;
    EXPECT_TRUE(engine.Start(error)) << error;
}

TestDevice::~TestDevice()
{
    engine.Stop();
}

void TestDevice::Publish()
{
    engine.EnableDiscoveryPolicy(1);
    EXPECT_TRUE(engine.RegisterReceiveListener(receiver_));
    EXPECT_TRUE(engine.Publish(publisher_));
    nearby.Await("published 0");
}

void TestDevice::Subscribe()
{
    EXPECT_TRUE(engine.Subscribe(subscriber_));
}

int32_t TestDevice::Accept()
{
    Local::UniqueFd directory(::open(inbox.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return Offer()->Accept(directory.Get(), new Progress(progress));
}

sptr<PelagoReceiver> TestDevice::Offer() const
{
    std::lock_guard<std::mutex> guard(mutex_);
    return offer_;
}

void TestDevice::OnOffer(const sptr<PelagoReceiver>& offer)
{
    {
        std::lock_guard<std::mutex> guard(mutex_);
        offer_ = offer;
    }
    if (acceptAll_) {
        (void)Accept(); // the sender may have ended it by now
    }
}

TransmitParam TestDevice::ParamFor(Sending& sending, const std::string& to) const
{
    TransmitParam param;
    param.deviceId = to;
    param.eventType = sending.event;
    param.callback =
        Around<TransmitCallbackProxy>(new Callback(sending.heard, sending.progressDoor, sending.onProgress));
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
    descriptors_ = OpenDescriptors().size();
}

void EngineTest::TearDown()
{
    EXPECT_TRUE(Eventually([this] { return OpenDescriptors().size() == descriptors_; }))
        << testing::PrintToString(OpenDescriptors());
    EXPECT_TRUE(!fs::exists(Nearby()) || Eventually([this] {
        return std::distance(fs::directory_iterator(Nearby()), fs::directory_iterator()) <= 1; // the lock
    }));
    fs::remove_all(root);
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

std::string ReadAll(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void WriteFile(const fs::path& path, const std::string& text)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

LocalDevice DeviceOf(const std::string& id)
{
    LocalDevice device;
    device.id = id;
    device.name = id + "'s name";
    device.accountHash = "hash-" + id;
    device.capability = CAPABILITY_BYTES;
    device.type = 1;
    return device;
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

std::string ReadUntilClosed(int socket)
{
    std::string all;
    for (;;) {
        pollfd ready{socket, POLLIN, 0};
        if (::poll(&ready, 1, PATIENCE_MS) <= 0) {
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
