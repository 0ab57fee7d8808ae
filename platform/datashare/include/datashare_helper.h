#ifndef OHOS_DATASHARE_HELPER_H
#define OHOS_DATASHARE_HELPER_H

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "data_ability_observer_interface.h"
#include "datashare_predicates.h"
#include "datashare_result_set.h"
#include "datashare_values_bucket.h"
#include "iremote_object.h"
#include "refbase.h"
#include "uri.h"

namespace OHOS::DataShare {

/// Access to the settings tables of the device: rows of KEYWORD (the key, unique) and VALUE. A table is named by the
/// last part of a URI's path, "SETTINGSDATA" or "USER_SETTINGSDATA_SECURE_" and a user id, and exists from its first
/// use.
///
/// Made, used and released by one caller, for one access or for many; making one opens nothing, so it is cheap. Any
/// thread may use it, several at once too, and several processes may share the tables. A failure is an error number and
/// changes nothing: a table of another name, a column that does not exist, a database that is damaged, or locked by
/// others for longer than the wait time.
///
/// It does not check who calls, and it wakes nobody: a writer tells of a change by NotifyChange.
class DataShareHelper {
public:
    ~DataShareHelper() = default;
    DataShareHelper(const DataShareHelper&) = delete;
    DataShareHelper& operator=(const DataShareHelper&) = delete;

    /// Null without a remote object, or while the data ability is away. `waitTime` is in seconds; the ability is here
    /// or it is not, so nothing waits.
    [[nodiscard]] static std::shared_ptr<DataShareHelper> Create(
        const sptr<IRemoteObject>& remote, const std::string& uri, const std::string& extUri, int waitTime = 2);

    /// The rows that match, with the columns that are named, both columns when none is; null on failure.
    [[nodiscard]] std::shared_ptr<DataShareResultSet> Query(
        Uri& uri, const DataSharePredicates& predicates, std::vector<std::string>& columns);
    /// Writes the values into the rows that match. How many did, or E_ERROR.
    [[nodiscard]] int Update(Uri& uri, const DataSharePredicates& predicates, const DataShareValuesBucket& values);
    /// Adds a row. Its number, from 1; E_ERROR when it fails, as for a key that is there already.
    [[nodiscard]] int Insert(Uri& uri, const DataShareValuesBucket& values);

    /// Wakes the observers of exactly this text, in this process.
    void NotifyChange(const Uri& uri);
    /// Registered twice for one URI it is woken once. A null observer is ignored.
    void RegisterObserver(const Uri& uri, const sptr<AAFwk::IDataAbilityObserver>& observer);
    void UnregisterObserver(const Uri& uri, const sptr<AAFwk::IDataAbilityObserver>& observer);

    /// Ends the use of the helper: afterwards calls fail. True, unless it was released before.
    [[nodiscard]] bool Release();

private:
    DataShareHelper() = default;

    std::atomic<bool> released_{false};
};

} // namespace OHOS::DataShare

#endif // OHOS_DATASHARE_HELPER_H
