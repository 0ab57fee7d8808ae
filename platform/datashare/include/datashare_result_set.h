#ifndef OHOS_DATASHARE_RESULT_SET_H
#define OHOS_DATASHARE_RESULT_SET_H

#include <string>
#include <vector>

namespace OHOS::DataShare {

inline constexpr int E_OK = 0;
inline constexpr int E_ERROR = -1;

/// The rows that a query found, read in whole at the time of the query: it outlives the helper that made it and does
/// not see later changes. Owned by the caller, used by one thread at a time.
class DataShareResultSet {
public:
    using Row = std::vector<std::string>;

    explicit DataShareResultSet(std::vector<Row> rows);

    /// E_OK with the number of rows; E_ERROR after Close.
    [[nodiscard]] int GetRowCount(int& count) const;
    /// Makes a row, from 0, the current one. E_ERROR beyond the ends, and then the current row stays.
    [[nodiscard]] int GoToRow(int position);
    /// A column of the current row, in the order in which the query named them. E_ERROR with `value` untouched when
    /// there is no current row or no such column.
    [[nodiscard]] int GetString(int columnIndex, std::string& value) const;
    /// Lets the rows go; everything afterwards gives E_ERROR.
    int Close();

private:
    std::vector<Row> rows_;
    int position_ = -1;
    bool closed_ = false;
};

} // namespace OHOS::DataShare

#endif // OHOS_DATASHARE_RESULT_SET_H
