#include "datashare_helper.h"

#include <optional>
#include <utility>

#include "host/device.h"
#include "host/faults.h"
#include "observer_registry.h"
#include "settings_store.h"

namespace OHOS::DataShare {

namespace {

/// The last part of the URI's path. Anything may come out of a hostile URI; the store takes its own tables only.
std::string TableOf(const Uri& uri)
{
    const std::string& text = uri.ToString();
    const std::string path = text.substr(0, text.find('?'));
    return path.substr(path.rfind('/') + 1);
}

SettingsStore::Cells CellsOf(const DataShareValuesBucket& values)
{
    return {values.Values().begin(), values.Values().end()};
}

} // namespace

std::shared_ptr<DataShareHelper> DataShareHelper::Create(
    const sptr<IRemoteObject>& remote, const std::string& /*uri*/, const std::string& /*extUri*/, int /*waitTime*/)
{
    if (remote == nullptr || Host::Faults::Take("datashare.Create") ||
        !Host::Device::Instance().IsAbilityPresent(Host::AbilityId::DATA_SHARE)) {
        return nullptr;
    }
    return std::shared_ptr<DataShareHelper>(new DataShareHelper());
}

std::shared_ptr<DataShareResultSet> DataShareHelper::Query(
    Uri& uri, const DataSharePredicates& predicates, std::vector<std::string>& columns)
{
    if (released_ || Host::Faults::Take("datashare.Query")) {
        return nullptr;
    }
    std::optional<std::vector<DataShareResultSet::Row>> rows =
        SettingsStore::Instance().Select(TableOf(uri), columns, predicates.Equals());
    return rows.has_value() ? std::make_shared<DataShareResultSet>(std::move(*rows)) : nullptr;
}

int DataShareHelper::Update(Uri& uri, const DataSharePredicates& predicates, const DataShareValuesBucket& values)
{
    if (released_ || Host::Faults::Take("datashare.Update")) {
        return E_ERROR;
    }
    return SettingsStore::Instance().Update(TableOf(uri), CellsOf(values), predicates.Equals()).value_or(E_ERROR);
}

int DataShareHelper::Insert(Uri& uri, const DataShareValuesBucket& values)
{
    if (released_ || Host::Faults::Take("datashare.Insert")) {
        return E_ERROR;
    }
    return SettingsStore::Instance().Insert(TableOf(uri), CellsOf(values)).value_or(E_ERROR);
}

void DataShareHelper::NotifyChange(const Uri& uri)
{
    if (!released_ && !Host::Faults::Take("datashare.NotifyChange")) {
        ObserverRegistry::Instance().Notify(uri.ToString());
    }
}

void DataShareHelper::RegisterObserver(const Uri& uri, const sptr<AAFwk::IDataAbilityObserver>& observer)
{
    if (!released_ && !Host::Faults::Take("datashare.RegisterObserver")) {
        ObserverRegistry::Instance().Add(uri.ToString(), observer);
    }
}

void DataShareHelper::UnregisterObserver(const Uri& uri, const sptr<AAFwk::IDataAbilityObserver>& observer)
{
    if (!released_ && !Host::Faults::Take("datashare.UnregisterObserver")) {
        ObserverRegistry::Instance().Remove(uri.ToString(), observer);
    }
}

bool DataShareHelper::Release()
{
    const bool first = !released_.exchange(true);
    return first && !Host::Faults::Take("datashare.Release");
}

} // namespace OHOS::DataShare
