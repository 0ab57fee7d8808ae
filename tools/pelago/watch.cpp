#include "watch.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>

#include "output.h"

namespace OHOS::Pelago::Tools {
namespace {

using JsonValue = std::unique_ptr<cJSON, void (*)(cJSON*)>;

constexpr int64_t FIRST_LOOK_MS = 1000; // in which the state as it is comes, also to who waits for no change

} // namespace

void WatchQueue::OnChanged(const std::string& json)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (waiting_.size() == MAX_WAITING) {
        waiting_.pop_front();
        ++dropped_;
    }
    waiting_.push_back(json);
    changed_.notify_one();
}

void WatchQueue::Close()
{
    std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    changed_.notify_one();
}

std::optional<std::string> WatchQueue::Take(int64_t untilMs)
{
    std::unique_lock<std::mutex> lock(mutex_);
    auto ready = [this] { return !waiting_.empty() || closed_; };
    if (untilMs < 0) {
        changed_.wait(lock, ready);
    } else {
        (void)changed_.wait_for(lock, std::chrono::milliseconds(std::max<int64_t>(0, untilMs - NowMs())), ready);
    }
    if (waiting_.empty()) {
        return std::nullopt;
    }
    std::string json = std::move(waiting_.front());
    waiting_.pop_front();
    return json;
}

size_t WatchQueue::TakeDropped()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(dropped_, 0);
}

ExitCode StartWatching(const Context& context, Observation& observation)
{
    sptr<IRemoteObject> control;
    if (ExitCode code = OpenControl(context, control); code != EXIT_DONE) {
        return code;
    }
    observation.queue = new WatchQueue();
    if (!CallWhenGone(control, [queue = observation.queue] { queue->Close(); })) {
        return DeviceHasGone();
    }
    observation.control = new Host::DeviceControlProxy(control);
    Host::ControlResult result = observation.control->Watch(observation.queue);
    if (result != Host::ControlResult::DONE) {
        Complain(result == Host::ControlResult::LIMIT ? "as many observe the device as may; end one of them"
                                                      : "the device cannot be observed; see: pelago log");
    }
    return static_cast<ExitCode>(result);
}

ExitCode WaitForState(const Context& context, const std::string& section,
    const std::function<bool(const cJSON* state)>& wanted, int seconds)
{
    Observation observation;
    if (ExitCode code = StartWatching(context, observation); code != EXIT_DONE) {
        return code;
    }
    int64_t until = NowMs() + std::max<int64_t>(seconds * 1000LL, FIRST_LOOK_MS);
    while (auto message = observation.queue->Take(until)) {
        JsonValue json(cJSON_Parse(message->c_str()), cJSON_Delete);
        const cJSON* name = cJSON_GetObjectItemCaseSensitive(json.get(), "section");
        if (cJSON_IsString(name) && section == name->valuestring &&
            wanted(cJSON_GetObjectItemCaseSensitive(json.get(), "state"))) {
            if (context.json) {
                PrintJson(*message);
            }
            return EXIT_DONE;
        }
    }
    return NowMs() >= until ? EXIT_TIMED_OUT : DeviceHasGone();
}

} // namespace OHOS::Pelago::Tools
