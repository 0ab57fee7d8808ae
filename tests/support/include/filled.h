#ifndef PELAGO_TESTS_FILLED_H
#define PELAGO_TESTS_FILLED_H

namespace OHOS::Pelago {

// Gives fields their values: Fill(record, &Record::name, "Ann", &Record::size, 7).
template <typename Record>
void Fill(Record&)
{}
template <typename Record, typename Owner, typename Field, typename Value, typename... More>
void Fill(Record& record, Field Owner::*field, const Value& value, const More&... more)
{
    record.*field = value;
    Fill(record, more...);
}

// A new record with these fields.
template <typename Record, typename... Fields>
Record Filled(const Fields&... fields)
{
    Record record;
    Fill(record, fields...);
    return record;
}

} // namespace OHOS::Pelago

#endif // PELAGO_TESTS_FILLED_H
