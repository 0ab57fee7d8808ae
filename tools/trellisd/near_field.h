#ifndef PELAGO_TOOLS_NEAR_FIELD_H
#define PELAGO_TOOLS_NEAR_FIELD_H

#include <chrono>
#include <memory>
#include <string>

#include "device_paths.h"
#include "host/device_control.h"
#include "local_collab.h"
#include "local_engine.h"

namespace OHOS::Pelago::Tools {

// What hands do with this device: touch another one, and swing. Binds the local collaboration framework to the engine,
// which carries its notes and finds the device that a hand points at once the framework shows the content. Owned by the
// daemon and used by its thread; the commands run on the IPC threads that bring them. It knows nothing of what a tap or
// a swing does in the service.
class NearField {
public:
    // How long a command waits for the end of its tap, and for the service to have taken an event.
    static constexpr std::chrono::milliseconds TAP_LIMIT{Synfold::LocalCollab::ANSWER_LIMIT_MS + 1'000};
    static constexpr std::chrono::milliseconds EVENT_LIMIT{10'000};

    // The engine runs.
    NearField(const DeviceCard& card, int32_t type, std::shared_ptr<LocalEngine> engine);

    // From here on the service reaches the framework, and other devices reach it too. False when the engine has ended.
    [[nodiscard]] bool Start();
    // Afterwards the service reaches nothing. A second time nothing happens.
    void Stop();

    // Before the control is published. The commands "swing" [PEER], "tap" PEER and "tap-event" EVENT [JSON], and the
    // section "collab". A peer is the id or the name of a device of this user, as its folder remembers it.
    void AddTo(Host::DeviceControl& control);

    // The service states, texts and taps of now, as one JSON value.
    [[nodiscard]] std::string ViewJson() const;

private:
    [[nodiscard]] Host::ControlAnswer Swing(const Host::Words& words);
    [[nodiscard]] Host::ControlAnswer Tap(const Host::Words& words);
    [[nodiscard]] Host::ControlAnswer Play(const Host::Words& words);
    // The engine's id of the device; else the answer that says why there is none.
    [[nodiscard]] bool Resolve(const std::string& word, std::string& id, Host::ControlAnswer& refusal) const;

    const std::string ownId_;
    const std::shared_ptr<LocalEngine> engine_;
    const std::shared_ptr<Synfold::LocalCollab> collab_;
    std::atomic<uint32_t> lastSwing_{0};
};

} // namespace OHOS::Pelago::Tools

#endif // PELAGO_TOOLS_NEAR_FIELD_H
