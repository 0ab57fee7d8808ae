#ifndef PELAGO_SERVICES_PARCEL_SHARE_CONSTANTS_H
#define PELAGO_SERVICES_PARCEL_SHARE_CONSTANTS_H

#include <cstddef>
#include <cstdint>
#include <string_view>

// Numbers and words that the service shares with the engine, the extension and the clients. They travel as plain int32
// and a peer may send others, so they are constants and no enumerations.
namespace OHOS::Pelago {

// What happened last to a transfer: ShareDeviceInfo::eventCode, and the first number of each report to clients.
namespace TransferEvent {
inline constexpr int32_t NONE = 0;
inline constexpr int32_t PREPARED = 1;
inline constexpr int32_t PROGRESS = 2;
inline constexpr int32_t SUCCESS = 3;
inline constexpr int32_t STATUS = 4; // the engine told an EngineStatus
inline constexpr int32_t FAILED = 5;
inline constexpr int32_t CANCELLED = 6; // on this device
inline constexpr int32_t TOTAL_LENGTH = 7;
inline constexpr int32_t SPEED = 11;
inline constexpr int32_t CREATED = 12;
} // namespace TransferEvent

// What a device is shown as doing: ShareDeviceInfo::deviceState.
namespace DeviceState {
inline constexpr int32_t IDLE = 101;
inline constexpr int32_t CONNECTING = 102;
inline constexpr int32_t TRANSFERRING = 103;
inline constexpr int32_t REFUSED = 104;
inline constexpr int32_t CANCELLED = 105;
inline constexpr int32_t FAILED = 106;
inline constexpr int32_t SUCCEEDED = 107;
inline constexpr int32_t PREPARED = 108;
inline constexpr int32_t NO_ANSWER = 109;
inline constexpr int32_t DECLINED = 110;
inline constexpr int32_t WAITING = 111; // the peer's user has been asked
inline constexpr int32_t BUSY = 112;
inline constexpr int32_t ENDED_BY_2008 = 113; // what the engine means by 2008 and 1019 is its own affair
inline constexpr int32_t NO_SPACE = 114;
inline constexpr int32_t ENDED_BY_1019 = 115;
inline constexpr int32_t UNKNOWN_STATUS = 116;
inline constexpr int32_t UNDER_WAY = 117; // some step of the engine that nobody needs to see
} // namespace DeviceState

// Statuses of the engine that have a meaning here. All others are known only to ShareDeviceInfo::ConvertOnStatus.
namespace EngineStatus {
inline constexpr int32_t CONNECTING = 1004;
inline constexpr int32_t CANCELLED_BY_RECEIVER = 1007;
inline constexpr int32_t DECLINED = 1008; // these two, and no others, end the attempts on a contact's other devices
inline constexpr int32_t REFUSED = 1009;
inline constexpr int32_t SHOWN_TO_USER = 1012;
inline constexpr int32_t NO_ANSWER = 1013;
inline constexpr int32_t BUSY = 1014;
inline constexpr int32_t NO_SPACE = 1017;
} // namespace EngineStatus

// Why a transfer was not even started.
namespace TransferError {
inline constexpr int32_t DEVICE_BUSY = 1206; // it has a sender already
inline constexpr int32_t BYTES_NOT_TAKEN = 1222;
} // namespace TransferError

// Who found a device: bits of ShareDeviceInfo::discoveredBy and ShareDevice::discoveredBy_.
namespace Discoverer {
inline constexpr uint32_t ORDINARY = 1;
inline constexpr uint32_t TAP = 2;
inline constexpr uint32_t SWING = 4;
} // namespace Discoverer

// The most entries that a reader takes from one payload record.
inline constexpr size_t MAX_SHARED_FILES = 500;
// Room in bytes for a parcel that carries a payload: texts, thumbnails and previews can be large.
inline constexpr size_t PAYLOAD_PARCEL_CAPACITY = 0x200000;

// Words that engine and extension exchange. Nothing in the service compares against them.
namespace ShareWord {
inline constexpr std::string_view PREFIX = "Pelago_";
inline constexpr std::string_view SENDER_SUFFIX = "_SENDER";
inline constexpr std::string_view MESSAGE_SUFFIX = "_MESSAGE";
inline constexpr std::string_view FILE_SUFFIX = "_FILE";
inline constexpr std::string_view FILE_MARKER = "*%PELAGO_FILE%*";
inline constexpr std::string_view CONFIRM = "confirm*%PELAGO_FILE%*";
inline constexpr std::string_view REJECT = "reject*%PELAGO_FILE%*";
inline constexpr std::string_view RECEIVE_PROGRESS = "recvFilePercent";
inline constexpr std::string_view RECEIVE_PROGRESS_MARKED = "recvFilePercent*%PELAGO_FILE%*";
inline constexpr std::string_view THERMAL_CHANGE = "thermalLevelChanged";
inline constexpr std::string_view THERMAL_CHANGE_MARKED = "thermalLevelChanged*%PELAGO_FILE%*";
inline constexpr std::string_view THERMAL_STOP = "thermalInterrupt";
inline constexpr std::string_view THERMAL_STOP_MARKED = "thermalInterrupt*%PELAGO_FILE%*";
inline constexpr std::string_view SEPARATOR = "#";
inline constexpr std::string_view FAILED_COMMAND = "fail cmd";
} // namespace ShareWord

} // namespace OHOS::Pelago

#endif // PELAGO_SERVICES_PARCEL_SHARE_CONSTANTS_H
