#ifndef PELAGO_TESTS_RECORDING_EXTENSION_H
#define PELAGO_TESTS_RECORDING_EXTENSION_H

#include <sstream>
#include <type_traits>
#include <variant>

#include "host/ability_host.h"
#include "host/ability_registry.h"
#include "host/device.h"
#include "host/extension_host.h"
#include "recording_client.h"
#include "transfer/corvane_share_manager.h"

namespace OHOS::Pelago {

// The front end's own process: serves its abilities and writes down what each is asked for, one line each, parameters
// by key: "start ShareServiceExtension ShareIntent=connect". Booleans read true and false.
class RecordingExtension : public Host::ExtensionStub {
public:
    Lines TakeHeard()
    {
        return std::exchange(heard_, {});
    }

private:
    static std::string TextOf(const AAFwk::WantParams::Value& value)
    {
        std::ostringstream text;
        const auto write = [&text](const auto& held) {
            if constexpr (std::is_class_v<std::decay_t<decltype(held)>> &&
                          !std::is_convertible_v<decltype(held), std::string>) {
                text << "{}";
            } else {
                text << std::boolalpha << held;
            }
        };
        std::visit(write, value);
        return text.str();
    }
    void OnStart(const AAFwk::Want& want) override
    {
        Hear("start", want);
    }
    sptr<IRemoteObject> OnConnect(const AAFwk::Want& want) override
    {
        Hear("connect", want);
        return new IPCObjectStub(u"front end");
    }
    void OnDisconnect(const AAFwk::Want& want) override
    {
        Hear("disconnect", want);
    }
    void Hear(const std::string& verb, const AAFwk::Want& want)
    {
        std::string line = verb + " " + want.GetElement().GetAbilityName();
        for (const auto& [key, value] : want.GetParams().GetParams()) {
            line += " " + key + "=" + TextOf(value);
        }
        heard_.push_back(line);
    }

    Lines heard_;
};

class TestExtension {
public:
    // Registers at once: make it before what it is to hear.
    TestExtension() : extension_(new RecordingExtension()), process_({3999, 1000, Host::TokenId::EXTENSION})
    {
        EXPECT_TRUE(Host::AbilityRegistry::Instance().Publish());
        sptr<IRemoteObject> root = process_.Connect(Host::AbilityHost::Instance().RootObject());
        EXPECT_EQ(Host::RegisterExtension(Host::SamgrOf(root), FRONT_END_BUNDLE,
                      {ABILITY_SHARE_SERVICE_EXTENSION, ABILITY_SHARE_API_EXTENSION, ABILITY_PERMISSION_EXTENSION,
                          ABILITY_SWING_RECEIVE_CONFIRM, ABILITY_SWING_SEND_CONFIRM},
                      extension_),
            0);
    }

    // What has arrived since the last look, once the test has settled.
    Lines TakeHeard()
    {
        return extension_->TakeHeard();
    }
    Host::LoopbackProcess& Process()
    {
        return process_;
    }

private:
    sptr<RecordingExtension> extension_;
    Host::LoopbackProcess process_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_RECORDING_EXTENSION_H
