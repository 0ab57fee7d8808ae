#ifndef PELAGO_BENCH_LOAD_CALLER_H
#define PELAGO_BENCH_LOAD_CALLER_H

#include <random>

#include "orders.h"
#include "service.h"

namespace OHOS::Pelago::Load {

// The process of a client that calls what comes to its mind, and counts what fails on its way: that the service
// refuses a call is no failure. A steady one stays registered; the others register, leave and come back all the time.
// One thread; ends with the story. The same number makes the same choices.
class Caller {
public:
    Caller(int socket, size_t number, bool isSteady, double seconds)
        : socket_(socket), number_(number), isSteady_(isSteady), seconds_(seconds), random_(number)
    {}
    // Each step waits for an order, and ends with a report: connect; count changes of the switch from now on; play,
    // until the time is over; leave, when all others have come to their end.
    void Run();

private:
    void Connect();
    Report Play();
    template <class Call>
    static void Count(Report& report, Call call);
    void ComeAndGo(Report& report);
    void CallAnything();
    void SendText(const ShareDeviceInfo& peer);

    const int socket_;
    const size_t number_;
    const bool isSteady_;
    const double seconds_;
    std::mt19937 random_;
    const sptr<Listener> listener_ = new Listener();
    sptr<ITrellisService> service_;
};

} // namespace OHOS::Pelago::Load

#endif // PELAGO_BENCH_LOAD_CALLER_H
