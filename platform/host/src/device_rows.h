#ifndef PLATFORM_HOST_DEVICE_ROWS_H
#define PLATFORM_HOST_DEVICE_ROWS_H

#include <algorithm>
#include <vector>

#include "host/device.h"

// Small lists of the device model. For its sources alone; no thread rules.
namespace OHOS::Host {

template <typename T>
[[nodiscard]] bool Erase(std::vector<T>& values, const T& value)
{
    const auto found = std::find(values.begin(), values.end(), value);
    if (found == values.end()) {
        return false;
    }
    values.erase(found);
    return true;
}

/// The row with this id, null when there is none.
template <typename Rows, typename Id>
auto* RowById(Rows& rows, Id id)
{
    const auto found = std::find_if(rows.begin(), rows.end(), [id](const auto& row) { return row.id == id; });
    return found == rows.end() ? nullptr : &*found;
}

template <typename T>
bool Contains(const std::vector<T>& values, const T& value)
{
    return std::find(values.begin(), values.end(), value) != values.end();
}

/// What radios say that have become these modes.
RadioStates StatesOf(WifiMode wifi, BluetoothMode bluetooth);

} // namespace OHOS::Host

#endif // PLATFORM_HOST_DEVICE_ROWS_H
