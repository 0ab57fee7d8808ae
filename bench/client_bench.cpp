// What clients cost the device that tells them something, all on one CPU: one callback told to 1, 16 and 64 client
// processes, against a ping-pong with each of them in turn over a bare socket; and the registration of a client, from
// the call to the first callback, against the ping-pongs that it implies.
#include <string>
#include <vector>

#include "bench_device.h"

using namespace OHOS;
using namespace OHOS::Pelago;
using Bench::Client;
using Bench::Wish;

namespace {

constexpr size_t CLIENTS[] = {1, 16, 64};
constexpr int SAMPLES = 301;
constexpr int CALLS = 1; // per sample: the shorter, the fewer hold what others did on this CPU
constexpr double AIM = 1.3;

void MeasureFanOut(Bench::Printer& printer, const std::vector<Client>& clients, size_t count)
{
    const auto service = Bench::Device::Service();
    const Bench::Pair pair = Bench::MeasureInTurns([&service] { service->NotifyCallbackOnEnableStatusChanged(); },
        [&clients, count] { Bench::PingEach(clients, count); }, SAMPLES, CALLS);
    const std::string name = "one callback to " + std::to_string(count) + " client process(es)";
    printer.Print({name, "us", pair.value / 1000, pair.floor / 1000, AIM});
}

// One more client beside `count`. Each of the others is told twice before it: of the switch, and how many they are.
void MeasureRegistration(Bench::Printer& printer, const std::vector<Client>& clients, size_t count)
{
    const Client& newcomer = clients[count];
    std::vector<double> roads;
    std::vector<double> floors;
    for (int i = 0; i < SAMPLES; ++i) {
        roads.push_back(newcomer.Ask(Wish::REGISTER) / 1000);
        (void)newcomer.Ask(Wish::UNREGISTER); // the answer is its moment
        floors.push_back(Bench::MicrosecondsOf([&] {
            (void)newcomer.Ask(Wish::PING); // the answer is 0
            Bench::PingEach(clients, count);
            Bench::PingEach(clients, count);
        }));
    }
    const std::string name = "registration to first callback, " + std::to_string(count) + " others";
    printer.Print({name, "us", Bench::Median(roads), Bench::Median(floors)});
}

} // namespace

int main(int argc, char** argv)
{
    Bench::PinToCpu(0);
    {
        const Bench::MemoryFolder root;
        std::vector<Client> clients;
        for (size_t i = 0; i <= CLIENTS[std::size(CLIENTS) - 1]; ++i) {
            clients.emplace_back(root.Path());
        }
        const Bench::Device device(root.Path());
        Bench::Printer printer("client_bench", argc, argv);
        (void)clients[0].Ask(Wish::CONNECT); // the answer is its moment; so below
        MeasureRegistration(printer, clients, 0);
        size_t registered = 0;
        for (const size_t count : CLIENTS) {
            for (; registered < count; ++registered) {
                (void)clients[registered].Ask(Wish::REGISTER);
                (void)clients[registered + 1].Ask(Wish::CONNECT);
            }
            MeasureFanOut(printer, clients, count);
            MeasureRegistration(printer, clients, count);
        }
    }
    std::_Exit(0); // the threads of the device end with the process
}
