#include <sys/un.h>

#include <fstream>

#include "device_paths.h"
#include "orders.h"
#include "service.h"
#include "stories.h"

namespace OHOS::Pelago::Load {

namespace {

constexpr size_t PUBLISHERS = 4; // processes

// A listening socket; whoever looks is connected before anybody accepts.
int ListenAt(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    Require(path.size() < sizeof(address.sun_path), "the folder's name is too long");
    (void)path.copy(address.sun_path, path.size());
    const int listening = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    Require(::bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 &&
                ::listen(listening, 8) == 0,
        "a peer cannot be served");
    return listening;
}

// A process that is many peers: each has its own socket and its description, as a device has, but nothing answers
// there. One thread; ends with the story.
class Publisher {
public:
    Publisher(int socket, size_t number) : socket_(socket), prefix_("peer-" + std::to_string(number) + "-")
    {}
    void Run()
    {
        for (;;) {
            const Order order = Hear<Order>(socket_);
            if (order.what == Order::PUBLISH) {
                folder_ = Tools::DevicePaths::Nearby();
                for (size_t i = 0; i < order.number; ++i) {
                    Publish(i);
                }
            } else {
                Withdraw();
            }
            Tell(socket_, Report());
        }
    }

private:
    void Publish(size_t i)
    {
        const fs::path base = folder_ / (prefix_ + std::to_string(i));
        peers_.emplace_back(base, ListenAt(base.string() + ".sock"));
        std::ofstream(folder_ / (prefix_ + "new"))
            << R"({"version":1,"id":")" << base.filename().string() << R"(","name":"Peer )" << i
            << R"(","type":14,"accountHash":"","capability":4})";
        fs::rename(folder_ / (prefix_ + "new"), base.string() + ".json");
    }
    // Half of them say so, the others just end.
    void Withdraw()
    {
        for (size_t i = 0; i < peers_.size(); ++i) {
            const auto& [base, listening] = peers_[i];
            if (i % 2 == 0) {
                fs::remove(base.string() + ".json");
            }
            (void)::close(listening);
        }
        for (const auto& [base, listening] : peers_) {
            fs::remove(base.string() + ".json"); // whoever was refused may have been here first
            fs::remove(base.string() + ".sock");
        }
        peers_.clear();
    }

    const int socket_;
    const std::string prefix_;
    fs::path folder_;
    std::vector<std::pair<fs::path, int>> peers_;
};

// A client that discovers, and says when as many peers are there as it was asked for.
void ServeDiscoverer(int socket)
{
    (void)Hear<Order>(socket);
    const auto service = ServiceOf("phone");
    const sptr<Listener> listener = new Listener();
    Discover(*service.GetRefPtr(), listener);
    for (;;) {
        Tell(socket, Report());
        listener->AwaitPeers(Hear<Order>(socket).number);
    }
}

// Gives the publishers an order, and how many microseconds it takes until the discoverer sees so many.
double Move(
    const std::vector<Bench::Child>& publishers, const Bench::Child& discoverer, const Order& order, size_t there)
{
    return Bench::MicrosecondsOf([&] {
        TellAll(publishers, order);
        Tell(discoverer.Socket(), Order{Order::AWAIT, there});
        (void)HearAll(publishers);
        (void)Hear<Report>(discoverer.Socket());
    });
}

} // namespace

void PlayPeers(const fs::path& home, const Crowd& crowd)
{
    Print("peers: %zu come and go %zu times\n", crowd.peers, crowd.rounds);
    Pair pair(home);
    Bench::Child discoverer(ServeDiscoverer);
    std::vector<Bench::Child> publishers;
    for (size_t i = 0; i < PUBLISHERS; ++i) {
        publishers.emplace_back([i](int socket) { Publisher(socket, i).Run(); });
    }
    SwitchOn("phone");
    Tell(discoverer.Socket(), Order{Order::GO});
    (void)Hear<Report>(discoverer.Socket());
    Growth growth(pair.Phone());
    std::vector<double> comings;
    std::vector<double> goings;
    for (size_t round = 0; round < crowd.rounds; ++round) {
        comings.push_back(Move(publishers, discoverer, {Order::PUBLISH, crowd.peers / PUBLISHERS}, crowd.peers));
        goings.push_back(Move(publishers, discoverer, {Order::WITHDRAW}, 0));
        growth.Add(); // when nobody is there
    }
    const auto peers = static_cast<double>(crowd.peers);
    Print(
        "  %.0f us for a peer to come, %.0f us to go\n", Bench::Median(comings) / peers, Bench::Median(goings) / peers);
    ExpectNoSlower("all to come", TenthsOf(comings));
    ExpectNoSlower("all to go", TenthsOf(goings));
    growth.ExpectNone("while peers come and go");
}

} // namespace OHOS::Pelago::Load
