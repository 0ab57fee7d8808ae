#include <string>

#include <gtest/gtest.h>

#include "host/device.h"
#include "host/loopback.h"
#include "host/scheduler.h"
#include "ipc_object_stub.h"
#include "log_tap.h"
#include "message_option.h"
#include "message_parcel.h"
#include "permission.h"

namespace OHOS::Pelago {
namespace {

using Host::LoopbackProcess;

// Answers whether its caller may switch, and whether it may share.
struct Doorkeeper : public IPCObjectStub {
    int OnRemoteRequest(uint32_t, MessageParcel&, MessageParcel& reply, MessageOption&) override
    {
        const bool maySwitch = Permission::CheckShareSwitchPermission();
        return reply.WriteBool(maySwitch) && reply.WriteBool(Permission::CheckShareCapabilityPermission()) ? 0 : -1;
    }
};

TEST(PermissionTest, EachCheckAsksForItsOwnPermissionOfTheCaller)
{
    ASSERT_TRUE(Host::Scheduler::Instance().UseManualTime());
    const Lines noSwitch =
        LinesOf(Log::PERMISSION, {"Permission denied, ret: -1", "No PELAGO_SWITCH_CONTROL permission"});
    const Lines noShare =
        LinesOf(Log::PERMISSION, {"Permission denied, ret: -1", "No ACCESS_PELAGO_SERVICE permission"});
    struct Row {
        uint32_t token;
        bool maySwitch, mayShare;
        Lines said;
    };
    const Row rows[] = {
        {Host::TokenId::OWNER, true, true, {}},
        {Host::TokenId::SWITCH, true, false, noShare},
        {Host::TokenId::APP, false, true, noSwitch},
        {Host::TokenId::PLAIN, false, false, noSwitch + noShare},
        {12345, false, false, noSwitch + noShare},
    };
    const sptr<IRemoteObject> stub = MakeSptr<Doorkeeper>();
    pid_t pid = 1000;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.token);
        LoopbackProcess caller({++pid, 10, row.token});
        MessageParcel data;
        MessageParcel reply;
        MessageOption option;
        LogTap tap;
        ASSERT_EQ(caller.Connect(stub)->SendRequest(1, data, reply, option), 0);
        EXPECT_TRUE(reply.ReadBool() == row.maySwitch && reply.ReadBool() == row.mayShare);
        EXPECT_EQ(tap.Take(LOG_ERROR), row.said);
    }
}

} // namespace
} // namespace OHOS::Pelago
