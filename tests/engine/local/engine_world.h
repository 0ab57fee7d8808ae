#ifndef PELAGO_TESTS_ENGINE_WORLD_H
#define PELAGO_TESTS_ENGINE_WORLD_H

#include <algorithm>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "local_engine.h"
#include "unique_fd.h"

namespace OHOS::Pelago {

// What somebody heard, line by line. Any thread.
class Journal {
public:
    void Add(const std::string& line);
    // Waits until a line begins with `start`; false, and a failure that shows all lines, when none does in a minute.
    bool Await(const std::string& start, size_t times = 1);
    [[nodiscard]] size_t Count(const std::string& start) const;
    [[nodiscard]] std::string Text() const;
    void Clear();

private:
    [[nodiscard]] size_t CountLocked(const std::string& start) const;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> lines_;
};

// Waits until it is so, by asking again; false after a minute.
bool Eventually(const std::function<bool()>& isSo);

// A door that is open until somebody shuts it.
class Door {
public:
    void Shut();
    void Open();
    void Pass(); // waits until it is open

private:
    std::mutex mutex_;
    std::condition_variable opened_;
    bool open_ = true;
};

// One send as the service sees it.
struct Sending {
    std::shared_ptr<Journal> heard = std::make_shared<Journal>();
    std::shared_ptr<Door> progressDoor = std::make_shared<Door>(); // each progress passes it
    std::function<void()> onProgress;
    TransmitEventType event = TransmitEventType::ORDINARY;
    sptr<PelagoSender> handle;
};

// A device: an engine, everything that listens to it, and a folder for what it receives.
class TestDevice {
public:
    // Limits of time are those of the product, or `limitMs`.
    TestDevice(const std::filesystem::path& root, const LocalDevice& device, int64_t limitMs = 0);
    ~TestDevice();

    void Publish();
    void Subscribe();
    // Accepts each offer as it comes.
    void AcceptAll()
    {
        acceptAll_ = true;
    }
    [[nodiscard]] int32_t Accept();
    [[nodiscard]] sptr<PelagoReceiver> Offer() const; // the last one that was shown
    void OnOffer(const sptr<PelagoReceiver>& offer);

    // Files of these paths, each under its own file name or the one given.
    void Send(Sending& sending, const std::string& to, const std::vector<std::filesystem::path>& files,
        const std::string& name = {}, int32_t timeoutMs = TRANSMIT_TIMEOUT_MS);
    [[nodiscard]] TransmitParam ParamFor(Sending& sending, const std::string& to) const;

    // What stands in the folder for received files, hidden ones too, sorted.
    [[nodiscard]] std::vector<std::string> Received() const;

    [[nodiscard]] const sptr<ISubscribeListener>& Subscriber() const
    {
        return subscriber_;
    }
    [[nodiscard]] const sptr<IPublishListener>& Publisher() const
    {
        return publisher_;
    }

    Journal nearby;   // discovery
    Journal offers;   // the receive listener
    Journal progress; // of what it accepted
    LocalEngine engine;
    const std::filesystem::path inbox;

private:
    sptr<ISubscribeListener> subscriber_;
    sptr<IPublishListener> publisher_;
    sptr<PelagoReceiveListener> receiver_;
    mutable std::mutex mutex_;
    sptr<PelagoReceiver> offer_;
    bool acceptAll_ = false;
};

// A folder of its own, and a process that is afterwards as it was before.
class EngineTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    [[nodiscard]] std::filesystem::path Nearby() const
    {
        return root / "nearby";
    }
    std::filesystem::path MakeFile(const std::string& name, size_t size) const;

    std::filesystem::path root;

private:
    size_t descriptors_ = 0;
};

[[nodiscard]] std::string ReadAll(const std::filesystem::path& path);
void WriteFile(const std::filesystem::path& path, const std::string& text);
[[nodiscard]] LocalDevice DeviceOf(const std::string& id);

// A plain connection to a device's socket, or a plain socket that serves one.
[[nodiscard]] Local::UniqueFd ConnectRaw(const std::filesystem::path& socket);
[[nodiscard]] Local::UniqueFd ServeRaw(const std::filesystem::path& socket);
// What comes until the other end closes; a minute at most.
[[nodiscard]] std::string ReadUntilClosed(int socket);

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_ENGINE_WORLD_H
