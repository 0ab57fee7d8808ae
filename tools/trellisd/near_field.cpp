#include "near_field.h"

#include <chrono>
#include <future>
#include <optional>
#include <utility>
#include <vector>

#include <cJSON.h>

#include "core/trellis_service.h"
#include "host/json_text.h"
#include "host/scheduler.h"

namespace OHOS::Pelago::Tools {
namespace {

using Host::ControlAnswer;
using Host::ControlResult;
using Host::Json;
using Synfold::LocalCollab;
using Synfold::TapStep;

constexpr int32_t GESTURE_TAKE = 0;
constexpr int32_t LIVE_GESTURE = -1; // no process has registered just now
constexpr const char* SWING_SERVICE = "Swing_CorvaneShare";
constexpr int32_t STATE_UNDER_WAY = 2;
constexpr const char* CONTENT_KEY = "showData"; // stands in a state that shows what a swing takes
constexpr size_t MAC_DIGITS = 10;

// A touch that came to nothing is none: the other ends are told to the users of the two devices, and the step says
// them.
constexpr struct {
    TapStep step;
    ControlResult result;
    const char* error;
} FAILED_TAPS[] = {
    {TapStep::UNREACHABLE, ControlResult::UNREACHABLE, "nobody answers there; is it running? Try: pelago devices"},
    {TapStep::NO_ANSWER, ControlResult::FAILED, "the device took the request and did not answer in time"},
};

constexpr struct {
    const char* word;
    Synfold::CollabEvent event;
    size_t words; // behind it
} EVENTS[] = {
    {"knock", Synfold::CollabEvent::KNOCK, 0},
    {"publish", Synfold::CollabEvent::PUBLISH, 1},
    {"deliver", Synfold::CollabEvent::DELIVER, 1},
};

// Notes go by the engine's own channel.
class EngineCarrier final : public Synfold::NoteCarrier {
public:
    explicit EngineCarrier(std::shared_ptr<LocalEngine> engine) : engine_(std::move(engine))
    {}
    void Send(const std::string& peer, const std::string& note, std::function<void(bool taken)> done) override
    {
        if (!engine_->SendNote(peer, note, done)) {
            done(false);
        }
    }

private:
    const std::shared_ptr<LocalEngine> engine_;
};

// A local address of Bluetooth's kind: there is no radio that could have a real one.
std::string MacOf(const std::string& udid)
{
    std::string digits = udid.substr(0, MAC_DIGITS);
    digits.resize(MAC_DIGITS, '0');
    std::string mac = "02";
    for (size_t i = 0; i < MAC_DIGITS; i += 2) {
        mac += ":" + digits.substr(i, 2);
    }
    return mac;
}

bool ShowsContent(const Synfold::ServiceState& state)
{
    if (state.serviceName != SWING_SERVICE || state.state != STATE_UNDER_WAY) {
        return false;
    }
    std::unique_ptr<cJSON, void (*)(cJSON*)> json(
        cJSON_ParseWithLength(state.extraInfo.data(), state.extraInfo.size()), cJSON_Delete);
    return cJSON_GetObjectItemCaseSensitive(json.get(), CONTENT_KEY) != nullptr;
}

// What somebody on another thread tells, once; nothing when it takes too long. Whoever tells may be later than whoever
// waits.
template <typename T>
class Later {
public:
    std::function<void(T)> Teller() const
    {
        return [promise = promise_](T value) { promise->set_value(value); };
    }
    template <typename Duration>
    std::optional<T> Wait(Duration patience) const
    {
        auto future = promise_->get_future();
        return future.wait_for(patience) == std::future_status::ready ? std::optional<T>(future.get()) : std::nullopt;
    }

private:
    const std::shared_ptr<std::promise<T>> promise_ = std::make_shared<std::promise<T>>();
};

} // namespace

NearField::NearField(const DeviceCard& card, int32_t type, std::shared_ptr<LocalEngine> engine)
    : ownId_(card.udid), engine_(std::move(engine)),
      collab_(std::make_shared<LocalCollab>(Synfold::CollabDevice{card.udid, card.name, type, MacOf(card.udid)},
          std::make_shared<EngineCarrier>(engine_)))
{}

bool NearField::Start()
{
    Synfold::InstallCollabBackend(collab_);
    return engine_->ServeNotes(
        [weak = std::weak_ptr<LocalCollab>(collab_)](const std::string& from, const std::string& note) {
            if (auto collab = weak.lock(); collab != nullptr) {
                collab->OnNote(from, note);
            }
        });
}

void NearField::Stop()
{
    Synfold::InstallCollabBackend(nullptr);
    collab_->Close();
}

void NearField::AddTo(Host::DeviceControl& control)
{
    collab_->SetObservers(
        [engine = engine_](const Synfold::ServiceState& state) {
            if (ShowsContent(state)) {
                engine->ShowSwing();
            }
        },
        [object = wptr<Host::DeviceControl>(&control)] {
            if (auto alive = object.promote(); alive != nullptr) {
                alive->Touch();
            }
        });
    control.AddSection("collab", [this] { return ViewJson(); });
    control.AddCommand("swing", [this](const Host::Words& words) { return Swing(words); });
    control.AddCommand("tap", [this](const Host::Words& words) { return Tap(words); });
    control.AddCommand("tap-event", [this](const Host::Words& words) { return Play(words); });
}

std::string NearField::ViewJson() const
{
    Synfold::CollabView view = collab_->View();
    Json states = Json::Array();
    for (const auto& state : view.states) {
        states.Add(Json::Object()
                       .Put("sequence", static_cast<int64_t>(state.sequence))
                       .Put("service", state.serviceName)
                       .Put("state", int64_t{state.state})
                       .Put("extraInfo", state.extraInfo));
    }
    Json texts = Json::Array();
    for (const auto& text : view.texts) {
        texts.Add(Json::Object()
                      .Put("sequence", static_cast<int64_t>(text.sequence))
                      .Put("what", text.what)
                      .Put("peer", text.peer)
                      .Put("text", text.text));
    }
    Json taps = Json::Array();
    for (const auto& tap : view.taps) {
        taps.Add(Json::Object().Put("tap", int64_t{tap.tap}).Put("peer", tap.peer).Put("step", NameOf(tap.step)));
    }
    return Json::Object().Put("states", states).Put("texts", texts).Put("taps", taps).Text();
}

// By the cards that devices of this user have written, running or not: a touch needs no discovery.
bool NearField::Resolve(const std::string& word, std::string& id, ControlAnswer& refusal) const
{
    std::vector<DeviceCard> named;
    for (const std::string& folder : DevicePaths::All()) {
        auto card = DevicePaths(folder).ReadCard();
        if (card.has_value() && (card->id == word || card->udid == word)) {
            named = {*card};
            break;
        }
        if (card.has_value() && card->name == word) {
            named.push_back(*card);
        }
    }
    std::string shown = Host::EscapeForTerminal(word);
    if (named.empty()) {
        refusal = Host::Refuse(ControlResult::NO_SUCH_ENTRY, "no device '" + shown + "'; try: pelago devices");
    } else if (named.size() > 1) {
        refusal = Host::Refuse(
            ControlResult::USAGE, "several devices are called '" + shown + "'; say its id, as pelago devices shows it");
    } else if (named.front().udid == ownId_) {
        refusal = Host::Refuse(ControlResult::USAGE, "'" + shown + "' is this device itself");
    } else {
        id = named.front().udid;
        return true;
    }
    return false;
}

ControlAnswer NearField::Swing(const Host::Words& words)
{
    if (words.size() > 1) {
        return Host::Refuse(ControlResult::USAGE, "swing takes one device at most");
    }
    std::string target;
    ControlAnswer refusal;
    if (!words.empty() && !Resolve(words.front(), target, refusal)) {
        return refusal;
    }
    engine_->AimSwing(target);
    std::string concurrentId = ownId_.substr(0, MAC_DIGITS) + "-" +
                               std::to_string(Host::Scheduler::Instance().WallTimeMs()) + "-" +
                               std::to_string(++lastSwing_);
    TrellisService::NotifyCorvaneShareApiCBOnSwingEvent(GESTURE_TAKE, 0, 0, concurrentId, LIVE_GESTURE);
    return Host::Done(Json::Object().Put("concurrentId", concurrentId).Text());
}

ControlAnswer NearField::Tap(const Host::Words& words)
{
    std::string peer;
    ControlAnswer refusal;
    if (words.size() != 1) {
        return Host::Refuse(ControlResult::USAGE, "tap takes one device");
    }
    if (!Resolve(words.front(), peer, refusal)) {
        return refusal;
    }
    Later<TapStep> end;
    uint32_t tap = collab_->Tap(peer, end.Teller());
    if (tap == 0) {
        return Host::Refuse(ControlResult::FAILED, "too many taps are under way; wait for one of them to end");
    }
    TapStep step = end.Wait(NearField::TAP_LIMIT).value_or(TapStep::NO_ANSWER);
    for (const auto& row : FAILED_TAPS) {
        if (row.step == step) {
            return Host::Refuse(row.result, row.error);
        }
    }
    return Host::Done(Json::Object().Put("tap", int64_t{tap}).Put("step", NameOf(step)).Text());
}

ControlAnswer NearField::Play(const Host::Words& words)
{
    for (const auto& row : EVENTS) {
        if (words.empty() || words.front() != row.word || words.size() != row.words + 1) {
            continue;
        }
        Later<int32_t> result;
        collab_->Play(row.event, row.words == 0 ? "{}" : words.back(), result.Teller());
        auto value = result.Wait(NearField::EVENT_LIMIT);
        return value.has_value() ? Host::Done(Json::Object().Put("result", int64_t{*value}).Text())
                                 : Host::Refuse(ControlResult::FAILED, "the service does not answer");
    }
    return Host::Refuse(ControlResult::USAGE, "usage: pelago sim tap knock|publish JSON|deliver JSON");
}

} // namespace OHOS::Pelago::Tools
