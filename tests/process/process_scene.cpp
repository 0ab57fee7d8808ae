#include "process_scene.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cJSON.h>

#include "device_paths.h"
#include "host/ability_host.h"
#include "host/ipc_transport.h"

namespace OHOS::Pelago {
namespace {

namespace fs = std::filesystem;

size_t CountEntries(const std::string& folder)
{
    std::error_code error;
    return static_cast<size_t>(std::distance(fs::directory_iterator(folder, error), fs::directory_iterator()));
}

std::vector<std::string> DaemonWords(const std::string& id, const std::string& account)
{
    std::vector<std::string> words{std::string(BIN_DIR) + "/trellisd", "--id", id, "--name", id};
    if (!account.empty()) {
        words.insert(words.end(), {"--account", account});
    }
    return words;
}

} // namespace

Child::Child(const std::vector<std::string>& words, const fs::path& output) : output_(output)
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

Child::~Child()
{
    if (!ended_) {
        Signal(SIGKILL);
        (void)Wait();
    }
}

void Child::Signal(int signal) const
{
    if (!ended_) {
        (void)::kill(pid_, signal);
    }
}

void Child::Stop() const
{
    Signal(SIGSTOP);
    int status = 0;
    EXPECT_EQ(::waitpid(pid_, &status, WUNTRACED), pid_);
    EXPECT_TRUE(WIFSTOPPED(status));
}

int Child::Wait()
{
    int status = 0;
    if (!ended_ && ::waitpid(pid_, &status, 0) == pid_) {
        ended_ = true;
        code_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    return code_;
}

std::string Child::Output() const
{
    std::ifstream file(output_);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

size_t Child::Descriptors() const
{
    return CountEntries("/proc/" + std::to_string(pid_) + "/fd");
}

size_t Child::Threads() const
{
    return CountEntries("/proc/" + std::to_string(pid_) + "/task");
}

RunningDevice::RunningDevice(const fs::path& home, const std::string& deviceId, const std::string& account)
    : id(deviceId), daemon(DaemonWords(deviceId, account), home / (deviceId + ".out")), home_(home)
{
    EXPECT_TRUE(WaitUntil([this] { return daemon.Output().find("ready") != std::string::npos; })) << daemon.Output();
}

sptr<IRemoteObject> RunningDevice::ServiceObject(const std::string& token) const
{
    std::string error;
    sptr<IRemoteObject> root = Host::ConnectToDaemon(Tools::DevicePaths(id).Socket(token), error);
    EXPECT_NE(root, nullptr) << error;
    return Host::SamgrOf(root)->GetSystemAbility(TRELLIS_SERVICE_ID);
}

sptr<ITrellisService> RunningDevice::As(const std::string& token) const
{
    return iface_cast<ITrellisService>(ServiceObject(token));
}

Host::ControlAnswer RunningDevice::Control(const std::vector<std::string>& words) const
{
    std::string error;
    sptr<IRemoteObject> root = Host::ConnectToDaemon(Tools::DevicePaths(id).Socket("owner"), error);
    return Host::DeviceControlProxy(Host::SamgrOf(root)->GetSystemAbility(Host::AbilityId::DEVICE_CONTROL))
        .Execute(words);
}

int64_t RunningDevice::Dumped(const std::string& section, const std::string& key) const
{
    std::unique_ptr<cJSON, void (*)(cJSON*)> dump(cJSON_Parse(Control({"dump"}).json.c_str()), cJSON_Delete);
    const cJSON* value =
        cJSON_GetObjectItemCaseSensitive(cJSON_GetObjectItemCaseSensitive(dump.get(), section.c_str()), key.c_str());
    return cJSON_IsNumber(value) ? value->valueint : -1;
}

bool RunningDevice::Shows(const std::vector<std::string>& texts) const
{
    return WaitUntil([&] {
        const std::string dump = Control({"dump"}).json;
        return std::all_of(texts.begin(), texts.end(),
            [&dump](const std::string& text) { return dump.find(text) != std::string::npos; });
    });
}

void RunningDevice::SwitchOn() const
{
    sptr<ITrellisService> service = As("owner");
    ASSERT_TRUE(service->SetShareEnableWithConfirm(1, 2, false, false));
    ASSERT_TRUE(WaitUntil([&service] { return service->IsEnabled(); }));
}

// Told after the command, the service says so in its log.
void RunningDevice::Focus(pid_t pid) const
{
    (void)Control({"sim", "focus", "none"}); // so that there is something to hear in any case
    (void)NewLog();
    const Host::ControlAnswer answer = Control({"sim", "focus", pid == 0 ? "none" : std::to_string(pid)});
    EXPECT_EQ(answer.result, Host::ControlResult::DONE) << answer.error;
    EXPECT_TRUE(pid == 0 || WaitUntil([this] { return NewLog().find(" OnFocused#") != std::string::npos; }));
}

std::string RunningDevice::NewLog() const
{
    const std::string number = "{\"seq\":";
    std::string log = Control({"log", lastLine_}).json;
    if (const size_t last = log.rfind(number); last != std::string::npos) {
        lastLine_ = std::to_string(std::atoi(log.c_str() + last + number.size()));
    }
    return log;
}

void ProcessScene::SetUp()
{
    std::string pattern = "/tmp/pelago-test.XXXXXX"; // short: sockets have little room
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    home_ = pattern;
    ASSERT_EQ(::setenv("PELAGO_HOME", pattern.c_str(), 1), 0);
}

void ProcessScene::TearDown()
{
    EXPECT_TRUE(Host::DisconnectFromDaemons());
    fs::remove_all(home_);
}

std::unique_ptr<RunningDevice> ProcessScene::NewDevice(const std::string& id, const std::string& account) const
{
    return std::make_unique<RunningDevice>(home_, id, account);
}

std::unique_ptr<Child> ProcessScene::Pelago(const std::vector<std::string>& words)
{
    std::vector<std::string> all{std::string(BIN_DIR) + "/pelago"};
    all.insert(all.end(), words.begin(), words.end());
    return std::make_unique<Child>(all, home_ / ("pelago." + std::to_string(++children_)));
}

fs::path ProcessScene::Home() const
{
    return home_;
}

fs::path ProcessScene::NewFile(const std::string& name, size_t bytes) const
{
    fs::path path = home_ / name;
    std::ofstream file(path, std::ios::binary);
    std::string block(1 << 20, '\0');
    for (size_t i = 0; i < block.size(); ++i) {
        block[i] = static_cast<char>(i * 31 + name.size());
    }
    for (size_t left = bytes; left > 0;) {
        size_t part = std::min(left, block.size());
        file.write(block.data(), static_cast<std::streamsize>(part));
        left -= part;
    }
    return path;
}

fs::path ProcessScene::NewFolder(const std::string& name) const
{
    fs::create_directories(home_ / name);
    return home_ / name;
}

} // namespace OHOS::Pelago
