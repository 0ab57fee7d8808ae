// Whatever becomes of a request with files, the process is left with the descriptors that it had before.

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
    bool SendFiles(TestClient& sender, const std::string& entry, int count) const
    {
        SendBean bean = Files(count);
        return sender->Send(Entry(entry), bean, "app");
    }
    // How many more are open than at the start; the engine's own are not counted.
    int64_t Extra()
    {
        (void)Heard();
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

    const int file_ = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    size_t before_ = 0;
};

TEST_F(Descriptors, OfARunningSendAreKeptForItsLengthAndOthersGoAtOnce)
{
    AllowError("Send() failed sender is exited", "InsertToSendBeanMap failed", "GetShareDeviceInfoList, size==0",
        "cancelDtcpSender is not found, cancel fail", "ermission");
    EXPECT_TRUE(SendFiles(*client, "phone", FILES));
    EXPECT_EQ(Engine().TransferTo("phone")->bean.uriList.size(), size_t{FILES});
    EXPECT_EQ(Engine().TransferTo("phone")->packageName, "app");
    EXPECT_EQ(Extra(), FILES);
    EXPECT_FALSE(SendFiles(*client, "phone", FILES)); // busy
    EXPECT_EQ(Extra(), FILES);
    (void)Success("phone");
    EXPECT_EQ(Extra(), 0);
    EXPECT_TRUE(SendFiles(*client, "nobody", FILES));
    EXPECT_FALSE(SendFiles(*NewClient(Host::TokenId::SWITCH), "phone", FILES));
    EXPECT_EQ(Extra(), 0);
    Engine().Refuse("SendFile");
    EXPECT_TRUE(SendFiles(*client, "phone", 7)); // refused by the engine: kept until a report, or a cancel
    EXPECT_EQ(Extra(), 7);
    EXPECT_FALSE((*client)->Cancel(Entry("phone")));
    EXPECT_EQ(Extra(), 0);
    EXPECT_EQ(DescriptorLedger::OpenCount(), 0U);
}

TEST_F(Descriptors, OfALaterMemberAreItsOwn)
{
    EXPECT_TRUE(SendFiles(*client, "42", 3));
    SendBean first;
    SendBean second;
    ASSERT_TRUE(CacheMapManager::GetSendBean("a", first) && CacheMapManager::GetSendBean("b", second));
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
    const auto cutOff = [this](MessageParcel& data) {
        const SendBean bean = Files(19); // of 20
        return Entry("phone").WriteToParcel(data) && data.WriteInt32(0) && data.WriteInt32(0) && data.WriteInt64(0) &&
               data.WriteInt32(20) && data.WriteInt32(20) &&
               std::all_of(bean.uriList.begin(), bean.uriList.end(),
                   [&data](const FileHolder& file) { return file.WriteToParcel(data); });
    };
    EXPECT_EQ(Ask(client->Remote(), 13, ITrellisService::GetDescriptor(), cutOff), -27);
    const auto noName = [this](
                            auto& data) { return Entry("phone").WriteToParcel(data) && Files(20).WriteToParcel(data); };
    EXPECT_EQ(Ask(client->Remote(), 13, ITrellisService::GetDescriptor(), noName), -28);
    EXPECT_EQ(Extra(), 0);
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
