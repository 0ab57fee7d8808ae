#include <fcntl.h>

#include <fstream>

#include "orders.h"
#include "service.h"
#include "stories.h"
#include "trellis_service_proxy.h"

namespace OHOS::Pelago::Load {

namespace {

// How often the daemons are looked at, between two sends, and what they have to clear the last one away before that.
constexpr size_t LOOKS = 20;
constexpr int CLEARING_MS = 100;

size_t SendsPerLook(const Sends& sends)
{
    return std::max<size_t>(1, sends.number / LOOKS);
}

// All files of a send have the same bytes, and the same descriptor.
SendBean BeanOf(size_t send, size_t files, int file)
{
    SendBean bean;
    for (size_t i = 0; i < files; ++i) {
        FileHolder holder;
        holder.fileName_ = "f" + std::to_string(send) + "-" + std::to_string(i);
        holder.fileSize_ = FILE_BYTES;
        holder.fileFd = file;
        bean.uriList.push_back(holder);
    }
    return bean;
}

// A client that makes so many sends of so many files, one after the other.
void ServeSender(int socket, const fs::path& home, const Sends& sends)
{
    (void)Hear<Order>(socket);
    const fs::path source = home / "source";
    std::ofstream(source) << std::string(FILE_BYTES, 's');
    const int file = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
    const auto service = ServiceOf("phone");
    const sptr<Listener> listener = new Listener();
    Discover(*service.GetRefPtr(), listener);
    listener->AwaitPeers(1);
    const ShareDeviceInfo tablet = listener->AnyPeer();
    std::vector<double> us;
    for (size_t send = 0; send < sends.number; ++send) {
        SendBean bean = BeanOf(send, sends.filesPerSend, file);
        us.push_back(Bench::MicrosecondsOf([&] {
            // Clients hear of an end before the service has cleared the send away; until then the next one is refused.
            for (int waited = 0; !service->Send(tablet, bean, "load"); ++waited) {
                Require(TrellisServiceProxy::LastError() == 0 && waited < PATIENCE_MS, "a send is refused");
                Pause(1);
            }
            listener->AwaitSuccess(send + 1);
        }));
        if ((send + 1) % SendsPerLook(sends) == 0) {
            Tell(socket, Report());
            (void)Hear<Order>(socket);
        }
    }
    (void)service->UnRegisterTrellisCallback(listener); // what it leaves behind shows when the device is at rest
    Report report;
    report.us = TenthsOf(us);
    Tell(socket, report);
    (void)Hear<Order>(socket); // until it is killed
}

size_t WholeFiles(const fs::path& folder)
{
    size_t whole = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
        whole += entry.file_size() == FILE_BYTES ? 1 : 0;
    }
    return whole;
}

} // namespace

void PlaySends(const fs::path& home, const Sends& sends)
{
    const size_t files = sends.number * sends.filesPerSend;
    Print("%s: %zu files in %zu sends\n", sends.story, files, sends.number);
    Pair pair(home);
    pair.StartTablet();
    std::vector<Bench::Child> sender;
    sender.emplace_back([&](int socket) { ServeSender(socket, home, sends); });
    SwitchOn("phone");
    SwitchOn("tablet");
    std::vector<Growth> growths = pair.Growths();
    for (size_t look = 0; look < sends.number / SendsPerLook(sends); ++look) {
        TellAll(sender, {Order::GO});
        (void)HearAll(sender);
        Pause(CLEARING_MS);
        for (Growth& growth : growths) {
            growth.Add();
        }
    }
    TellAll(sender, {Order::GO});
    const Report report = HearAll(sender).front();
    const size_t arrived = WholeFiles(pair.Inbox());
    Print("  %zu files stand there whole\n", arrived);
    Expect(arrived == files, "files were lost");
    ExpectNoSlower("a send", report.us);
    for (const Growth& growth : growths) {
        growth.ExpectNone(sends.story);
    }
    sender.clear();
    Pause(SETTLING_MS);
    ExpectAtRest("phone");
    ExpectAtRest("tablet");
}

} // namespace OHOS::Pelago::Load
