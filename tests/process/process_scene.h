#ifndef PELAGO_TESTS_PROCESS_SCENE_H
#define PELAGO_TESTS_PROCESS_SCENE_H

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

#include <gtest/gtest.h>

#include "callback_stubs.h"
#include "host/control_interface.h"
#include "i_trellis_service.h"
#include "wait_until.h"

namespace OHOS::Pelago {

// A child process, ended with its owner. Its standard output and error go to a file.
class Child {
public:
    Child(const std::vector<std::string>& words, const std::filesystem::path& output);
    ~Child(); // SIGKILL, if it still runs
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t Pid() const
    {
        return pid_;
    }
    void Signal(int signal) const;
    void Stop() const; // SIGSTOP; it stands still when this returns
    // Waits for its end: the exit code, or -1 when a signal ended it.
    int Wait();
    std::string Output() const;
    size_t Descriptors() const;
    size_t Threads() const;

private:
    pid_t pid_ = -1;
    bool ended_ = false;
    int code_ = -1;
    const std::filesystem::path output_;
};

// A running device.
class RunningDevice {
public:
    RunningDevice(const std::filesystem::path& home, const std::string& id, const std::string& account = "");

    // The service, through the socket of a token; each call is a connection of its own.
    sptr<ITrellisService> As(const std::string& token) const;
    sptr<IRemoteObject> ServiceObject(const std::string& token) const;
    Host::ControlAnswer Control(const std::vector<std::string>& words) const;
    // A number of the dump, e.g. "sizes", "clients".
    int64_t Dumped(const std::string& section, const std::string& key) const;
    // Whether its dump comes to say all of this, e.g. "\"preparing\":false".
    [[nodiscard]] bool Shows(const std::vector<std::string>& texts) const;
    void SwitchOn() const;
    // The window of a process, or none, comes to the front. The service has heard of it when this returns.
    void Focus(pid_t pid) const;

    const std::string id;
    Child daemon;

private:
    // What the log has said since it was asked last.
    std::string NewLog() const;

    const std::filesystem::path home_;
    mutable std::string lastLine_ = "0"; // the number of the newest line that NewLog has given
};

// A home of its own for each case.
class ProcessScene : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    std::unique_ptr<RunningDevice> NewDevice(const std::string& id, const std::string& account = "") const;
    // `pelago` with these words, as a process of its own.
    std::unique_ptr<Child> Pelago(const std::vector<std::string>& words);
    std::filesystem::path Home() const;
    std::filesystem::path NewFile(const std::string& name, size_t bytes) const;
    std::filesystem::path NewFolder(const std::string& name) const;

private:
    std::filesystem::path home_;
    int children_ = 0;
};

// A callback that remembers the number of clients and counts losses.
class CountingCallback : public TrellisCallbackStub {
public:
    void OnEnableStatusChanged() override
    {
        if (during) {
            during();
        }
    }
    void OnDeviceFound(const ShareDeviceInfo&) override
    {}
    void OnDeviceLost(const ShareDeviceInfo&) override
    {
        ++lost;
    }
    void OnTransStateChange(const ShareDeviceInfo&, int64_t, int64_t, int64_t) override
    {}
    void OnSend(const ShareDeviceInfo&, const SendBean&) override
    {}
    void OnSendBytes(const ShareDeviceInfo&, const BytesInfo&) override
    {}
    void OnCancel(const ShareDeviceInfo&) override
    {}
    void OnSendFile(const ShareDeviceInfo&, const DataBean&) override
    {}
    void OnConnectHub(std::string, int32_t value) override
    {
        count = value;
    }
    void OnCorvaneIdHeadImageReceive(const ShareDeviceInfo&, const std::string&) override
    {}
    void OnThermalLevelChanged(int32_t, int32_t, int8_t, int8_t) override
    {}
    void OnSwingPop(const ShareDeviceInfo&) override
    {}
    void OnReportSwingEvent(int32_t, int32_t, int32_t, const std::string&) override
    {}
    void OnSwitchNotifyComponent(int32_t) override
    {}

    std::function<void()> during;
    std::atomic<int> lost{0};
    std::atomic<int> count{0}; // of clients, as told last
};

class QuietSenderAction : public SenderActionCallbackStub {
public:
    void OnStatusChanged(int8_t) override
    {}
    void OnPreviewReceive(const sptr<PelagoReceiver>&) override
    {}
    void OnSendCancelBeforeConfirm(const sptr<PelagoReceiver>&) override
    {}
    void OnErrorBeforeConfirm(const sptr<PelagoReceiver>&, int32_t) override
    {}
    void OnRecvBytesInfo(
        const sptr<PelagoReceiver>&, const std::string&, int32_t, const std::string&, const std::string&) override
    {}
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_PROCESS_SCENE_H
