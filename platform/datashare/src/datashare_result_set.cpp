#include "datashare_result_set.h"

#include <utility>

#include "host/faults.h"

namespace OHOS::DataShare {

DataShareResultSet::DataShareResultSet(std::vector<Row> rows) : rows_(std::move(rows))
{}

int DataShareResultSet::GetRowCount(int& count) const
{
    if (closed_ || Host::Faults::Take("datashare.GetRowCount")) {
        return E_ERROR;
    }
    count = static_cast<int>(rows_.size());
    return E_OK;
}

int DataShareResultSet::GoToRow(int position)
{
    if (position < 0 || static_cast<size_t>(position) >= rows_.size() || Host::Faults::Take("datashare.GoToRow")) {
        return E_ERROR;
    }
    position_ = position;
    return E_OK;
}

int DataShareResultSet::GetString(int columnIndex, std::string& value) const
{
    if (position_ < 0 || columnIndex < 0 || Host::Faults::Take("datashare.GetString")) {
        return E_ERROR;
    }
    const Row& row = rows_[static_cast<size_t>(position_)];
    if (static_cast<size_t>(columnIndex) >= row.size()) {
        return E_ERROR;
    }
    value = row[static_cast<size_t>(columnIndex)];
    return E_OK;
}

int DataShareResultSet::Close()
{
    rows_.clear();
    position_ = -1;
    closed_ = true;
    return E_OK;
}

} // namespace OHOS::DataShare
