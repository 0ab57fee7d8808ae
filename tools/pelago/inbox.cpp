#include "inbox.h"

#include <atomic>
#include <chrono>
#include <csignal>

#include <semaphore.h>

#include "output.h"

namespace OHOS::Pelago::Tools {
namespace {

constexpr int64_t MS_PER_SECOND = 1000;
constexpr int64_t NS_PER_MS = 1000000;

// Posted when there may be something to do: what a signal handler may do too.
sem_t g_wake;
std::atomic<bool> g_ended{false};
std::atomic<bool> g_interrupted{false};

void OnSignal(int)
{
    g_interrupted = true;
    g_ended = true;
    (void)::sem_post(&g_wake); // fails only when it is awake already, two thousand million times over
}

// Both come back early when something may have happened; who calls looks again.
void SleepUntilWoken()
{
    (void)::sem_wait(&g_wake);
}

void SleepUntil(int64_t untilMs)
{
    timespec until{untilMs / MS_PER_SECOND, untilMs % MS_PER_SECOND * NS_PER_MS};
    (void)::sem_clockwait(&g_wake, CLOCK_MONOTONIC, &until);
}

} // namespace

Inbox::Inbox()
{
    (void)::sem_init(&g_wake, 0, 0); // fails only for a wild start value
    (void)std::signal(SIGINT, OnSignal);
    (void)std::signal(SIGTERM, OnSignal);
}

void Inbox::Put(ShareEvent event)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        events_.push_back(std::move(event));
    }
    (void)::sem_post(&g_wake);
}

std::optional<ShareEvent> Inbox::Take()
{
    while (!g_ended) {
        std::unique_lock<std::mutex> lock(mutex_);
        if (events_.empty()) {
            lock.unlock();
            SleepUntilWoken();
            continue;
        }
        int64_t dueMs = events_.front().answerAtMs;
        if (dueMs > NowMs()) {
            lock.unlock();
            SleepUntil(dueMs);
            continue;
        }
        ShareEvent event = std::move(events_.front());
        events_.pop_front();
        return event;
    }
    return std::nullopt;
}

void Inbox::End()
{
    g_ended = true;
    (void)::sem_post(&g_wake);
}

bool Inbox::WasInterrupted() const
{
    return g_interrupted;
}

void Inbox::Hold(int64_t milliseconds)
{
    std::unique_lock<std::mutex> lock(mutex_);
    (void)released_.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return release_; });
}

void Inbox::Release()
{
    std::lock_guard<std::mutex> lock(mutex_);
    release_ = true;
    released_.notify_all();
}

} // namespace OHOS::Pelago::Tools
