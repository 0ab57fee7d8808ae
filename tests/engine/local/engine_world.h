#ifndef PELAGO_TESTS_ENGINE_WORLD_H
#define PELAGO_TESTS_ENGINE_WORLD_H

#include <fcntl.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <sstream>
#include <thread>

#include "engine_handles.h"
#include "engine_listener_proxies.h"
#include "folders.h"
#include "host/faults.h"
#include "host/unique_fd.h"
#include "local_engine.h"
#include "message_parcel.h"
#include "nearby_folder.h"
#include "raw_peer.h"
#include "wait_until.h"

namespace OHOS::Pelago {

inline constexpr size_t BIG = 6'000'000; // more than sockets and pipes hold

// What somebody heard, line by line. Any thread.
class Journal {
public:
    void Add(const std::string& line)
    {
        std::lock_guard guard(mutex_);
        lines_.push_back(line);
    }
    // Waits until a line begins with `start`; a failure that shows all lines, when none does.
    void Await(const std::string& start, size_t times = 1) const
    {
        EXPECT_TRUE(WaitUntil([&] { return Count(start) >= times; })) << "no '" << start << "', heard:\n" << Text();
    }
    // The lines that begin so.
    [[nodiscard]] std::string Text(const std::string& start = {}) const
    {
        std::lock_guard guard(mutex_);
        std::string text;
        for (const std::string& line : lines_) {
            text += line.rfind(start, 0) == 0 ? line + "\n" : "";
        }
        return text;
    }
    [[nodiscard]] size_t Count(const std::string& start) const
    {
        const std::string text = Text(start);
        return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
    }
    void Clear()
    {
        std::lock_guard guard(mutex_);
        lines_.clear();
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

// One send as the service sees it.
struct Sending {
    std::shared_ptr<Journal> heard = std::make_shared<Journal>();
    std::shared_ptr<Journal> percents = std::make_shared<Journal>();
    std::function<void()> onProgress = [] {}; // within the report
    TransmitEventType event = TransmitEventType::ORDINARY;
    int32_t timeoutMs = TRANSMIT_TIMEOUT_MS;
    sptr<PelagoSender> handle;
};

inline LocalDevice DeviceOf(const std::string& id)
{
    return {id, id + "'s name", 1, "hash-" + id, CAPABILITY_BYTES};
}

inline sptr<ShareDevice> Tapped(const std::string& id)
{
    sptr<ShareDevice> device = new ShareDevice();
    device->SetDeviceId(id);
    device->SetDeviceName("what the tap said");
    device->discoveredBy_ = Discoverer::TAP;
    return device;
}

template <typename Code>
bool Is(uint32_t code, Code wanted)
{
    return code == static_cast<uint32_t>(wanted);
}

// A remote object that hands each request to a function.
class Listener : public IPCObjectStub {
public:
    using Hear = std::function<void(uint32_t code, MessageParcel& data)>;
    Listener(const std::u16string& token, Hear hear) : IPCObjectStub(token), hear_(std::move(hear))
    {}
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel&, MessageOption&) override
    {
        EXPECT_EQ(data.ReadInterfaceToken(), GetObjectDescriptor());
        hear_(code, data);
        return 0;
    }

private:
    const Hear hear_;
};

// The proxy through which an engine is to call such an object.
template <typename Proxy>
sptr<Proxy> Hearing(Listener::Hear hear)
{
    return new Proxy(new Listener(Proxy::GetDescriptor(), std::move(hear)));
}

inline std::string Numbers(MessageParcel& data, int count)
{
    std::string line;
    for (int i = 0; i < count; ++i) {
        line += " " + std::to_string(data.ReadInt32());
    }
    return line;
}

inline void HearNearby(Journal& heard, uint32_t code, MessageParcel& data)
{
    if (Is(code, SubscribeListenerCode::ON_SWING_STATUS)) {
        std::string role = Numbers(data, 1);
        std::string id = data.ReadString();
        heard.Add("swing of" + role + id + " ends:" + Numbers(data, 1));
    } else if (!Is(code, SubscribeListenerCode::ON_DISCOVER_RESULT)) {
        EXPECT_NE(data.ReadInt32(), 0);
        sptr<ShareDevice> device = ShareDevice::Unmarshalling(data);
        heard.Add((Is(code, SubscribeListenerCode::ON_DEVICE_FOUND) ? "found " : "lost ") + device->GetDeviceId() +
                  " '" + device->GetDeviceName() + "' contact " + std::to_string(device->GetContactInfo().contactId) +
                  " flags " + std::to_string(device->GetDiscoveredBy()));
    }
}

// The service's end of a transfer: writes down each report.
inline void HearTransfer(const Sending& sending, uint32_t code, MessageParcel& data)
{
    Journal& heard = *sending.heard;
    if (Is(code, TransmitCallbackCode::ON_PROGESS)) {
        sending.percents->Add(std::to_string(data.ReadInt8()));
        sending.onProgress();
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

inline void HearProgress(Journal& heard, uint32_t code, MessageParcel& data)
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

// A device: an engine, everything that listens to it, and a folder for what it receives.
class TestDevice {
public:
    // Limits of time are those of the product, or `limitMs`.
    TestDevice(const fs::path& root, const std::string& id, int64_t limitMs = 0)
        : inbox(root / ("inbox-" + id)),
          subscriber(Hearing<SubscribeListenerProxy>(
              [this](uint32_t code, MessageParcel& data) { HearNearby(nearby, code, data); })),
          publisher_(Hearing<PublishListenerProxy>([this](uint32_t, MessageParcel& data) {
              EXPECT_EQ(data.ReadInt32(), LocalEngine::PUBLISH_ID);
              nearby.Add("published" + Numbers(data, 1));
          })),
          receiver_(
              Hearing<ReceiveListenerProxy>([this](uint32_t code, MessageParcel& data) { OnRequest(code, data); })),
          engine(ConfigOf(root, id, limitMs))
    {
        fs::create_directory(inbox);
        std::string error;
        EXPECT_TRUE(engine.Start(error)) << error;
    }

    void Publish(const std::string& outcome = "published 0")
    {
        engine.EnableDiscoveryPolicy(1);
        EXPECT_TRUE(engine.RegisterReceiveListener(receiver_));
        EXPECT_TRUE(engine.Publish(publisher_));
        if (!outcome.empty()) {
            nearby.Await(outcome);
        }
    }
    void Subscribe()
    {
        EXPECT_TRUE(engine.Subscribe(subscriber));
    }
    [[nodiscard]] int32_t Accept()
    {
        Host::UniqueFd directory(::open(inbox.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        return Offer()->Accept(
            directory.Get(), Hearing<ReceiveProgressProxy>(
                                 [this](uint32_t code, MessageParcel& data) { HearProgress(progress, code, data); }));
    }
    // The last one that was shown.
    [[nodiscard]] sptr<PelagoReceiver> Offer() const
    {
        std::lock_guard guard(mutex_);
        return offer_;
    }

    // Files of these paths, each under its own file name or the one given.
    void Send(Sending& sending, const std::string& to, const std::vector<fs::path>& files, const std::string& name = {})
    {
        SendBean bean;
        std::vector<Host::UniqueFd> owned;
        for (const fs::path& path : files) {
            owned.emplace_back(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
            FileHolder holder;
            holder.fileName_ = name.empty() ? path.filename().string() : name;
            holder.fileFd = owned.back().Get();
            bean.uriList.push_back(holder);
        }
        sending.handle = engine.SendFile(ParamFor(sending, to), bean, "com.example");
        EXPECT_NE(sending.handle, nullptr);
    }
    // One URI, with a preview of so many bytes.
    void SendUri(Sending& sending, const std::string& to, const std::string& uri, size_t previewBytes)
    {
        DataBean bean;
        bean.fileItems.resize(1);
        bean.fileItems[0].fileUri_ = uri;
        bean.thumbnail.assign(previewBytes, 'x');
        sending.handle = engine.SendFile(ParamFor(sending, to), bean, "");
    }
    [[nodiscard]] TransmitParam ParamFor(Sending& sending, const std::string& to) const
    {
        TransmitParam param;
        param.deviceId = to;
        param.eventType = sending.event;
        param.timeoutMs = sending.timeoutMs;
        Sending hears = sending;
        hears.handle = nullptr; // each would hold the other
        param.callback = Hearing<TransmitCallbackProxy>(
            [hears](uint32_t code, MessageParcel& data) { HearTransfer(hears, code, data); });
        return param;
    }

    // What stands in the folder for received files, hidden ones too, sorted.
    [[nodiscard]] std::vector<std::string> Received() const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(inbox)) {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    Journal nearby;         // discovery
    Journal offers;         // the receive listener
    Journal progress;       // of what it accepted
    bool acceptAll = false; // each offer as it comes
    const fs::path inbox;
    sptr<ISubscribeListener> subscriber;

private:
    static LocalEngineConfig ConfigOf(const fs::path& root, const std::string& id, int64_t limitMs)
    {
        LocalEngineConfig config{root / "nearby", root / "contacts.json", DeviceOf(id)};
        if (limitMs != 0) {
            config.stallLimitMs = config.unreadLimitMs = config.swingFindMs = limitMs;
        }
        return config;
    }
    void OnRequest(uint32_t code, MessageParcel& data)
    {
        if (Is(code, ReceiveListenerCode::ON_MOTION_STATE)) {
            offers.Add("motion" + Numbers(data, 3));
            return;
        }
        auto receiver = iface_cast<PelagoReceiver>(data.ReadRemoteObject());
        EXPECT_NE(receiver, nullptr);
        if (Is(code, ReceiveListenerCode::ON_SEND_CANCEL_BEFORE_CONFIRM)) {
            offers.Add("cancelled");
        } else if (Is(code, ReceiveListenerCode::ON_ERROR_BEFORE_CONFIRM)) {
            offers.Add("error" + Numbers(data, 1));
        } else {
            (void)(Is(code, ReceiveListenerCode::ON_RECV_BYTES_INFO) ? data.ReadString() : "");
            RecvPreview preview;
            EXPECT_TRUE(preview.ReadFromParcel(data));
            if (Is(code, ReceiveListenerCode::ON_POP_SWING)) {
                offers.Add(data.ReadBool() ? "dialog" : "no dialog");
            } else {
                OnOffer(receiver, preview);
            }
        }
    }
    void OnOffer(const sptr<PelagoReceiver>& offer, const RecvPreview& preview)
    {
        {
            std::lock_guard guard(mutex_);
            offer_ = offer;
        }
        if (acceptAll) {
            (void)Accept(); // the sender may have ended it by now
        }
        offers.Add("offer from " + preview.GetSenderName() + ": " + std::to_string(preview.GetFileCounter()) +
                   " files, " + std::to_string(preview.GetTotalSize()) + " bytes, " + preview.GetAllFileNameData() +
                   preview.GetBytesData());
    }

    sptr<IPublishListener> publisher_;
    sptr<PelagoReceiveListener> receiver_;
    mutable std::mutex mutex_;
    sptr<PelagoReceiver> offer_;

public:
    LocalEngine engine; // ends first
};

// One line each, but for the timer that the scheduler keeps from its first delayed task on.
inline std::vector<std::string> OpenDescriptors()
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

inline std::string ReadAll(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline void WriteFile(const fs::path& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

// A folder of its own, two devices in it, and a process that is afterwards as it was before.
class EngineTest : public testing::Test {
protected:
    EngineTest()
    {
        std::string error;
        EXPECT_TRUE(folder.Open(nearby, error)) << error;
        descriptors_ = OpenDescriptors().size();
    }
    ~EngineTest() override
    {
        EXPECT_TRUE(WaitUntil([this] { return OpenDescriptors().size() == descriptors_; }))
            << testing::PrintToString(OpenDescriptors());
        folder.RemoveSocket("M", Local::SOCKET_SUFFIX); // the one that is no engine
        EXPECT_TRUE(WaitUntil([this] {                  // only the lock is left
            return CountEntries(nearby) <= 1;
        }));
    }
    void TearDown() override
    {
        sending.handle = nullptr;
        a.reset();
        b.reset();
        Host::Faults::Clear();
    }

    // Makes A, with these limits, and B anew.
    void Start(int64_t limitMs = 0)
    {
        sending = Sending();
        a = nullptr;
        b = nullptr;
        a = std::make_unique<TestDevice>(root, "A", limitMs);
        b = std::make_unique<TestDevice>(root, "B");
    }
    // A sends to B, which shows it.
    void Offer(const std::vector<fs::path>& files)
    {
        a->Send(sending, "B", files);
        sending.heard->Await("status 1012");
    }
    // What the two users do, and wait for, one after the other: the words are in the table there.
    void Act(const std::string& steps)
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
            // A report may be held, and a stop waits for it: the peer hears of the loss before.
            {"go-here",
                [this] {
                    std::thread stopping([this] { a->engine.Stop(); });
                    EXPECT_TRUE(
                        WaitUntil([this] { return b->progress.Count("result") + b->offers.Count("error") > 0; }));
                    held = false;
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
    // What both have heard of the end.
    [[nodiscard]] std::string Ends() const
    {
        return sending.heard->Text("end: ") + "| " + b->offers.Text("cancelled") + b->offers.Text("error") +
               b->progress.Text("result");
    }
    void ExpectNothingLeft()
    {
        EXPECT_TRUE(WaitUntil([this] {
            return a->engine.Counters().sending + b->engine.Counters().accepted + b->engine.Counters().offers == 0;
        }));
        EXPECT_EQ(b->Received(), std::vector<std::string>{});
    }
    [[nodiscard]] fs::path MakeFile(const std::string& name, size_t size) const
    {
        std::string text(size, '\0');
        std::minstd_rand random;
        for (char& c : text) {
            c = static_cast<char>(random() >> 8);
        }
        WriteFile(root / name, text);
        return root / name;
    }
    // A plain socket in the place of a device's, and a plain connection to one.
    [[nodiscard]] Host::UniqueFd Serve(const std::string& id, std::string_view suffix = Local::SOCKET_SUFFIX) const
    {
        Host::UniqueFd listening;
        std::string error;
        EXPECT_TRUE(folder.Serve(id, suffix, listening, error)) << error;
        return listening;
    }
    [[nodiscard]] RawSocket Connect(const std::string& id, std::string_view suffix = Local::SOCKET_SUFFIX) const
    {
        return RawSocket::Connect(nearby / (id + std::string(suffix)));
    }

    const TestFolder testFolder;
    const fs::path root = testFolder.path;
    const fs::path nearby = root / "nearby";
    Local::NearbyFolder folder;
    std::unique_ptr<TestDevice> a;
    std::unique_ptr<TestDevice> b;
    Sending sending;
    std::atomic<bool> held{false};

private:
    size_t descriptors_ = 0;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_ENGINE_WORLD_H
