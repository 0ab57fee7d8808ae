#ifndef OHOS_HOST_EXTENSION_HOST_H
#define OHOS_HOST_EXTENSION_HOST_H

#include <cstdint>
#include <string>
#include <vector>

#include "ability_manager_errors.h"
#include "if_system_ability_manager.h"
#include "iremote_broker.h"
#include "iremote_stub.h"
#include "want.h"

namespace OHOS::Host {

/// Environment of a process that the daemon starts to serve a bundle: the folder of the device that it is to serve.
inline constexpr const char* DEVICE_FOLDER_VARIABLE = "PELAGO_DEVICE_FOLDER";

/// The registry of the daemon, ability 180: whoever serves abilities of a bundle says so here. Any thread.
class IAbilityRegistry : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.pelago.host.AbilityRegistry");
    enum Code : uint32_t {
        REGISTER_EXTENSION = 1, // string bundle, string vector abilities, object; reply: int32 result
    };
    static constexpr int32_t MAX_ABILITIES = 32; // of one registration
    static constexpr size_t MAX_NAME = 256;      // bytes of a bundle's or an ability's name

    /// Makes the object serve these abilities of the bundle until its process ends; wants that wait for them come
    /// first. An AbilityManagerError; on all but 0 nothing has changed.
    [[nodiscard]] virtual int32_t RegisterExtension(const std::string& bundleName,
        const std::vector<std::string>& abilities, const sptr<IRemoteObject>& extension) = 0;
};

/// What the daemon asks of an extension. Every message is one-way, and they come in the order of the service's calls.
class IExtension : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.pelago.host.Extension");
    enum Code : uint32_t {
        START = 1,      // want
        CONNECT = 2,    // want, object of IConnectAnswer
        DISCONNECT = 3, // the want of the connection
    };
};

/// Where an extension answers one CONNECT, once; whoever has the object may answer.
class IConnectAnswer : public IRemoteBroker {
public:
    DECLARE_INTERFACE_DESCRIPTOR(u"ohos.pelago.host.ConnectAnswer");
    enum Code : uint32_t {
        CONNECTED = 1, // bool whether there is an object, the object; one-way
    };
};

/// Base of an extension: a process derives from it, registers one and has it called by the daemon.
///
/// Held by its process and, once registered, by the daemon, until the process ends. The three calls come on IPC
/// threads, one at a time and in order; they may call the service. A want that cannot be read is answered with an error
/// and never arrives here.
///
/// It does not check who calls: only the daemon has its object.
class ExtensionStub : public IRemoteStub<IExtension> {
public:
    int OnRemoteRequest(uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;

protected:
    /// The service wants something done.
    virtual void OnStart(const AAFwk::Want& want);
    /// The service wants an object to talk to; null refuses, as this base does.
    virtual sptr<IRemoteObject> OnConnect(const AAFwk::Want& want);
    /// The connection that this want made is over.
    virtual void OnDisconnect(const AAFwk::Want& want);

private:
    [[nodiscard]] int Connect(const AAFwk::Want& want, const sptr<IRemoteObject>& answerTo);
};

/// Registers the extension with the daemon that this manager belongs to. As IAbilityRegistry::RegisterExtension;
/// ERR_ABILITY_IPC when the registry cannot be reached.
[[nodiscard]] int32_t RegisterExtension(const sptr<ISystemAbilityManager>& samgr, const std::string& bundleName,
    const std::vector<std::string>& abilities, const sptr<ExtensionStub>& extension);

} // namespace OHOS::Host

#endif // OHOS_HOST_EXTENSION_HOST_H
