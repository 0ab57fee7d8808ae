#ifndef PLATFORM_IPC_REMOTE_PROXY_H
#define PLATFORM_IPC_REMOTE_PROXY_H

#include <cstdint>
#include <vector>

#include "iremote_object.h"
#include "link.h"

namespace OHOS::Ipc {

// A stub of another process, reached through a Link. Made by the link's ObjectTable alone, so that one object has one
// proxy; owned by its references, keeps the link. Any thread. Its end is the release of the object.
class RemoteProxy : public IRemoteObject {
public:
    RemoteProxy(Link& link, uint64_t id);
    ~RemoteProxy() override;
    RemoteProxy(const RemoteProxy&) = delete;
    RemoteProxy& operator=(const RemoteProxy&) = delete;

    // The link of a proxy; null for null and for stubs.
    static const Link* LinkOf(const sptr<IRemoteObject>& object);

    [[nodiscard]] uint64_t Id() const
    {
        return id_;
    }

    [[nodiscard]] int SendRequest(
        uint32_t code, MessageParcel& data, MessageParcel& reply, MessageOption& option) override;
    [[nodiscard]] bool IsProxyObject() const override;
    [[nodiscard]] bool IsObjectDead() const override;
    [[nodiscard]] std::u16string GetObjectDescriptor() override;
    [[nodiscard]] bool AddDeathRecipient(const sptr<DeathRecipient>& recipient) override;
    bool RemoveDeathRecipient(const sptr<DeathRecipient>& recipient) override;

private:
    friend class ObjectTable;

    const sptr<Link> link_;
    const uint64_t id_;

    uint64_t arrivals_ = 0;                        // guarded by the table's mutex
    std::vector<sptr<DeathRecipient>> recipients_; // guarded by the table's mutex
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_REMOTE_PROXY_H
