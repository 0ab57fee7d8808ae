#ifndef PELAGO_BENCH_LOAD_ORDERS_H
#define PELAGO_BENCH_LOAD_ORDERS_H

#include "expect.h"

// What a story and its processes say to each other: orders down, a report back for each that has one, through the
// socket of a Bench::Child. Each side speaks from one thread. Whoever finds the other side gone, ends.
namespace OHOS::Pelago::Load {

struct Order {
    enum What {
        GO,
        PUBLISH,
        WITHDRAW,
        AWAIT,
    } what = GO;
    size_t number = 0; // of peers
};

// What a process did. An empty one says that the order is carried out.
struct Report {
    uint64_t calls = 0;
    uint64_t failures = 0;
    uint64_t changes = 0; // of the switch that it was told of
    Tenths us;
};

template <class Value>
void Tell(int socket, const Value& value)
{
    Require(::write(socket, &value, sizeof(value)) == static_cast<ssize_t>(sizeof(value)), "nobody listens");
}

template <class Value>
Value Hear(int socket)
{
    Value value{};
    Require(::read(socket, &value, sizeof(value)) == static_cast<ssize_t>(sizeof(value)), "a process has gone");
    return value;
}

inline void TellAll(const std::vector<Bench::Child>& children, const Order& order)
{
    for (const Bench::Child& child : children) {
        Tell(child.Socket(), order);
    }
}

inline std::vector<Report> HearAll(const std::vector<Bench::Child>& children)
{
    std::vector<Report> reports;
    for (const Bench::Child& child : children) {
        reports.push_back(Hear<Report>(child.Socket()));
    }
    return reports;
}

} // namespace OHOS::Pelago::Load

#endif // PELAGO_BENCH_LOAD_ORDERS_H
