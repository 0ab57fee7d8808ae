#ifndef PLATFORM_IPC_IREMOTE_BROKER_H
#define PLATFORM_IPC_IREMOTE_BROKER_H

#include <string>

#include "iremote_object.h"
#include "refbase.h"

namespace OHOS {

// Base of every interface that can be called from another process: the stub implements it there, the proxy here.
// Owned by its references. Which threads may call is the interface's own matter.
class IRemoteBroker : public virtual RefBase {
public:
    // The object behind the interface: the stub itself, or the proxy's remote object. Never a new one.
    virtual sptr<IRemoteObject> AsObject() = 0;
};

// Names an interface: stands in its class, and is what requests carry as their token.
#define DECLARE_INTERFACE_DESCRIPTOR(DESCRIPTOR)                                                                       \
    static const std::u16string& GetDescriptor()                                                                       \
    {                                                                                                                  \
        static const std::u16string descriptor = DESCRIPTOR;                                                           \
        return descriptor;                                                                                             \
    }                                                                                                                  \
    static_assert(true, "ends with a semicolon")

// Which proxy class serves which interface. One per process, made on first use and never destroyed, so that it works
// before main and after it. Any thread may call.
class BrokerRegistration {
public:
    using Creator = sptr<IRemoteBroker> (*)(const sptr<IRemoteObject>& object);

    static BrokerRegistration& Get();

    // False when the interface has a proxy class already, which stays.
    bool Register(const std::u16string& descriptor, Creator creator);
    // Takes back what `creator` registered; the registration of another one stays.
    void Unregister(const std::u16string& descriptor, Creator creator);
    // A new proxy of the registered class, null when there is none or `object` is null.
    [[nodiscard]] sptr<IRemoteBroker> NewInstance(const std::u16string& descriptor, const sptr<IRemoteObject>& object);

    BrokerRegistration(const BrokerRegistration&) = delete;
    BrokerRegistration& operator=(const BrokerRegistration&) = delete;

private:
    BrokerRegistration() = default;
    ~BrokerRegistration() = default;
};

// Registers the proxy class PROXY for its interface for as long as it lives. Defined as a static member of PROXY, or at
// namespace scope beside it; works before main.
template <typename PROXY>
class BrokerDelegator {
public:
    BrokerDelegator()
    {
        (void)BrokerRegistration::Get().Register(PROXY::GetDescriptor(), Create); // the first class of a name stays
    }
    ~BrokerDelegator()
    {
        BrokerRegistration::Get().Unregister(PROXY::GetDescriptor(), Create);
    }
    BrokerDelegator(const BrokerDelegator&) = delete;
    BrokerDelegator& operator=(const BrokerDelegator&) = delete;

private:
    static sptr<IRemoteBroker> Create(const sptr<IRemoteObject>& object)
    {
        return sptr<PROXY>::MakeSptr(object);
    }
};

// The interface behind an object: a stub of this process that already is an INTERFACE gives that, anything else a new
// proxy of the registered class. Null for a null object and for an interface without a registered class. Whether a
// remote stub really serves the interface shows at the first request, by its token.
template <typename INTERFACE>
[[nodiscard]] sptr<INTERFACE> iface_cast(const sptr<IRemoteObject>& object)
{
    if (object == nullptr) {
        return nullptr;
    }
    if (!object->IsProxyObject()) {
        if (auto* local = dynamic_cast<INTERFACE*>(object.GetRefPtr()); local != nullptr) {
            return local;
        }
    }
    // Not static_cast: the interface derives virtually from nothing that the broker knows, but may do so later.
    sptr<IRemoteBroker> broker = BrokerRegistration::Get().NewInstance(INTERFACE::GetDescriptor(), object);
    return dynamic_cast<INTERFACE*>(broker.GetRefPtr());
}

} // namespace OHOS

#endif // PLATFORM_IPC_IREMOTE_BROKER_H
