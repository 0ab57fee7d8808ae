#include "extension_launcher.h"

#include <fcntl.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "host/extension_host.h"

namespace OHOS::Host {

namespace {
constexpr int FIRST_OWN_DESCRIPTOR = STDERR_FILENO + 1;

// What a child starts with: a process group, the signals and the standard input of a fresh process.
class SpawnPlan {
public:
    SpawnPlan()
    {
        good_ = posix_spawnattr_init(&attributes_) == 0 && posix_spawn_file_actions_init(&actions_) == 0 && Fill();
    }
    ~SpawnPlan()
    {
        (void)posix_spawn_file_actions_destroy(&actions_); // cannot fail for what was made here
        (void)posix_spawnattr_destroy(&attributes_);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;

    // The pid of the new process, -1 when there is none.
    [[nodiscard]] pid_t Spawn(char* const* argv, char* const* environment) const
    {
        pid_t pid = -1;
        return good_ && posix_spawnp(&pid, argv[0], &actions_, &attributes_, argv, environment) == 0 ? pid : -1;
    }

private:
    [[nodiscard]] bool Fill()
    {
        sigset_t none;
        sigset_t all;
        (void)sigemptyset(&none); // cannot fail for a valid pointer
        (void)sigfillset(&all);
        return posix_spawnattr_setflags(
                   &attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF) == 0 &&
               posix_spawnattr_setpgroup(&attributes_, 0) == 0 &&
               posix_spawnattr_setsigmask(&attributes_, &none) == 0 &&
               posix_spawnattr_setsigdefault(&attributes_, &all) == 0 &&
               posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0) == 0 &&
               posix_spawn_file_actions_addclosefrom_np(&actions_, FIRST_OWN_DESCRIPTOR) == 0;
    }

    posix_spawnattr_t attributes_{};
    posix_spawn_file_actions_t actions_{};
    bool good_ = false;
};

// Our environment with the device's folder in it.
std::vector<std::string> ChildEnvironment(const std::string& deviceFolder)
{
    const std::string name = std::string(DEVICE_FOLDER_VARIABLE) + "=";
    std::vector<std::string> variables;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        if (std::strncmp(*variable, name.c_str(), name.size()) != 0) {
            variables.emplace_back(*variable);
        }
    }
    if (!deviceFolder.empty()) {
        variables.push_back(name + deviceFolder);
    }
    return variables;
}

// The same texts as a process is given them; they must outlive the result.
std::vector<char*> Pointers(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}
} // namespace

ExtensionLauncher::ExtensionLauncher() : book_(std::make_shared<Book>())
{}

bool ExtensionLauncher::Launch(
    const std::string& bundleName, const std::vector<std::string>& argv, const std::string& deviceFolder)
{
    std::vector<std::string> arguments = argv;
    std::vector<std::string> environment = ChildEnvironment(deviceFolder);
    std::lock_guard<std::mutex> guard(book_->mutex); // the watch must not end before the child stands in the book
    if (book_->isClosed || argv.empty()) {
        return false;
    }
    const pid_t pid = SpawnPlan().Spawn(Pointers(arguments).data(), Pointers(environment).data());
    if (pid < 0 || !StartWatching(pid)) {
        return false;
    }
    book_->children.emplace(pid, bundleName);
    return true;
}

bool ExtensionLauncher::StartWatching(pid_t pid)
{
    auto watch = std::make_unique<Watch>(Watch{book_, pid});
    pthread_t thread;
    if (pthread_create(&thread, nullptr, WaitForChild, watch.get()) == 0) {
        (void)watch.release();        // the thread's now
        (void)pthread_detach(thread); // cannot fail for a new thread
        return true;
    }
    (void)kill(-pid, SIGKILL); // nobody would reap it; it is not reaped yet, so the group is there
    (void)waitpid(pid, nullptr, 0);
    return false;
}

void* ExtensionLauncher::WaitForChild(void* watch)
{
    std::unique_ptr<Watch> own(static_cast<Watch*>(watch));
    siginfo_t ended{};
    while (waitid(P_PID, static_cast<id_t>(own->pid), &ended, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
    }
    std::lock_guard<std::mutex> guard(own->book->mutex);
    own->book->children.erase(own->pid);
    (void)waitpid(own->pid, nullptr, 0); // has ended, and is ours
    own->book->shorter.notify_all();
    return nullptr;
}

bool ExtensionLauncher::IsRunning(const std::string& bundleName) const
{
    std::lock_guard<std::mutex> guard(book_->mutex);
    return std::any_of(book_->children.begin(), book_->children.end(),
        [&bundleName](const auto& child) { return child.second == bundleName; });
}

void ExtensionLauncher::StopAll(std::chrono::milliseconds patience)
{
    std::unique_lock<std::mutex> lock(book_->mutex);
    auto allGone = [this] { return book_->children.empty(); };
    book_->isClosed = true;
    SignalAll(*book_, SIGTERM);
    if (!book_->shorter.wait_for(lock, patience, allGone)) {
        SignalAll(*book_, SIGKILL);
        book_->shorter.wait(lock, allGone);
    }
}

void ExtensionLauncher::SignalAll(const Book& book, int signal)
{
    for (const auto& [pid, bundleName] : book.children) {
        (void)kill(-pid, signal); // a group that is gone needs none
    }
}

} // namespace OHOS::Host
