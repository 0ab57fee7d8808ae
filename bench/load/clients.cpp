#include <poll.h>

#include "caller.h"
#include "stories.h"

namespace OHOS::Pelago::Load {

namespace {

constexpr size_t CLIENTS = MOST_CLIENTS;
constexpr size_t STEADY = CLIENTS / 2;
constexpr int SAMPLE_MS = 200;
// Ours, to toggle and to look; the link to the tablet, which discovery keeps; the alarm of the scheduler.
constexpr int64_t MOST_DESCRIPTORS_LEFT = 8;
constexpr int64_t MOST_THREADS_LEFT = 4;

// Switches off and on again, once in a while: every listener is told. Owned by the story, for its first thread.
class Toggler {
public:
    void Look()
    {
        if (++looks_ % LOOKS_PER_CHANGE == 0) {
            const bool isOn = changes_ % 2 == 1;
            Require(service_->SetShareEnable(isOn ? 1 : 2, isOn ? 2 : 0, false), "the switch does not obey");
            ++changes_;
        }
    }
    uint64_t Changes() const
    {
        return changes_;
    }

private:
    static constexpr int LOOKS_PER_CHANGE = 10;
    const sptr<ITrellisService> service_ = ServiceOf("phone");
    int looks_ = 0;
    uint64_t changes_ = 0;
};

std::vector<Bench::Child> StartCallers(double seconds)
{
    std::vector<Bench::Child> clients;
    for (size_t i = 0; i < CLIENTS; ++i) {
        clients.emplace_back([&](int socket) { Caller(socket, i, i < STEADY, seconds).Run(); });
    }
    return clients;
}

// Gives all the same order, and their reports when all have carried it out.
std::vector<Report> Step(const std::vector<Bench::Child>& clients)
{
    TellAll(clients, {Order::GO});
    return HearAll(clients);
}

// Looks at the daemons, and lets the switch be toggled, until every client has something to say.
void SampleUntilHeard(const std::vector<Bench::Child>& clients, std::vector<Growth>& growths, Toggler& toggler)
{
    for (const Bench::Child& client : clients) {
        for (pollfd ready{client.Socket(), POLLIN, 0}; ::poll(&ready, 1, SAMPLE_MS) == 0;) {
            for (Growth& growth : growths) {
                growth.Add();
            }
            toggler.Look();
        }
    }
}

void Judge(const std::vector<Report>& reports, uint64_t toggles)
{
    Report sum;
    std::vector<double> first;
    std::vector<double> last;
    for (const Report& report : reports) {
        sum.calls += report.calls;
        sum.failures += report.failures;
        first.push_back(report.us.first);
        last.push_back(report.us.last);
    }
    const auto [least, most] = std::minmax_element(reports.begin(), reports.begin() + STEADY,
        [](const Report& a, const Report& b) { return a.changes < b.changes; });
    Print("  %s calls, %s failures; %s changes of the switch asked for, %s to %s reports to each listener\n",
        std::to_string(sum.calls).c_str(), std::to_string(sum.failures).c_str(), std::to_string(toggles).c_str(),
        std::to_string(least->changes).c_str(), std::to_string(most->changes).c_str());
    Expect(sum.failures == 0, "calls failed on their way");
    Expect(least->changes == most->changes && least->changes >= toggles, "a listener did not hear of every change");
    ExpectNoSlower("a call", {Bench::Median(first), Bench::Median(last)});
}

void ExpectNothingLeft(const Sample& before, const Sample& after)
{
    const auto text = [](const Sample& sample) {
        return std::to_string(sample.descriptors) + " descriptors and " + std::to_string(sample.threads) + " threads";
    };
    Print("  phone: %s before the clients, %s after them\n", text(before).c_str(), text(after).c_str());
    Expect(after.descriptors <= before.descriptors + MOST_DESCRIPTORS_LEFT &&
               after.threads <= before.threads + MOST_THREADS_LEFT,
        "the clients have left something");
}

} // namespace

void PlayClients(const fs::path& home, double minutes)
{
    Print("clients: %zu for %.1f minutes\n", CLIENTS, minutes);
    Pair pair(home);
    pair.StartTablet();
    std::vector<Bench::Child> clients = StartCallers(minutes * 60);
    SwitchOn("phone");
    SwitchOn("tablet");
    const Sample before = pair.Phone().Look();
    (void)Step(clients); // connect
    Pause(1000);
    (void)Step(clients);           // count from now on
    TellAll(clients, {Order::GO}); // play
    std::vector<Growth> growths = pair.Growths();
    Toggler toggler;
    SampleUntilHeard(clients, growths, toggler);
    (void)HearAll(clients);
    Pause(SETTLING_MS);
    Judge(Step(clients), toggler.Changes()); // leave
    clients.clear();
    Pause(SETTLING_MS);
    const Sample after = pair.Phone().Look();
    for (const Growth& growth : growths) {
        growth.ExpectNone("while " + std::to_string(CLIENTS) + " clients call");
    }
    ExpectNothingLeft(before, after);
    ExpectAtRest("phone");
}

} // namespace OHOS::Pelago::Load
