#ifndef PELAGO_TESTS_SIMULATED_DEVICE_H
#define PELAGO_TESTS_SIMULATED_DEVICE_H

#include <array>
#include <memory>
#include <string>

#include "callback_stubs.h"
#include "recording_client.h"
#include "scripted_collab.h"
#include "scripted_engine.h"

namespace OHOS::Pelago {

inline constexpr std::array<int32_t, 2> USERS{100, 101};

std::string StateFileOf(int32_t user);

// The device under the service, in manual time: its model, its settings, and what stands in for engine and framework.
// `isFirstLife`: the folder is empty, and the device's set-up counts as finished.
struct SimulatedDevice {
    SimulatedDevice(uint64_t seed, const std::string& folder, bool isFirstLife);
    ~SimulatedDevice();

    // Lets time go by, and everything that falls due in it. False when that does not come to rest.
    [[nodiscard]] static bool Settle(int64_t ms = 0);

    std::shared_ptr<ScriptedEngine> engine;
    std::shared_ptr<ScriptedCollab> collab;
    std::string fault; // why the device cannot be used
};

// What peers say in a tap: the question of one that was touched by us, and the answer to ours.
std::string TapRequest();
std::string TapAnswer(const std::string& peer, int shareState, bool refreshed);

// Answers every event with a send of a text to the device that came with it, as work of its own process.
class AnsweringCallback : public ShareApiCallbackStub {
public:
    AnsweringCallback(TestClient& client, std::string& heard) : client_(client), heard_(heard)
    {}
    void OnShareEventOccurred(int32_t eventId, int32_t cbId, const ShareDeviceInfo& device) override;

private:
    TestClient& client_;
    std::string& heard_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_SIMULATED_DEVICE_H
