#ifndef PELAGO_ENGINE_LOCAL_ENDING_H
#define PELAGO_ENGINE_LOCAL_ENDING_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "pelago_receiver.h"

namespace OHOS::Pelago::Local {

// How a transfer ends. The numbers are those of the channel.
enum class Ending : int32_t {
    DONE = 0,
    REFUSED = 1,
    CANCELLED_BY_RECEIVER = 2,
    CANCELLED_BY_SENDER = 3,
    NO_ANSWER = 4,
    BUSY = 5,
    NO_SPACE = 6,
    RECEIVER_IO = 7,
    BAD_NAME = 8,
    PROTOCOL = 9,
    NOT_SUPPORTED = 10,
    TOO_LARGE = 11,
    SOURCE_CHANGED = 12,
    BAD_SOURCE = 13,
    STALLED = 14,
    // The rest never travels.
    LOST = 15,
    UNREACHABLE = 16,
    NOT_ALLOWED = 17,
};

// An ending and the words for it.
struct Outcome {
    Ending ending = Ending::DONE;
    std::string text;
};

enum class SenderReport : uint8_t {
    SUCCESS,
    STATUS,
    ERROR,
    NOTHING, // it was the sender itself who ended it
};

struct EndingRow {
    Ending ending;
    const char* name;
    SenderReport report;
    int32_t code;              // of the status or the error
    ReceiveResult result;      // to the progress object of an accepted receive
    int32_t codeBeforeConfirm; // to the receive listener while the offer waits; 0: it hears of a cancel, or nothing
};
// What both sides hear of an ending.
[[nodiscard]] const EndingRow& RowOf(Ending ending);

// The body of ABORT and END. A text is cut to what a frame holds.
[[nodiscard]] std::string EncodeOutcome(const Outcome& outcome);
// Nothing for a body that is no outcome, or an ending that does not travel.
[[nodiscard]] std::optional<Outcome> DecodeOutcome(std::string_view body);

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_ENDING_H
