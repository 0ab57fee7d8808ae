#include "receiving.h"

#include <chrono>
#include <utility>

#include "callback_stubs.h"
#include "engine_handles.h"
#include "hilog/host_text.h"
#include "host/json_text.h"
#include "interrupt.h"
#include "output.h"

namespace OHOS::Pelago::Tools {
namespace {

using Host::EscapeForTerminal;
using Host::Json;

constexpr struct {
    ReceiveResult result;
    ExitCode code;
    const char* text;
} RESULTS[] = {
    {ReceiveResult::DONE, EXIT_DONE, "received"},
    {ReceiveResult::CANCELLED_BY_SENDER, EXIT_CANCELLED, "the sender cancelled"},
    {ReceiveResult::CANCELLED_HERE, EXIT_CANCELLED, "cancelled"},
    {ReceiveResult::PEER_LOST, EXIT_FAILED, "the sender went away"},
    {ReceiveResult::NO_SPACE, EXIT_NO_SPACE, "no space"},
    {ReceiveResult::IO_ERROR, EXIT_NO_SPACE, "a file could not be written"},
    {ReceiveResult::BAD_NAME, EXIT_FAILED, "the sender gave a name that cannot be used"},
    {ReceiveResult::PROTOCOL, EXIT_FAILED, "the sender does not speak the protocol"},
};

// The course of one receive.
class Progress : public ReceiveProgressStub {
public:
    Progress(const std::string& sender, int64_t total, bool json, std::shared_ptr<Outcome> outcome)
        : bar_(EscapeForTerminal(sender), total), json_(json), outcome_(std::move(outcome))
    {}
    void OnProgress(int64_t bytes, int64_t total, int64_t speed) override
    {
        bar_.Show(total > 0 ? static_cast<int>(bytes * 100 / total) : 100, speed);
    }
    void OnResult(int32_t result, const std::vector<std::string>& names) override
    {
        bar_.End();
        for (const auto& row : RESULTS) {
            if (static_cast<int32_t>(row.result) == result) {
                Print(row.text, names);
                outcome_->Set(row.code);
                return;
            }
        }
        Print("failed", names);
        outcome_->Set(EXIT_FAILED);
    }

private:
    void Print(const char* text, const std::vector<std::string>& names) const
    {
        if (!json_) {
            for (const std::string& name : names) {
                PrintLine(EscapeForTerminal(name));
            }
            Say(text);
            return;
        }
        Json list = Json::Array();
        for (const std::string& name : names) {
            list.Add(name);
        }
        PrintJson(Json::Object().Put("ending", text).Put("names", list).Text());
    }

    ProgressBar bar_;
    const bool json_;
    const std::shared_ptr<Outcome> outcome_;
};

// Hears of the sender while an offer is open.
class SenderAction : public SenderActionCallbackStub {
public:
    explicit SenderAction(std::shared_ptr<Outcome> outcome) : outcome_(std::move(outcome))
    {}
    void OnStatusChanged(int8_t state) override
    {
        Say("the sender's state is " + std::to_string(state));
    }
    void OnPreviewReceive(const sptr<PelagoReceiver>&) override
    {}
    void OnSendCancelBeforeConfirm(const sptr<PelagoReceiver>&) override
    {
        Say("the sender took the offer back");
        outcome_->Set(EXIT_CANCELLED);
    }
    void OnErrorBeforeConfirm(const sptr<PelagoReceiver>&, int32_t errorCode) override
    {
        Say("the offer broke off (" + std::to_string(errorCode) + ")");
        outcome_->Set(EXIT_FAILED);
    }
    void OnRecvBytesInfo(
        const sptr<PelagoReceiver>&, const std::string&, int32_t, const std::string&, const std::string&) override
    {}

private:
    const std::shared_ptr<Outcome> outcome_;
};

} // namespace

void Outcome::Set(ExitCode code)
{
    std::lock_guard<std::mutex> lock(mutex_);
    first_ = first_.value_or(code);
    changed_.notify_all();
}

void Outcome::SetGone()
{
    std::lock_guard<std::mutex> lock(mutex_);
    gone_ = true;
    changed_.notify_all();
}

ExitCode Outcome::Wait(bool once)
{
    std::unique_lock<std::mutex> lock(mutex_);
    while (Interrupts() == 0 && !gone_ && !(once && first_.has_value())) {
        (void)changed_.wait_for(lock, std::chrono::milliseconds(TICK_MS));
    }
    if (once && first_.has_value()) {
        return *first_;
    }
    return gone_ ? EXIT_UNREACHABLE : EXIT_INTERRUPTED;
}

sptr<IReceiveProgress> ShowReceiving(
    const std::string& sender, int64_t total, bool json, const std::shared_ptr<Outcome>& outcome)
{
    return MakeSptr<Progress>(sender, total, json, outcome);
}

sptr<ISenderActionCallback> ShowSender(const std::shared_ptr<Outcome>& outcome)
{
    return MakeSptr<SenderAction>(outcome);
}

} // namespace OHOS::Pelago::Tools
