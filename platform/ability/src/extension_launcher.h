#ifndef PLATFORM_ABILITY_EXTENSION_LAUNCHER_H
#define PLATFORM_ABILITY_EXTENSION_LAUNCHER_H

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace OHOS::Host {

/// Starts the commands of bundles, each as the leader of a process group of its own, and reaps them.
///
/// Owned by the ability registry. Any thread. Each living child has a small thread of ours that waits for its end; it
/// shares the book of children and nothing else, so it may outlive the launcher.
///
/// It does not watch what a command leaves in the background: only the process that it started counts.
class ExtensionLauncher {
public:
    ExtensionLauncher();
    ExtensionLauncher(const ExtensionLauncher&) = delete;
    ExtensionLauncher& operator=(const ExtensionLauncher&) = delete;

    /// Starts the command for the bundle, with nothing of ours but standard output and standard error, and with
    /// DEVICE_FOLDER_VARIABLE set unless the folder is empty. False when it cannot be started.
    [[nodiscard]] bool Launch(
        const std::string& bundleName, const std::vector<std::string>& argv, const std::string& deviceFolder);

    /// Whether the process that was started for the bundle lives.
    [[nodiscard]] bool IsRunning(const std::string& bundleName) const;

    /// Starts none any more, asks all groups to end, and makes those end that have not after `patience`. Returns when
    /// all are reaped.
    void StopAll(std::chrono::milliseconds patience);

private:
    // While a pid stands in the book it is not reaped, so that a signal to it cannot meet a stranger.
    struct Book {
        std::mutex mutex;
        std::condition_variable shorter;
        std::map<pid_t, std::string> children; // and the bundle of each
        bool isClosed = false;                 // no more are started
    };
    struct Watch {
        std::shared_ptr<Book> book;
        pid_t pid;
    };

    static void* WaitForChild(void* watch);
    static void SignalAll(const Book& book, int signal);
    [[nodiscard]] bool StartWatching(pid_t pid);

    const std::shared_ptr<Book> book_;
};

} // namespace OHOS::Host

#endif // PLATFORM_ABILITY_EXTENSION_LAUNCHER_H
