// Whatever becomes of a request with files, the process is left with the descriptors that it had before.

#include <fcntl.h>
#include <unistd.h>

#include "message_parcel.h"
#include "transfer/descriptor_ledger.h"
#include "transfer_scene.h"

namespace OHOS::Pelago {
namespace {

constexpr int FILES = 500; // as many as a request may carry

class Descriptors : public TransferScene {
protected:
    void SetUp() override
    {
        TransferScene::SetUp();
        Find({"phone"});
        Find({"a", "b"}, 42);
        file_ = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        before_ = CountDescriptors();
    }
    void TearDown() override
    {
        (void)::close(file_);
        TransferScene::TearDown();
    }

    SendBean Files(int count) const
    {
        SendBean bean;
        bean.totalNum = count;
        bean.conCurrentId = "id";
        bean.sendExtraFlag = 1;
        bean.text = "words";
        for (int i = 0; i < count; ++i) {
            FileHolder& file = bean.uriList.emplace_back();
            file.fileName_ = std::to_string(i);
            file.fileFd = file_;
        }
        return bean;
    }
    bool SendFiles(const std::string& entry, int count)
    {
        SendBean bean = Files(count);
        return (*client)->Send(Entry(entry), bean, "app");
    }
    // How many more are open than at the start; the engine's own are not counted.
    int64_t Extra()
    {
        Settle();
        (void)client->TakeHeard();
        for (const char* id : {"phone", "a", "b"}) {
            if (auto transfer = Engine().TransferTo(id); transfer != nullptr) {
                for (FileHolder& file : transfer->bean.uriList) {
                    (void)::close(file.fileFd);
                }
                transfer->bean.uriList.clear();
            }
        }
        return static_cast<int64_t>(CountDescriptors()) - static_cast<int64_t>(before_);
    }

    int file_ = -1;
    size_t before_ = 0;
};

TEST_F(Descriptors, OfARunningSendAreKeptForItsLengthAndOthersGoAtOnce)
{
    AllowError("Send() failed sender is exited", "InsertToSendBeanMap failed", "GetShareDeviceInfoList, size==0",
        "cancelDtcpSender is not found, cancel fail", "ermission");
    EXPECT_TRUE(SendFiles("phone", FILES));
    EXPECT_EQ(Engine().TransferTo("phone")->bean.uriList.size(), size_t{FILES});
    EXPECT_EQ(Engine().TransferTo("phone")->packageName, "app");
    EXPECT_EQ(Extra(), FILES);
    EXPECT_EQ(DescriptorLedger::OpenCount(), size_t{FILES});
    EXPECT_FALSE(SendFiles("phone", FILES)); // busy
    EXPECT_EQ(Extra(), FILES);
    (void)Success("phone");
    EXPECT_EQ(Extra(), 0);
    EXPECT_TRUE(SendFiles("nobody", FILES));
    EXPECT_EQ(Extra(), 0);
    auto stranger = NewClient(Host::TokenId::SWITCH);
    SendBean bean = Files(FILES);
    EXPECT_FALSE((*stranger)->Send(Entry("phone"), bean, "app"));
    EXPECT_EQ(Extra(), 0);
    Engine().Refuse("SendFile");
    EXPECT_TRUE(SendFiles("phone", 7)); // refused by the engine: kept until a report, or a cancel
    EXPECT_EQ(Extra(), 7);
    EXPECT_FALSE((*client)->Cancel(Entry("phone")));
    EXPECT_EQ(Extra(), 0);
    EXPECT_EQ(DescriptorLedger::OpenCount(), 0U);
}

TEST_F(Descriptors, OfALaterMemberAreItsOwn)
{
    EXPECT_TRUE(SendFiles("42", 3));
    SendBean first;
    SendBean second;
    ASSERT_TRUE(CacheMapManager::GetSendBean("a", first));
    ASSERT_TRUE(CacheMapManager::GetSendBean("b", second));
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_NE(first.uriList[i].fileFd, second.uriList[i].fileFd);
        EXPECT_EQ(first.uriList[i].fileName_, second.uriList[i].fileName_);
    }
    EXPECT_EQ(second.text, "words");
    EXPECT_EQ(first.conCurrentId + second.conCurrentId, "id"); // these two do not reach a later member
    EXPECT_EQ(first.sendExtraFlag + second.sendExtraFlag, 1);
    EXPECT_EQ(Extra(), 6);
    AllowError("cancelDtcpSender is not found, cancel fail"); // when the other one is cancelled again
    (void)Progress("b", 1);                                   // the first one's request ends
    EXPECT_EQ(Extra(), 3);
    EXPECT_TRUE((*client)->Cancel(Entry("42")));
    EXPECT_EQ(Extra(), 0);
}

TEST_F(Descriptors, OfARequestThatBreaksOffAreClosed)
{
    AllowError("failed."); // the service's words and the records'
    const std::u16string token = ITrellisService::GetDescriptor();
    for (int written : {0, 1, 19, 20}) {
        auto write = [&](MessageParcel& data) {
            SendBean bean = Files(written);
            bool isWritten = Entry("phone").WriteToParcel(data) && data.WriteInt32(0) && data.WriteInt32(0) &&
                             data.WriteInt64(0) && data.WriteInt32(20) && data.WriteInt32(20); // more than follow
            for (const FileHolder& file : bean.uriList) {
                isWritten = isWritten && file.WriteToParcel(data);
            }
            return isWritten;
        };
        EXPECT_EQ(Ask(client->Remote(), 13, token, write), -27) << written;
        EXPECT_EQ(DescriptorLedger::OpenCount(), 0U);
    }
    auto noName = [&](MessageParcel& data) {
        return Entry("phone").WriteToParcel(data) && Files(20).WriteToParcel(data);
    };
    EXPECT_EQ(Ask(client->Remote(), 13, token, noName), -28);
    EXPECT_EQ(Extra(), 0);
    EXPECT_EQ(Engine().TakeAsked(), "");
}

TEST_F(Descriptors, ALedgerTouchesOnlyWhatItAdopted)
{
    int fd = ::fcntl(file_, F_DUPFD_CLOEXEC, 0);
    SendBean bean;
    bean.uriList.resize(3);
    bean.uriList[0].fileFd = bean.uriList[2].fileFd = fd; // the same one twice, and one that is missing
    EXPECT_EQ(DescriptorLedger::ShareOf(bean), nullptr);
    DescriptorShare share = DescriptorLedger::Adopt(bean);
    EXPECT_EQ(DescriptorLedger::Adopt(bean), nullptr); // adopted once
    DescriptorShare other = DescriptorLedger::ShareOf(bean);
    share = nullptr;
    EXPECT_EQ(::fcntl(fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    other = nullptr;
    EXPECT_EQ(::fcntl(fd, F_GETFD), -1);
    EXPECT_EQ(Extra(), 0);
}

} // namespace
} // namespace OHOS::Pelago
