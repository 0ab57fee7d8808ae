#ifndef PELAGO_TESTS_ENGINE_WORLD_H
#define PELAGO_TESTS_ENGINE_WORLD_H

#include <condition_variable>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "local_engine.h"
#include "unique_fd.h"
#include "wait_until.h"

namespace OHOS::Pelago {

namespace fs = std::filesystem;

// What somebody heard, line by line. Any thread.
class Journal {
public:
    void Add(const std::string& line);
    // Waits until a line begins with `start`; false, and a failure that shows all lines, when none does.
    bool Await(const std::string& start, size_t times = 1);
    [[nodiscard]] size_t Count(const std::string& start) const;
    [[nodiscard]] std::string Text() const;
    void Clear();

private:
    mutable std::recursive_mutex mutex_;
    std::condition_variable_any changed_;
    std::vector<std::string> lines_;
};

// A door that is open until somebody shuts it.
class Door {
public:
    void Set(bool open);
    void Pass(); // waits until it is open

private:
    std::mutex mutex_;
    std::condition_variable opened_;
    bool open_ = true;
};

// One send as the service sees it.
struct Sending {
    std::shared_ptr<Journal> heard = std::make_shared<Journal>();
    std::shared_ptr<Journal> percents = std::make_shared<Journal>();
    std::shared_ptr<Door> progressDoor = std::make_shared<Door>(); // each progress passes it
    std::function<void()> onProgress;
    TransmitEventType event = TransmitEventType::ORDINARY;
    sptr<PelagoSender> handle;
};

[[nodiscard]] LocalDevice DeviceOf(const std::string& id);

// A device: an engine, everything that listens to it, and a folder for what it receives.
class TestDevice {
public:
    // Limits of time are those of the product, or `limitMs`.
    TestDevice(const fs::path& root, const std::string& id, int64_t limitMs = 0);

    void Publish(const std::string& outcome = "published 0");
    void Subscribe();
    [[nodiscard]] int32_t Accept();
    [[nodiscard]] sptr<PelagoReceiver> Offer() const; // the last one that was shown

    // Files of these paths, each under its own file name or the one given.
    void Send(Sending& sending, const std::string& to, const std::vector<fs::path>& files, const std::string& name = {},
        int32_t timeoutMs = TRANSMIT_TIMEOUT_MS);
    // One URI, with a preview of so many bytes.
    void SendUri(Sending& sending, const std::string& to, const std::string& uri, size_t previewBytes,
        int32_t timeoutMs = TRANSMIT_TIMEOUT_MS);
    [[nodiscard]] TransmitParam ParamFor(Sending& sending, const std::string& to) const;

    // What stands in the folder for received files, hidden ones too, sorted.
    [[nodiscard]] std::vector<std::string> Received() const;

    Journal nearby;         // discovery
    Journal offers;         // the receive listener
    Journal progress;       // of what it accepted
    bool acceptAll = false; // each offer as it comes
    const fs::path inbox;
    sptr<ISubscribeListener> subscriber;

private:
    void OnRequest(uint32_t code, MessageParcel& data);
    void OnOffer(const sptr<PelagoReceiver>& offer, MessageParcel& data);

    sptr<IPublishListener> publisher_;
    sptr<PelagoReceiveListener> receiver_;
    mutable std::mutex mutex_;
    sptr<PelagoReceiver> offer_;

public:
    LocalEngine engine; // ends first
};

// A folder of its own, two devices in it, and a process that is afterwards as it was before.
class EngineTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Makes A, with these limits, and B anew.
    void Start(int64_t limitMs = 0);
    // A sends to B, which shows it; with `hold` the bytes flow once it is accepted, and the end waits.
    void Offer(const std::vector<fs::path>& files, bool hold = false);
    // What the two users do, and wait for, one after the other: the words are in the table there.
    void Act(const std::string& steps);
    void ExpectNothingLeft();
    [[nodiscard]] fs::path MakeFile(const std::string& name, size_t size) const;

    fs::path root;
    fs::path nearby;
    std::unique_ptr<TestDevice> a;
    std::unique_ptr<TestDevice> b;
    Sending sending;

private:
    size_t descriptors_ = 0;
};

// One line each, but for the timer that the scheduler keeps from its first delayed task on.
[[nodiscard]] std::vector<std::string> OpenDescriptors();
[[nodiscard]] std::string ReadAll(const fs::path& path);
void WriteFile(const fs::path& path, const std::string& text);

// A plain connection to a device's socket, or a plain socket that serves one.
[[nodiscard]] Local::UniqueFd ConnectRaw(const fs::path& socket);
[[nodiscard]] Local::UniqueFd ServeRaw(const fs::path& socket);
void SendRaw(int socket, const std::string& bytes, int fd = -1);
// What comes until the other end closes.
std::string ReadUntilClosed(int socket);

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_ENGINE_WORLD_H
