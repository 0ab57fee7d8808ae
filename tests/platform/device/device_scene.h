#ifndef PELAGO_TESTS_DEVICE_SCENE_H
#define PELAGO_TESTS_DEVICE_SCENE_H

#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "host/device.h"
#include "host/faults.h"
#include "host/scheduler.h"

namespace OHOS::Host {

inline constexpr int64_t LONG_ENOUGH_MS = 60'000;

// The device in manual time, and the events that it publishes: the last word of each action, and its code.
class DeviceScene : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(Scheduler::Instance().UseManualTime());
        device.SetEventSink([this](const DeviceEvent& event) {
            heard += event.action.substr(event.action.rfind('.') + 1) + " " + std::to_string(event.code) + "; ";
        });
    }

    std::string HeardAfter(int64_t ms)
    {
        EXPECT_TRUE(Scheduler::Instance().Advance(ms));
        return std::exchange(heard, "");
    }
    void Given(WifiMode wifi, BluetoothMode bluetooth)
    {
        device.SwitchWifi(wifi);
        device.SwitchBluetooth(bluetooth);
        (void)HeardAfter(LONG_ENOUGH_MS); // the way there is another test's
    }

    Device& device = Device::Instance();
    std::string heard;
};

} // namespace OHOS::Host

#endif // PELAGO_TESTS_DEVICE_SCENE_H
