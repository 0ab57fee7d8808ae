#ifndef OHOS_DATASHARE_PREDICATES_H
#define OHOS_DATASHARE_PREDICATES_H

#include <string>
#include <utility>
#include <vector>

namespace OHOS::DataShare {

/// Which rows are meant: those for which every condition holds, all rows when there is none. A value; no thread rules.
/// Column names are checked where the predicates are used, not here.
class DataSharePredicates {
public:
    DataSharePredicates* EqualTo(const std::string& field, const std::string& value)
    {
        equals_.emplace_back(field, value);
        return this;
    }

    [[nodiscard]] const std::vector<std::pair<std::string, std::string>>& Equals() const
    {
        return equals_;
    }

private:
    std::vector<std::pair<std::string, std::string>> equals_; // column, value
};

} // namespace OHOS::DataShare

#endif // OHOS_DATASHARE_PREDICATES_H
