#include "scheduler_thread.h"

#include <pthread.h>

namespace OHOS::Host {
namespace {

constexpr size_t KERNEL_NAME_LENGTH = 15;

} // namespace

SignalsBlocked::SignalsBlocked()
{
    sigset_t blocked;
    sigfillset(&blocked);
    for (int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS, SIGPROF}) {
        sigdelset(&blocked, signal);
    }
    pthread_sigmask(SIG_SETMASK, &blocked, &before_);
}

SignalsBlocked::~SignalsBlocked()
{
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

void NameThread(const std::string& name)
{
    pthread_setname_np(pthread_self(), name.substr(0, KERNEL_NAME_LENGTH).c_str());
}

} // namespace OHOS::Host
