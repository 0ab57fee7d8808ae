#ifndef PELAGO_TESTS_PROCESS_SCENE_H
#define PELAGO_TESTS_PROCESS_SCENE_H

#include <algorithm>
#include <atomic>
#include <csignal>
#include <fstream>

#include <cJSON.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "device_paths.h"
#include "folders.h"
#include "host/ability_host.h"
#include "host/control_interface.h"
#include "host/ipc_transport.h"
#include "recording_client.h"
#include "wait_until.h"

namespace OHOS::Pelago {

inline int FromEnvironment(const char* name, int otherwise)
{
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : std::atoi(text);
}

// A child process, ended with its owner. Its standard output and error go to a file.
class Child {
public:
    Child(const std::vector<std::string>& words, const fs::path& output) : output_(output)
    {
        std::vector<char*> arguments;
        for (const std::string& word : words) {
            arguments.push_back(const_cast<char*>(word.c_str()));
        }
        arguments.push_back(nullptr);
        (void)fs::remove(output_); // what an earlier child said there is not this one's
        pid_ = ::fork();
        if (pid_ == 0) {
            int file = ::open(output_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
            (void)::dup2(file, STDOUT_FILENO);
            (void)::dup2(file, STDERR_FILENO);
            (void)::execv(arguments[0], arguments.data());
            ::_exit(127);
        }
    }
    ~Child() // SIGKILL, if it still runs
    {
        if (!ended_) {
            Signal(SIGKILL);
            (void)Wait();
        }
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t Pid() const
    {
        return pid_;
    }
    void Signal(int signal) const
    {
        if (!ended_) {
            (void)::kill(pid_, signal);
        }
    }
    void Stop() const // SIGSTOP; it stands still when this returns
    {
        Signal(SIGSTOP);
        int status = 0;
        EXPECT_EQ(::waitpid(pid_, &status, WUNTRACED), pid_);
        EXPECT_TRUE(WIFSTOPPED(status));
    }
    // Waits for its end: the exit code, or -1 when a signal ended it.
    int Wait()
    {
        int status = 0;
        if (!ended_ && ::waitpid(pid_, &status, 0) == pid_) {
            ended_ = true;
            code_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        }
        return code_;
    }
    std::string Output() const
    {
        std::ifstream file(output_);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    // Waits until it has said this, behind the first `from` bytes of its output.
    void Await(const std::string& text, size_t from = 0) const
    {
        EXPECT_TRUE(WaitUntil([&] { return Output().find(text, from) != std::string::npos; }))
            << "waited for '" << text << "' in:\n"
            << Output().substr(from);
    }
    size_t Descriptors() const
    {
        return CountEntries("/proc/" + std::to_string(pid_) + "/fd");
    }
    size_t Threads() const
    {
        return CountEntries("/proc/" + std::to_string(pid_) + "/task");
    }

private:
    pid_t pid_ = -1;
    bool ended_ = false;
    int code_ = -1;
    const fs::path output_;
};

// A running device.
class RunningDevice {
public:
    RunningDevice(const fs::path& home, const std::string& deviceId, const std::string& account)
        : id(deviceId), daemon({std::string(BIN_DIR) + "/trellisd", "--id", id, "--name", id, "--account", account},
                            home / (id + ".out")),
          home_(home)
    {
        daemon.Await("ready");
    }

    // The service, through the socket of a token; each call is a connection of its own.
    sptr<ITrellisService> As(const std::string& token) const
    {
        return iface_cast<ITrellisService>(ServiceObject(token));
    }
    sptr<IRemoteObject> ServiceObject(const std::string& token) const
    {
        std::string error;
        sptr<IRemoteObject> root = Host::ConnectToDaemon(Tools::DevicePaths(id).Socket(token), error);
        EXPECT_NE(root, nullptr) << error;
        return Host::SamgrOf(root)->GetSystemAbility(TRELLIS_SERVICE_ID);
    }
    Host::ControlAnswer Control(const std::vector<std::string>& words) const
    {
        std::string error;
        sptr<IRemoteObject> root = Host::ConnectToDaemon(Tools::DevicePaths(id).Socket("owner"), error);
        return Host::DeviceControlProxy(Host::SamgrOf(root)->GetSystemAbility(Host::AbilityId::DEVICE_CONTROL))
            .Execute(words);
    }
    // A number of the dump, e.g. "sizes", "clients".
    int64_t Dumped(const std::string& section, const std::string& key) const
    {
        std::unique_ptr<cJSON, void (*)(cJSON*)> dump(cJSON_Parse(Control({"dump"}).json.c_str()), cJSON_Delete);
        const cJSON* value = cJSON_GetObjectItemCaseSensitive(
            cJSON_GetObjectItemCaseSensitive(dump.get(), section.c_str()), key.c_str());
        return cJSON_IsNumber(value) ? value->valueint : -1;
    }
    // Whether its dump comes to say all of this, e.g. "\"preparing\":false".
    [[nodiscard]] bool Shows(const std::vector<std::string>& texts) const
    {
        return WaitUntil([&] {
            const std::string dump = Control({"dump"}).json;
            return std::all_of(texts.begin(), texts.end(),
                [&dump](const std::string& text) { return dump.find(text) != std::string::npos; });
        });
    }
    void SwitchOn() const
    {
        sptr<ITrellisService> service = As("owner");
        ASSERT_TRUE(service->SetShareEnableWithConfirm(1, 2, false, false));
        ASSERT_TRUE(WaitUntil([&service] { return service->IsEnabled(); }));
    }
    // The window of a process, or none, comes to the front. The service has heard of it when this returns: told after
    // the command, it says so in its log.
    void Focus(pid_t pid) const
    {
        (void)Control({"sim", "focus", "none"}); // so that there is something to hear in any case
        (void)NewLog();
        const Host::ControlAnswer answer = Control({"sim", "focus", pid == 0 ? "none" : std::to_string(pid)});
        EXPECT_EQ(answer.result, Host::ControlResult::DONE) << answer.error;
        EXPECT_TRUE(pid == 0 || WaitUntil([this] { return NewLog().find(" OnFocused#") != std::string::npos; }));
    }

    const std::string id;
    Child daemon;

private:
    // What the log has said since it was asked last.
    std::string NewLog() const
    {
        const std::string number = "{\"seq\":";
        std::string log = Control({"log", lastLine_}).json;
        if (const size_t last = log.rfind(number); last != std::string::npos) {
            lastLine_ = std::to_string(std::atoi(log.c_str() + last + number.size()));
        }
        return log;
    }

    const fs::path home_;
    mutable std::string lastLine_ = "0"; // the number of the newest line that NewLog has given
};

// A home of its own for each case, from before the members of the case are made until they have gone.
class ProcessScene : public testing::Test {
protected:
    ~ProcessScene() override
    {
        EXPECT_TRUE(Host::DisconnectFromDaemons());
    }

    std::unique_ptr<RunningDevice> NewDevice(const std::string& id, const std::string& account = "") const
    {
        return std::make_unique<RunningDevice>(home_, id, account);
    }
    // `pelago` with these words, as a process of its own.
    std::unique_ptr<Child> Pelago(const std::vector<std::string>& words)
    {
        std::vector<std::string> all{std::string(BIN_DIR) + "/pelago"};
        all.insert(all.end(), words.begin(), words.end());
        return std::make_unique<Child>(all, home_ / ("pelago." + std::to_string(++children_)));
    }
    fs::path Home() const
    {
        return home_;
    }
    // Of this size; behind its name it holds zeros.
    fs::path NewFile(const std::string& name, size_t bytes) const
    {
        std::ofstream(home_ / name) << name;
        fs::resize_file(home_ / name, bytes);
        return home_ / name;
    }
    fs::path NewFolder(const std::string& name) const
    {
        fs::create_directories(home_ / name);
        return home_ / name;
    }

private:
    const TestFolder folder_;
    const fs::path home_ = folder_.path;
    const int isHome_ = ::setenv("PELAGO_HOME", home_.c_str(), 1);
    int children_ = 0;
};

// An application's callback that hands on what it is told.
class ApiCallback : public ShareApiCallbackStub {
public:
    using Hear = std::function<void(int32_t cbId, const ShareDeviceInfo& device)>;
    explicit ApiCallback(Hear hear) : hear_(std::move(hear))
    {}
    void OnShareEventOccurred(int32_t, int32_t cbId, const ShareDeviceInfo& device) override
    {
        hear_(cbId, device);
    }

private:
    const Hear hear_;
};

// A callback that remembers the number of clients and counts losses.
class CountingCallback : public RecordingCallback {
public:
    void OnDeviceLost(const ShareDeviceInfo&) override
    {
        ++lost;
    }
    void OnConnectHub(std::string, int32_t value) override
    {
        count = value;
    }

    std::atomic<int> lost{0};
    std::atomic<int> count{0}; // of clients, as told last
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_PROCESS_SCENE_H
