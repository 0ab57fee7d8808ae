#include "limits.h"

#include <sys/resource.h>

#include <chrono>

#include "daemon.h"
#include "gesture/corvane_share_callback_manager.h"
#include "hilog/host_log.h"
#include "host/ability_registry.h"
#include "host/application_host.h"
#include "host/common_events.h"
#include "host/device.h"
#include "host/device_control.h"
#include "host/extension_host.h"
#include "host/host_settings.h"
#include "host/ipc_transport.h"
#include "host/json_text.h"
#include "host_sys_event.h"
#include "local_collab.h"
#include "local_engine.h"
#include "message_option.h"
#include "message_parcel.h"
#include "near_field.h"
#include "share_constants.h"
#include "switch/share_setting_provider.h"
#include "switch/share_switch_manager.h"
#include "switch/time_service_helper.h"
#include "tap/motion_receiver_callback.h"
#include "tap/motion_sender_callback.h"
#include "transmit_param.h"
#include "want_params.h"

namespace OHOS::Pelago::Tools {
namespace {

using Synfold::LocalCollab;

constexpr int64_t Number(size_t value)
{
    return static_cast<int64_t>(value);
}

constexpr int64_t Number(std::chrono::milliseconds value)
{
    return value.count();
}

constexpr const char* NOTHING = "";
constexpr const char* BYTES = "bytes";
constexpr const char* MS = "ms";
constexpr const char* SECONDS = "s";

constexpr const char* REFUSED = "refused";
constexpr const char* HUNG_UP = "the connection ends";
constexpr const char* DROPPED = "dropped";
constexpr const char* OLDEST_GOES = "the oldest goes";

// How many descriptors this process may open.
int64_t DescriptorLimit()
{
    rlimit limit = {};
    return ::getrlimit(RLIMIT_NOFILE, &limit) == 0 ? static_cast<int64_t>(limit.rlim_cur) : -1;
}

std::vector<Limit> IpcRows()
{
    const Host::IpcLimits ipc;
    return {
        {"ipc.message-bytes", Number(ipc.messageBytes), BYTES, "error 2007; from a peer: the connection ends"},
        {"ipc.message-descriptors", Number(ipc.descriptorsPerMessage), NOTHING,
            "error 2007; from a peer: the connection ends"},
        {"ipc.message-time", Number(ipc.unfinishedMessage), MS, HUNG_UP},
        {"ipc.connection-objects", Number(ipc.objectsPerConnection), NOTHING,
            "error 2008; from a peer: the connection ends"},
        {"ipc.connection-lanes", Number(ipc.lanesPerConnection), NOTHING, "error 2009"},
        {"ipc.connection-lanes-of-peer", Number(Host::IPC_LANE_TOLERANCE * ipc.lanesPerConnection), NOTHING, HUNG_UP},
        {"ipc.connection-queued-bytes", Number(ipc.queuedBytesPerConnection), BYTES,
            "one-way: error 2010; replies: the connection ends"},
        {"ipc.user-connections", Number(ipc.connectionsPerUser), NOTHING, REFUSED},
        {"ipc.process-connections", Number(ipc.connectionsPerProcess), NOTHING, REFUSED},
        {"ipc.process-lanes", Number(ipc.lanesPerProcess), NOTHING, HUNG_UP},
        {"ipc.process-unfinished-bytes", Number(ipc.unfinishedBytesPerProcess), BYTES, HUNG_UP},
        {"ipc.process-unfinished-descriptors", Number(ipc.unfinishedDescriptorsPerProcess), NOTHING, HUNG_UP},
        {"ipc.requests-at-once", Number(Host::IPC_CONCURRENT_REQUESTS), NOTHING, "they wait unread"},
        {"ipc.call-time", MessageOption::TF_WAIT_TIME, SECONDS, "error 2004"},
        {"ipc.connect-time", Number(Host::IPC_CONNECT_LIMIT), MS, "the attempt fails"},
        {"ipc.end-time", Number(Host::IPC_END_LIMIT), MS, "a request that still runs is left behind"},
        {"ipc.socket-name-bytes", Number(Host::MAX_TOKEN_SOCKET_NAME), BYTES, REFUSED},
        {"ipc.descriptors", DescriptorLimit(), NOTHING, "error 2011; who connects is refused"},
        {"parcel.capacity", Number(Parcel::DEFAULT_MAX_CAPACITY), BYTES, "the write fails"},
        {"parcel.raw-data", Number(MessageParcel::MAX_RAW_DATA), BYTES, "the write, or the read, fails"},
        {"parcel.raw-data-inline", Number(MessageParcel::MAX_INLINE_RAW_DATA), BYTES, "it travels as a file"},
    };
}

std::vector<Limit> HostRows()
{
    using Host::AbilityRegistry;
    return {
        {"ability.registrations", Number(AbilityRegistry::MAX_REGISTRATIONS), NOTHING, "result 8"},
        {"ability.registrations-of-process", Number(AbilityRegistry::MAX_REGISTRATIONS_OF_PROCESS), NOTHING,
            "result 8"},
        {"ability.abilities", Host::IAbilityRegistry::MAX_ABILITIES, NOTHING, "result 1"},
        {"ability.name-bytes", Number(Host::IAbilityRegistry::MAX_NAME), BYTES, "result 1"},
        {"ability.waiting-wants", Number(AbilityRegistry::MAX_WAITING_WANTS), NOTHING, "the start fails"},
        {"ability.register-time", Number(AbilityRegistry::REGISTER_LIMIT), MS, "its wants are dropped"},
        {"ability.stop-time", Number(AbilityRegistry::STOP_LIMIT), MS, "the process is killed"},
        {"ability.kept-wants", Number(AbilityRegistry::KEPT_WANTS), NOTHING, OLDEST_GOES},
        {"ability.want-depth", AAFwk::WantParams::MAX_DEPTH, NOTHING, "the want is unreadable"},
        {"application.bundle-bytes", Number(Host::MAX_BUNDLE_NAME), BYTES, "result 1"},
        {"device.applications", Number(Host::Device::MAX_APPLICATIONS), NOTHING, "result 8"},
        {"device.token-name-bytes", Number(Host::Device::MAX_TOKEN_NAME), BYTES, REFUSED},
        {"device.udid-bytes", Number(Host::MAX_UDID_LENGTH), BYTES, REFUSED},
        {"control.watchers", Number(Host::DeviceControl::MAX_WATCHERS), NOTHING, REFUSED},
        {"control.radio-step-time", Host::DeviceControl::MAX_RADIO_STEP_MS, MS, REFUSED},
        {"control.tap-time", Number(NearField::TAP_LIMIT), MS, "told as not answered"},
        {"control.event-time", Number(NearField::EVENT_LIMIT), MS, "told as not answered"},
        {"daemon.end-time", Daemon::SHUTDOWN_LIMIT_MS, MS, "exit 1"},
        {"events.kept", Number(Host::CommonEvents::MAX_REMEMBERED), NOTHING, OLDEST_GOES},
        {"log.lines", Number(Host::LOG_RING_LINES), NOTHING, OLDEST_GOES},
        {"log.line-bytes", Number(Host::LOG_LINE_BYTES), BYTES, "cut"},
        {"log.tag-bytes", Number(Host::LOG_TAG_BYTES), BYTES, "cut"},
        {"telemetry.kept", Number(Host::SYS_EVENT_RING), NOTHING, OLDEST_GOES},
        {"settings.busy-time", Host::SETTINGS_BUSY_LIMIT_MS, MS, "the access fails"},
    };
}

std::vector<Limit> EngineRows()
{
    using namespace Local;
    return {
        {"engine.guests", Number(MAX_GUESTS), NOTHING, HUNG_UP},
        {"engine.guests-of-process", Number(MAX_GUESTS_OF_PROCESS), NOTHING, HUNG_UP},
        {"engine.first-frame-time", FIRST_FRAME_MS, MS, HUNG_UP},
        {"engine.frame-time", UNFINISHED_FRAME_MS, MS, HUNG_UP},
        {"engine.unread-time", UNREAD_LIMIT_MS, MS, HUNG_UP},
        {"engine.close-time", CLOSE_LIMIT_MS, MS, HUNG_UP},
        {"engine.answer-time", TRANSMIT_TIMEOUT_MS, MS, "ends as not answered"},
        {"engine.stall-time", STALL_LIMIT_MS, MS, "ends as stalled"},
        {"engine.swing-find-time", SWING_FIND_MS, MS, "the swing fails"},
        {"engine.offer-bytes", Number(MAX_OFFER_BYTES), BYTES, "ends as too large; from a peer: the connection ends"},
        {"engine.ending-bytes", Number(MAX_ENDING_BYTES), BYTES, HUNG_UP},
        {"engine.text-bytes", Number(MAX_SHORT_TEXT), BYTES, HUNG_UP},
        {"engine.device-id-bytes", Number(MAX_LOCAL_DEVICE_ID), BYTES, HUNG_UP},
        {"engine.file-name-bytes", Number(MAX_FILE_NAME), BYTES, "ends as a bad name"},
        {"engine.file-name-bytes-of-peer", Number(MAX_NAME_ON_WIRE), BYTES, HUNG_UP},
        {"engine.numbered-names", MAX_NUMBERED_NAMES, NOTHING, "ends as not written"},
        {"engine.description-bytes", Number(MAX_DESCRIPTION_BYTES), BYTES, "the device is not seen"},
        {"engine.contacts-bytes", Number(MAX_CONTACTS_BYTES), BYTES, "nobody is a contact"},
        {"engine.avatar-bytes", Number(MAX_AVATAR_BYTES), BYTES, "the contact is left out"},
        {"engine.note-bytes", Number(MAX_NOTE_BYTES), BYTES, "not sent; from a peer: the connection ends"},
        {"engine.note-frame-bytes", Number(MAX_NOTE_FRAME_BYTES), BYTES, HUNG_UP},
        {"engine.note-time", NOTE_LIMIT_MS, MS, "not taken"},
        {"engine.waiting-notes", Number(MAX_WAITING_NOTES), NOTHING, "not taken"},
        {"collab.taps", Number(LocalCollab::MAX_UNDER_WAY), NOTHING, REFUSED},
        {"collab.answer-time", LocalCollab::ANSWER_LIMIT_MS, MS, "ends as not answered"},
        {"collab.waiting-notes", Number(LocalCollab::MAX_WAITING_NOTES), NOTHING, DROPPED},
        {"collab.text-bytes", Number(LocalCollab::MAX_TEXT), BYTES, DROPPED},
        {"collab.name-bytes", Number(LocalCollab::MAX_SHORT_TEXT), BYTES, DROPPED},
        {"collab.kept", Number(LocalCollab::KEPT), NOTHING, OLDEST_GOES},
    };
}

std::vector<Limit> ServiceRows()
{
    using Switch = ShareSwitchManager;
    return {
        {"share.files", Number(MAX_SHARED_FILES), NOTHING, "the record is neither written nor read"},
        {"share.payload-bytes", Number(PAYLOAD_PARCEL_CAPACITY), BYTES, "not written"},
        {"gesture.callback-ids-of-process", Number(CorvaneShareCallbackManager::MAX_CALLBACK_IDS), NOTHING, REFUSED},
        {"switch.enable-time", Switch::ENABLE_TIMEOUT_MS, MS, "off again"},
        {"switch.bluetooth-removal-time", Switch::WAIT_BLUETOOTH_SA_REMOVE_MS, MS, "no second try"},
        {"switch.self-heal-time", Switch::SELF_HEAL_TIMEOUT_MS, MS, "the radio is lost"},
        {"switch.everyone-time", Number(TimeServiceHelper::DETECTABLE_TIME_MS), MS, "contacts only"},
        {"switch.settings-time", ShareSettingProvider::OPEN_WAIT_SECONDS, SECONDS, "the access fails"},
        {"tap.sender-time", MotionSenderCallback::MotionEventHandler::TIMEOUT_MS, MS, "the tap fails"},
        {"tap.receiver-time", MotionReceiverCallback::MotionEventHandler::TIMEOUT_MS, MS, "the tap fails"},
    };
}

} // namespace

std::vector<Limit> Limits()
{
    std::vector<Limit> all = IpcRows();
    for (const auto& rows : {HostRows(), EngineRows(), ServiceRows()}) {
        all.insert(all.end(), rows.begin(), rows.end());
    }
    return all;
}

std::string LimitsJson()
{
    Host::Json rows = Host::Json::Array();
    for (const Limit& limit : Limits()) {
        rows.Add(Host::Json::Object()
                     .Put("name", limit.name)
                     .Put("value", limit.value)
                     .Put("unit", limit.unit)
                     .Put("beyond", limit.beyond));
    }
    return Host::Json::Object().Put("limits", std::move(rows)).Text();
}

} // namespace OHOS::Pelago::Tools
