#ifndef PELAGO_TESTS_SCRIPT_H
#define PELAGO_TESTS_SCRIPT_H

#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace OHOS::Pelago {

// What a stand-in has been asked, and what it is to refuse. Any thread.
class Script {
public:
    // What has been asked since the last look: each request with its most telling argument.
    std::vector<std::string> TakeJournal()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::exchange(journal_, {});
    }
    // The same as one text, separated by ", ".
    std::string TakeAsked()
    {
        std::string text;
        for (const std::string& line : TakeJournal()) {
            text += (text.empty() ? "" : ", ") + line;
        }
        return text;
    }

protected:
    // The next `times` requests of this name give `result`; -1 for all.
    void RefuseWith(const std::string& operation, int32_t result, int times)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        refusals_[operation] = {result, times};
    }
    // Writes the request down, and gives its result: 0, when it is not to be refused.
    int32_t Take(const std::string& operation, const std::string& details = "")
    {
        std::lock_guard<std::mutex> lock(mutex_);
        journal_.push_back(operation + (details.empty() ? "" : " " + details));
        Refusal& refusal = refusals_[operation];
        if (refusal.times == 0) {
            return 0;
        }
        refusal.times -= refusal.times > 0 ? 1 : 0;
        return refusal.result;
    }

    bool IsRefused(const std::string& operation)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return refusals_[operation].times != 0;
    }

    mutable std::mutex mutex_; // of what is below, here and in the stand-in: requests come from many threads

private:
    struct Refusal {
        int32_t result = 0;
        int times = 0;
    };

    std::vector<std::string> journal_;
    std::map<std::string, Refusal> refusals_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_SCRIPT_H
