#include "recording_extension.h"

#include <type_traits>
#include <utility>
#include <variant>

#include <gtest/gtest.h>

#include "host/ability_host.h"
#include "host/ability_registry.h"
#include "host/device.h"
#include "transfer/corvane_share_manager.h"

namespace OHOS::Pelago {
namespace {

std::string TextOf(const AAFwk::WantParams::Value& value)
{
    return std::visit(
        [](const auto& held) -> std::string {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, bool>) {
                return held ? "true" : "false";
            } else if constexpr (std::is_same_v<Held, std::string>) {
                return held;
            } else if constexpr (std::is_integral_v<Held>) {
                return std::to_string(held);
            } else {
                return "{}";
            }
        },
        value);
}

} // namespace

Lines RecordingExtension::TakeHeard()
{
    return std::exchange(heard_, {});
}

void RecordingExtension::Hear(const std::string& verb, const AAFwk::Want& want)
{
    std::string line = verb + " " + want.GetElement().GetAbilityName();
    for (const auto& [key, value] : want.GetParams().GetParams()) {
        line += " " + key + "=" + TextOf(value);
    }
    heard_.push_back(line);
}

void RecordingExtension::OnStart(const AAFwk::Want& want)
{
    Hear("start", want);
}

sptr<IRemoteObject> RecordingExtension::OnConnect(const AAFwk::Want& want)
{
    Hear("connect", want);
    return new IPCObjectStub(u"front end");
}

void RecordingExtension::OnDisconnect(const AAFwk::Want& want)
{
    Hear("disconnect", want);
}

TestExtension::TestExtension() : extension_(new RecordingExtension()), process_({3999, 1000, Host::TokenId::EXTENSION})
{
    EXPECT_TRUE(Host::AbilityRegistry::Instance().Publish());
    sptr<IRemoteObject> root = process_.Connect(Host::AbilityHost::Instance().RootObject());
    EXPECT_EQ(Host::RegisterExtension(Host::SamgrOf(root), FRONT_END_BUNDLE,
                  {ABILITY_SHARE_SERVICE_EXTENSION, ABILITY_SHARE_API_EXTENSION, ABILITY_PERMISSION_EXTENSION,
                      ABILITY_SWING_RECEIVE_CONFIRM, ABILITY_SWING_SEND_CONFIRM},
                  extension_),
        0);
}

Lines TestExtension::TakeHeard()
{
    return extension_->TakeHeard();
}

Host::LoopbackProcess& TestExtension::Process()
{
    return process_;
}

} // namespace OHOS::Pelago
