#include "ending.h"

#include <cstddef>

#include "engine_errors.h"
#include "frame.h"
#include "share_constants.h"

namespace OHOS::Pelago::Local {
namespace {

using R = ReceiveResult;
using S = SenderReport;

constexpr size_t MAX_TEXT = MAX_ENDING_BYTES - 8;

// clang-format off
constexpr EndingRow ROWS[] = {
    // ending                        name                      at the sender                                      at the receiver: accepted, before the answer
    {Ending::DONE,                  "done",                   S::SUCCESS, 0,                                   R::DONE,                0},
    {Ending::REFUSED,               "refused",                S::STATUS,  EngineStatus::REFUSED,               R::CANCELLED_HERE,      0},
    {Ending::CANCELLED_BY_RECEIVER, "cancelled by receiver",  S::STATUS,  EngineStatus::CANCELLED_BY_RECEIVER, R::CANCELLED_HERE,      0},
    {Ending::CANCELLED_BY_SENDER,   "cancelled by sender",    S::NOTHING, 0,                                   R::CANCELLED_BY_SENDER, 0},
    {Ending::NO_ANSWER,             "no answer",              S::STATUS,  EngineStatus::NO_ANSWER,             R::CANCELLED_BY_SENDER, EngineStatus::NO_ANSWER},
    {Ending::BUSY,                  "busy",                   S::STATUS,  EngineStatus::BUSY,                  R::CANCELLED_HERE,      0},
    {Ending::NO_SPACE,              "no space",               S::STATUS,  EngineStatus::NO_SPACE,              R::NO_SPACE,            0},
    {Ending::RECEIVER_IO,           "receiver cannot write",  S::ERROR,   EngineError::PEER_IO,                R::IO_ERROR,            0},
    {Ending::BAD_NAME,              "bad name",               S::ERROR,   EngineError::BAD_NAME,               R::BAD_NAME,            0},
    {Ending::PROTOCOL,              "protocol",               S::ERROR,   EngineError::PROTOCOL,               R::PROTOCOL,            EngineError::PROTOCOL},
    {Ending::NOT_SUPPORTED,         "not supported",          S::ERROR,   EngineError::NOT_SUPPORTED,          R::CANCELLED_HERE,      0},
    {Ending::TOO_LARGE,             "preview too large",      S::ERROR,   EngineError::TOO_LARGE,              R::PROTOCOL,            0},
    {Ending::SOURCE_CHANGED,        "source changed",         S::ERROR,   EngineError::SOURCE_CHANGED,         R::IO_ERROR,            EngineError::SOURCE_CHANGED},
    {Ending::BAD_SOURCE,            "bad source",             S::ERROR,   EngineError::BAD_SOURCE,             R::IO_ERROR,            EngineError::BAD_SOURCE},
    {Ending::STALLED,               "stalled",                S::ERROR,   EngineError::PEER_LOST,              R::PEER_LOST,           EngineError::PEER_LOST},
    {Ending::LOST,                  "peer lost",              S::ERROR,   EngineError::PEER_LOST,              R::PEER_LOST,           EngineError::PEER_LOST},
    {Ending::UNREACHABLE,           "unreachable",            S::ERROR,   EngineError::UNREACHABLE,            R::PEER_LOST,           EngineError::PEER_LOST},
    {Ending::NOT_ALLOWED,           "not allowed",            S::ERROR,   EngineError::NOT_ALLOWED,            R::IO_ERROR,            0},
};
// clang-format on

constexpr bool RowsStandAtTheirNumbers()
{
    for (size_t i = 0; i < std::size(ROWS); ++i) {
        if (static_cast<size_t>(ROWS[i].ending) != i) {
            return false;
        }
    }
    return true;
}
static_assert(RowsStandAtTheirNumbers());
static_assert(std::size(ROWS) == static_cast<size_t>(Ending::NOT_ALLOWED) + 1);

} // namespace

const EndingRow& RowOf(Ending ending)
{
    return ROWS[static_cast<size_t>(ending)];
}

std::string EncodeOutcome(const Outcome& outcome)
{
    std::string_view text = outcome.text;
    return BodyWriter().I32(static_cast<int32_t>(outcome.ending)).Text(text.substr(0, MAX_TEXT)).Bytes();
}

std::optional<Outcome> DecodeOutcome(std::string_view body)
{
    BodyReader reader(body);
    int32_t ending = 0;
    Outcome outcome;
    if (!reader.I32(ending) || !reader.Text(outcome.text, MAX_TEXT) || !reader.AtEnd() || ending < 0 ||
        ending >= static_cast<int32_t>(Ending::LOST)) {
        return std::nullopt;
    }
    outcome.ending = static_cast<Ending>(ending);
    return outcome;
}

} // namespace OHOS::Pelago::Local
