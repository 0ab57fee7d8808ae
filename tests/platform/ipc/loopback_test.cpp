#include "host/loopback.h"

#include <unistd.h>

#include "ipc_scene.h"

namespace OHOS::Host {
namespace {

class LoopbackTest : public testing::Test {
protected:
    LoopbackTest()
    {
        EXPECT_TRUE(Scheduler::Instance().UseManualTime());
    }

    LoopbackProcess process{{77, 1000, 4}};
    sptr<ScriptedStub> service = new ScriptedStub; // of this process
    sptr<ScriptedStub> own = new ScriptedStub;     // of the other one
};

TEST_F(LoopbackTest, ObjectsKeepTheirIdentityAcrossTheBorder)
{
    std::vector<sptr<IRemoteObject>> handed;
    service->On(1, [&handed](MessageParcel& data, MessageParcel&) {
        handed.push_back(data.ReadRemoteObject());
        return 0;
    });
    for (const sptr<IRemoteObject>& object : {sptr<IRemoteObject>(own), process.Connect(service)}) {
        EXPECT_EQ(CallWith(process.Connect(service), 1, {object}), 0);
    }
    EXPECT_TRUE(handed[0]->IsProxyObject());
    EXPECT_EQ(handed[0], process.ProxyFor(own)) << "the same stub is the same proxy";
    EXPECT_EQ(handed[1], service) << "a proxy that is sent home is the stub again";
    EXPECT_EQ(process.CountObjects().objectsOfProcess, 1U);
    const int references = own->GetSptrRefCount();
    handed.clear();
    EXPECT_EQ(own->GetSptrRefCount(), references - 1) << "the last proxy's end lets go of the stub";
    EXPECT_EQ(process.CountObjects().objectsOfProcess + process.CountObjects().objectsOfOthers, 0U);
}

TEST_F(LoopbackTest, AnObjectOfAThirdProcessIsAStranger)
{
    LoopbackProcess third({78, 1000, 4});
    const sptr<IRemoteObject> strange = third.ProxyFor(new ScriptedStub);
    const sptr<IRemoteObject> known = process.ProxyFor(own);
    service->On(2, [&](MessageParcel&, MessageParcel& reply) { return reply.WriteRemoteObject(strange) ? 0 : -11; });
    Exchange call;
    ASSERT_TRUE(call.data.WriteRemoteObject(strange));
    EXPECT_FALSE(call.data.WriteRemoteObject(known)) << "wherever it goes, one of the two does not belong there";
    EXPECT_EQ(call.Send(known, 1), IPC_FOREIGN_OBJECT);
    EXPECT_EQ(CallPlain(process.Connect(service), 2), -11) << "a reply knows where it goes";
    EXPECT_EQ(CountErrors("an object of a third process"), 3U);
}

TEST_F(LoopbackTest, DescriptorsAreDuplicatedAndClosedWhereNobodyTakesThem)
{
    const int fd = FileWith("sent");
    const size_t before = CountDescriptors();
    service->On(1, [](MessageParcel& data, MessageParcel& reply) {
        const int received = data.ReadFileDescriptor();
        EXPECT_EQ(TextOf(received), "sent");
        EXPECT_TRUE(reply.WriteFileDescriptor(received));
        return ::close(received);
    });
    {
        Exchange call;
        ASSERT_TRUE(call.data.WriteFileDescriptor(fd) && call.data.WriteFileDescriptor(fd));
        EXPECT_EQ(call.Send(process.Connect(service), 1), 0);
        EXPECT_EQ(CountDescriptors(), before + 3) << "two in the request, one in the reply";
    }
    EXPECT_EQ(CountDescriptors(), before);
    (void)::close(fd);
}

TEST_F(LoopbackTest, ADeathInsideACallFailsItAndIsToldOnceByTheQueueOfDeaths)
{
    own->On(1, [this](MessageParcel&, MessageParcel&) { return process.Kill(), 0; });
    const sptr<IRemoteObject> proxy = process.ProxyFor(own);
    const sptr<DeathWatch> watch = new DeathWatch;
    const sptr<DeathWatch> removed = new DeathWatch;
    ASSERT_TRUE(proxy->AddDeathRecipient(watch) && proxy->AddDeathRecipient(removed));
    bool ran = false;
    process.Post([&ran] { ran = true; });
    EXPECT_EQ(CallPlain(proxy, 1), IPC_DEAD_OBJECT);
    process.Kill();
    EXPECT_TRUE(proxy->IsObjectDead());
    EXPECT_FALSE(proxy->AddDeathRecipient(watch)) << "too late";
    EXPECT_TRUE(proxy->RemoveDeathRecipient(removed)) << "not told yet";
    EXPECT_EQ(watch->deaths, 0) << "not inside the call that caused it";

    ASSERT_TRUE(Scheduler::Instance().Settle());
    EXPECT_EQ(watch->deaths, 1);
    EXPECT_EQ(watch->lastObject, proxy);
    EXPECT_EQ(removed->deaths, 0);
    EXPECT_FALSE(ran) << "a dead process does nothing";
    EXPECT_EQ(process.ProxyFor(own), nullptr);
    EXPECT_EQ(own->GetSptrRefCount(), 1) << "what it had given away is free";
}

TEST_F(LoopbackTest, AHangingProcessCostsTheWaitTimeAndHandlesItAllLater)
{
    std::string handled;
    own->On(1, [&handled](MessageParcel&, MessageParcel&) { return handled += "call ", 0; });
    own->On(2, [&handled](MessageParcel&, MessageParcel&) { return handled += "post ", 0; });
    const sptr<IRemoteObject> proxy = process.ProxyFor(own);
    process.SetHanging(true);
    const int64_t start = Scheduler::Instance().BootTimeMs();
    EXPECT_EQ(PostPlain(proxy, 2), ERR_NONE);
    EXPECT_EQ(CallPlain(proxy, 1, 3), IPC_TIMED_OUT);
    EXPECT_EQ(Scheduler::Instance().BootTimeMs(), start + 3000);
    EXPECT_EQ(handled, "");
    process.SetHanging(false);
    ASSERT_TRUE(Scheduler::Instance().Settle());
    EXPECT_EQ(handled, "post call ");
}

} // namespace
} // namespace OHOS::Host
