#ifndef OHOS_HOST_DEVICE_H
#define OHOS_HOST_DEVICE_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/device_events.h"

namespace OHOS::Host {

class TaskQueue;

/// Who this device is. Fixed from start to end.
struct DeviceIdentity {
    std::string name; // as its owner typed it: any bytes, hostile ones included
    std::string udid; // at most MAX_UDID_LENGTH characters
    std::string type = "phone";
    std::string root; // folder of settings.db, events.jsonl and data/; empty: the device has no disk
};
inline constexpr size_t MAX_UDID_LENGTH = 64;

/// The detail state of the Wi-Fi radio; the numbers are those that WifiDevice gives.
enum class WifiState : int32_t {
    INACTIVE = 0,
    ACTIVE = 1,
    ACTIVATING = 2,
    DEACTIVATING = 3,
    SEMI_ACTIVATING = 4,
    SEMI_ACTIVE = 5,
};

/// The state of classic Bluetooth; the numbers are those that BluetoothHost and its common event give.
enum class BluetoothState : int32_t {
    TURNING_ON = 0,
    ON = 1,
    TURNING_OFF = 2,
    OFF = 3,
};

/// What a radio can be asked to become; a later mode gives all that an earlier one gives.
enum class WifiMode {
    OFF,
    SEMI,
    ON
};
enum class BluetoothMode {
    OFF,
    BLE_ONLY,
    ON
};

/// How long a radio needs to become what it was asked to become.
struct RadioTimings {
    std::chrono::milliseconds wifiOn{1200};
    std::chrono::milliseconds wifiSemi{600};
    std::chrono::milliseconds wifiOff{300};
    std::chrono::milliseconds bluetoothOn{800};
    std::chrono::milliseconds bleOn{400};
    std::chrono::milliseconds bluetoothOff{300};
    std::chrono::milliseconds away{500}; // how long a radio that restarts itself stays off
};

struct RadioStates {
    WifiState wifi = WifiState::ACTIVE;
    BluetoothState bluetooth = BluetoothState::ON;
    bool ble = true; // may be up without classic Bluetooth
};

/// How a radio that restarts itself goes on.
enum class RestartEnd {
    COMES_BACK,
    STAYS_AWAY
};

/// What the account service knows of the account that a user is signed in with; all empty: signed in with none.
struct AccountInfo {
    std::string name;
    std::string uid; // the hash that contacts are found by
    int32_t status = 0;
    int32_t callingUid = -1;
    std::string nickname;
    std::string avatar;
};

namespace UserType {
inline constexpr int32_t ORDINARY = 1;
inline constexpr int32_t PRIVATE = 1024;
} // namespace UserType

struct User {
    int32_t id = -1;
    int32_t type = UserType::ORDINARY;
    bool verified = false; // has unlocked the screen since boot
    AccountInfo account;
};

/// An application: one process of a bundle.
struct Application {
    int32_t pid = -1;
    int32_t uid = -1;
    std::string bundleName;
};

inline constexpr const char* PERMISSION_SWITCH_CONTROL = "ohos.permission.PELAGO_SWITCH_CONTROL";
inline constexpr const char* PERMISSION_ACCESS_SERVICE = "ohos.permission.ACCESS_PELAGO_SERVICE";

/// One class of caller: whoever comes through the socket of this name has this token. The table replaces the
/// installation of applications, which a Linux machine does not have.
struct Token {
    std::string name; // also the name of its socket: see Device::AddToken
    uint32_t id = 0;
    std::vector<std::string> permissions;
    uint32_t socketMode = 0600; // who may connect: the mode of the socket file

    [[nodiscard]] bool Holds(const std::string& permission) const;
};

/// Ids of the rows that every device has.
namespace TokenId {
inline constexpr uint32_t OWNER = 1;     // "owner": both permissions
inline constexpr uint32_t SWITCH = 2;    // "switch": the switch permission only
inline constexpr uint32_t EXTENSION = 3; // "extension": the service permission only
inline constexpr uint32_t APP = 4;       // "app": the service permission only
inline constexpr uint32_t PLAIN = 5;     // "plain": none
inline constexpr uint32_t FIRST_ADDED = 100;
} // namespace TokenId

/// System abilities that belong to the device and not to our process.
namespace AbilityId {
inline constexpr int32_t OS_ACCOUNT = 200;
inline constexpr int32_t APPLICATION_MANAGER = 501;
inline constexpr int32_t WIFI = 1120;
inline constexpr int32_t BLUETOOTH = 1130;
inline constexpr int32_t DATA_SHARE = 1301;
inline constexpr int32_t COMMON_EVENT = 3299;
inline constexpr int32_t TIME = 3702;
inline constexpr int32_t WINDOW_MANAGER = 4606;
inline constexpr int32_t COLLABORATION_DETECT = 70635;
} // namespace AbilityId

/// Everything of the device at one moment, for `pelago sim show` and for tests.
struct DeviceSnapshot {
    DeviceIdentity identity;
    RadioStates radios;
    WifiMode wifiMode = WifiMode::ON; // what the radio is, is becoming, or comes back as
    BluetoothMode bluetoothMode = BluetoothMode::ON;
    bool airplane = false;
    WifiMode wifiAfterAirplane = WifiMode::OFF; // meaningful in airplane mode, as the next
    BluetoothMode bluetoothAfterAirplane = BluetoothMode::OFF;
    RadioTimings timings;
    std::vector<User> users; // by id
    int32_t foregroundUser = -1;
    std::vector<int32_t> activeUsers;      // the foreground user first
    std::set<int32_t> abilities;           // those present
    std::vector<int32_t> focusedPids;      // in the order in which they got the focus
    std::vector<Application> applications; // attached ones, by age
    std::vector<Application> foregroundApplications;
    std::vector<Token> tokens;
    std::map<std::string, std::vector<std::string>> commands;
};

/// What hardware and people decide: identity, radios, users, system abilities, windows, callers, commands.
///
/// One per process, made on first use and alive until the process ends. At start both radios are up, user 100 is in
/// front and unlocked, and every ability of AbilityId is present. A change does what the hardware would do: the new
/// state can be read at once, and what the platform would tell follows on the scheduler's queue "device", in the order
/// of the changes. So no listener is ever called inside the call that caused it, and each may call back.
///
/// Any thread may call anything. Listeners run on the queue's thread with no lock held.
///
/// It keeps nothing on disk (settings stand in the database of the datashare module; who wants the rest kept follows
/// SetChangeListener and calls Become at the next start) and does not check who calls.
/// Calls of the platform modules ask Faults before they come here; two faults are of the hardware itself, "wifi.arrive"
/// and "bluetooth.arrive": the radio sets out for a mode and never gets there.
class Device {
public:
    using EventSink = std::function<void(const DeviceEvent&)>;
    using AbilityListener = std::function<void(int32_t id, bool present)>;
    using FocusListener = std::function<void(int32_t pid, bool focused)>;
    using ChangeListener = std::function<void()>;

    static Device& Instance();

    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    // Identity

    /// Says who this device is; before anything asks. False, and nothing changed, for a UDID that is too long.
    [[nodiscard]] bool Configure(DeviceIdentity identity);
    [[nodiscard]] DeviceIdentity Identity() const;
    /// The folder of the identity, by itself.
    [[nodiscard]] std::string Root() const;

    // Listeners

    /// Who publishes the events of the device; replaces the sink of before, an empty one drops events.
    void SetEventSink(EventSink sink);
    /// Hears each change of an ability's presence. Stays for the life of the process.
    void AddAbilityListener(AbilityListener listener);
    /// Hears each gain and loss of focus. `key` is the listener's identity: added twice it hears once. False when it
    /// was there already.
    [[nodiscard]] bool AddFocusListener(const void* key, FocusListener listener);
    /// False for one that is not there. A call that is under way ends.
    [[nodiscard]] bool RemoveFocusListener(const void* key);
    /// Hears that something of the model has changed, once for changes that come together. Replaces the listener
    /// before.
    void SetChangeListener(ChangeListener listener);
    /// Waits until listeners and event sink have returned from all that has changed up to here, five seconds at most.
    /// Does not wait in manual time, nor when a listener calls.
    void WaitUntilTold();
    /// Publishes an event that no change of the model causes, as a person at `pelago sim event` wants it.
    void Publish(DeviceEvent event);
    /// Publishes that the data of this package was cleared.
    void ClearPackageData(const std::string& bundleName);

    // Radios

    [[nodiscard]] RadioStates Radios() const;
    /// How long later changes take; one under way keeps its time.
    void SetRadioTimings(const RadioTimings& timings);
    /// Starts to bring the radio into this mode, from whatever it is doing; nothing when it is there or on its way.
    /// While the radio's ability is away its events are not published.
    void SwitchWifi(WifiMode mode);
    /// The same for Bluetooth. BLE_ONLY takes classic Bluetooth down and leaves BLE up, or brings BLE up alone.
    void SwitchBluetooth(BluetoothMode mode);
    /// The same, but never downwards: nothing when the radio is in a later mode or on its way there.
    void RaiseWifi(WifiMode mode);
    void RaiseBluetooth(BluetoothMode mode);
    /// The radio restarts itself: says so, goes off, and after a while comes back as `after`, or as what it was; or it
    /// stays away until somebody switches it. A request meanwhile wins. False for a radio that is off or away already.
    [[nodiscard]] bool RestartWifi(RestartEnd end);
    [[nodiscard]] bool RestartBluetooth(RestartEnd end, std::optional<BluetoothMode> after = std::nullopt);
    /// Airplane mode takes both radios down; its end brings them back as what they were. While it lasts, people may
    /// switch a radio on, but requests of services are refused by the radio modules. Nothing when it is so already.
    void SetAirplane(bool on);
    [[nodiscard]] bool IsAirplane() const;

    // Users

    [[nodiscard]] std::optional<User> FindUser(int32_t id) const;
    [[nodiscard]] int32_t ForegroundUser() const; // -1: nobody is in front
    [[nodiscard]] std::vector<int32_t> ActiveUsers() const;
    /// Adds a user, or replaces the one with this id; tells nobody. False for a negative id.
    [[nodiscard]] bool PutUser(const User& user);
    /// The user in front cannot be removed: false, as for one who does not exist.
    [[nodiscard]] bool RemoveUser(int32_t id);
    /// Brings the user to the front, active, and publishes the switch; nothing is published for the user in front. -1
    /// leaves nobody in front. False for a user who does not exist.
    [[nodiscard]] bool SwitchUser(int32_t id);
    /// Ends the session of a user: not active, not verified. False for the user in front and for one not active.
    [[nodiscard]] bool StopUser(int32_t id);
    /// Unlocks (and publishes it) or locks (silently). False for a user who does not exist.
    [[nodiscard]] bool SetVerified(int32_t id, bool verified);
    /// False for a user who does not exist.
    [[nodiscard]] bool SetAccount(int32_t id, const AccountInfo& account);

    // System abilities

    [[nodiscard]] bool IsAbilityPresent(int32_t id) const;
    /// Makes an ability come or go and tells the listeners. A radio whose ability comes back says which state it is in,
    /// and the settings say that they are ready.
    void SetAbilityPresent(int32_t id, bool present);

    // Windows and applications

    /// The process's window gains or loses the focus; several may have it. Nothing when it is so already.
    void SetFocused(int32_t pid, bool focused);
    [[nodiscard]] std::vector<int32_t> FocusedPids() const;
    /// Replaces the list of applications on the screen, the topmost first. They do not gain focus by this.
    void SetForegroundApplications(std::vector<Application> applications);
    [[nodiscard]] std::vector<Application> ForegroundApplications() const;
    /// A process says which application it is; a pid once, the last word holds. False at the limit.
    [[nodiscard]] bool AttachApplication(const Application& application);
    /// The process has ended: it leaves screen and focus. Nothing for one who is in neither.
    void DetachApplication(int32_t pid);
    [[nodiscard]] std::vector<Application> AttachedApplications() const;
    static constexpr size_t MAX_APPLICATIONS = 256;

    // Callers

    /// Adds a row; its id is chosen by the table, whatever the argument carries, and returned. 0 for a name that is in
    /// use or that does not name a socket: 1 to MAX_TOKEN_NAME of [a-z0-9_-].
    [[nodiscard]] uint32_t AddToken(Token token);
    [[nodiscard]] std::optional<Token> FindToken(uint32_t id) const;
    [[nodiscard]] std::vector<Token> Tokens() const;
    /// Whether the token exists and holds the permission.
    [[nodiscard]] bool TokenHolds(uint32_t id, const std::string& permission) const;
    static constexpr size_t MAX_TOKEN_NAME = 32;

    // Commands

    /// The command that the ability registry starts for a bundle that nobody serves; empty: none.
    void SetCommand(const std::string& bundleName, std::vector<std::string> argv);
    [[nodiscard]] std::vector<std::string> Command(const std::string& bundleName) const;

    [[nodiscard]] DeviceSnapshot Snapshot() const;
    /// Takes over radios, airplane mode, timings, users and commands of an earlier device, at once and silently: before
    /// anybody listens. The rest of the snapshot is not looked at. False, and nothing changed, when its users are not
    /// those of a device: two with one id, or one in front or active who is not there or is active twice.
    [[nodiscard]] bool Become(const DeviceSnapshot& earlier);

private:
    // Where one radio is on its way.
    template <typename Mode>
    struct Course {
        std::optional<Mode> goal = Mode::ON; // what it is or is becoming; none: stuck, or restarting itself
        std::optional<Mode> comesBackAs;     // while it restarts itself and does not stay away
        uint64_t attempt = 0;                // an arrival of any but the last attempt is void

        [[nodiscard]] Mode Remembered() const
        {
            return goal.value_or(comesBackAs.value_or(Mode::OFF));
        }
        void Restart(RestartEnd end, Mode as)
        {
            goal.reset();
            comesBackAs = end == RestartEnd::COMES_BACK ? std::optional<Mode>(as) : std::nullopt;
        }
    };

    Device();
    ~Device() = default;

    // All below: with mutex_ held.
    void Post(std::function<void()> task, std::chrono::milliseconds delay = {});
    void PostEvent(DeviceEvent event);
    void PostRadioEvent(int32_t ability, DeviceEvent event);
    void PostAbility(int32_t id, bool present);
    void Changed();
    void StartWifi(WifiMode mode);
    void SetWifiState(WifiState state);
    void StartBluetooth(BluetoothMode mode);
    void SetBluetoothState(BluetoothState state);

    // On the device's queue.
    void ArriveWifi(uint64_t attempt, WifiState state);
    void ArriveBluetooth(uint64_t attempt, BluetoothState state, bool ble);
    void ComeBackWifi(uint64_t attempt);
    void ComeBackBluetooth(uint64_t attempt);
    void TellChange();

    mutable std::mutex mutex_; // nothing else of ours is taken under it; tasks are posted under it, so that their order
                               // is that of the changes
    DeviceSnapshot state_;
    EventSink sink_;
    std::vector<AbilityListener> abilityListeners_;
    std::map<const void*, FocusListener> focusListeners_;
    ChangeListener changeListener_;
    bool changeIsTold_ = true;         // false while a call of the listener is due
    std::shared_ptr<TaskQueue> queue_; // made at first use, when the face of the scheduler has been chosen
    Course<WifiMode> wifi_;
    Course<BluetoothMode> bluetooth_;
};

} // namespace OHOS::Host

#endif // OHOS_HOST_DEVICE_H
