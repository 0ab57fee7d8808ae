#ifndef OHOS_DATASHARE_VALUES_BUCKET_H
#define OHOS_DATASHARE_VALUES_BUCKET_H

#include <map>
#include <string>

namespace OHOS::DataShare {

/// The values to write into a row, by column. A value; no thread rules.
class DataShareValuesBucket {
public:
    /// A later value of the same column replaces the earlier one.
    void Put(const std::string& columnName, const std::string& value)
    {
        values_[columnName] = value;
    }

    [[nodiscard]] const std::map<std::string, std::string>& Values() const
    {
        return values_;
    }

private:
    std::map<std::string, std::string> values_;
};

} // namespace OHOS::DataShare

#endif // OHOS_DATASHARE_VALUES_BUCKET_H
