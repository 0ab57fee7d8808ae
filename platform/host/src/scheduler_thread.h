#ifndef PLATFORM_HOST_SCHEDULER_THREAD_H
#define PLATFORM_HOST_SCHEDULER_THREAD_H

#include <csignal>
#include <string>

namespace OHOS::Host {

// Threads that are started while it lives get no signals but those that their own faults raise: the others are for
// main.
class SignalsBlocked {
public:
    SignalsBlocked();
    ~SignalsBlocked();
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t before_;
};

// Names the calling thread, by the first 15 bytes, for debuggers and process lists.
void NameThread(const std::string& name);

} // namespace OHOS::Host

#endif // PLATFORM_HOST_SCHEDULER_THREAD_H
