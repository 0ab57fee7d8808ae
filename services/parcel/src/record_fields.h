#ifndef PELAGO_SERVICES_PARCEL_RECORD_FIELDS_H
#define PELAGO_SERVICES_PARCEL_RECORD_FIELDS_H

#include <cstdint>
#include <string>
#include <tuple>
#include <utility>

#include "parcel.h"
#include "remote_call.h"
#include "share_constants.h"
#include "share_log.h"

// How a record names its fields once, in parcel order, for both directions:
//
//     constexpr FieldList FIELDS{
//         Labels{Log::SHARE_PROXY, Log::SHARE_STUB},
//         Field{&Record::name, "WriteString name failed.", "ReadString name failed."},
//         Field{&Record::size},
//     };
//
//     bool Record::Marshalling(Parcel& parcel) const { return FIELDS.Write(parcel, *this); }
//     bool Record::ReadFromParcel(Parcel& parcel) { return FIELDS.Read(parcel, *this); }
//
// A row is anything with these two, so that what is odd about one record is a row type beside that record:
//
//     bool Write(Parcel&, const Record&, const LogLabel&) const;
//     bool Read(Parcel&, Record&, const LogLabel&) const;
//
// Rows are constants, and the walk over them is always inlined: it folds into plain writes and reads.
namespace OHOS::Pelago {

// What a row says when it fails, and where it stands: the line in the log leads to the row.
struct FieldTexts {
    const char* onWrite;
    const char* onRead;
    const char* file;
    int line;
};

// Logs the text, if there is one. Always false, for the row to return.
[[nodiscard, gnu::cold]] bool WriteFailed(const FieldTexts& texts, const LogLabel& label);
[[nodiscard, gnu::cold]] bool ReadFailed(const FieldTexts& texts, const LogLabel& label);

// One field that travels as it is.
template <class R, class T>
struct Field {
    // A null text says nothing; a null `readLabel` is that of the list.
    constexpr Field(T R::*field, const char* onWrite = nullptr, const char* onRead = nullptr,
        const LogLabel* readLabelOfField = nullptr, const char* file = __builtin_FILE(), int line = __builtin_LINE())
        : member(field), texts{onWrite, onRead, file, line}, readLabel(readLabelOfField)
    {}

    [[nodiscard]] bool Write(Parcel& parcel, const R& record, const LogLabel& label) const
    {
        return Wire::Put(parcel, record.*member) || WriteFailed(texts, label);
    }
    [[nodiscard]] bool Read(Parcel& parcel, R& record, const LogLabel& label) const
    {
        return Wire::Get(parcel, record.*member) || ReadFailed(texts, readLabel == nullptr ? label : *readLabel);
    }

    T R::*member;
    FieldTexts texts;
    const LogLabel* readLabel;
};

// A string that can be a whole image: the parcel is given room for it first.
template <class R>
struct ImageField : Field<R, std::string> {
    using Field<R, std::string>::Field;

    [[nodiscard]] bool Write(Parcel& parcel, const R& record, const LogLabel& label) const
    {
        // More room is never refused.
        (void)parcel.SetMaxCapacity(parcel.GetMaxCapacity() + (record.*this->member).size());
        return Field<R, std::string>::Write(parcel, record, label);
    }
};
template <class R, class... Rest>
ImageField(std::string R::*, Rest...) -> ImageField<R>;

// No field: from here on a parcel that carries a payload has this much room. Set, not raised: what came before counts.
struct PayloadRoom {
    template <class R>
    [[nodiscard]] bool Write(Parcel& parcel, const R&, const LogLabel&) const
    {
        return Set(parcel);
    }
    template <class R>
    [[nodiscard]] bool Read(Parcel& parcel, R&, const LogLabel&) const
    {
        return Set(parcel);
    }

private:
    static bool Set(Parcel& parcel)
    {
        (void)parcel.SetMaxCapacity(PAYLOAD_PARCEL_CAPACITY); // refused when more is there already: that limit stands
        return true;
    }
};

// Whose lines those of a record are, as it is written and as it is read.
struct Labels {
    LogLabel writing;
    LogLabel reading;
};

// The rows of a record in parcel order, one in each line of the source.
template <class... Rows>
class FieldList {
public:
    constexpr explicit FieldList(Labels labels, Rows... rows) : labels_(labels), rows_(rows...)
    {}

    // Both stop with false at the first row that fails.
    template <class R>
    [[nodiscard, gnu::always_inline]] bool Write(Parcel& parcel, const R& record) const
    {
        return WriteRows(parcel, record, std::index_sequence_for<Rows...>());
    }
    template <class R>
    [[nodiscard, gnu::always_inline]] bool Read(Parcel& parcel, R& record) const
    {
        return ReadRows(parcel, record, std::index_sequence_for<Rows...>());
    }

private:
    template <class R, size_t... I>
    [[nodiscard, gnu::always_inline]] bool WriteRows(Parcel& parcel, const R& record, std::index_sequence<I...>) const
    {
        return (std::get<I>(rows_).Write(parcel, record, labels_.writing) && ...);
    }
    template <class R, size_t... I>
    [[nodiscard, gnu::always_inline]] bool ReadRows(Parcel& parcel, R& record, std::index_sequence<I...>) const
    {
        return (std::get<I>(rows_).Read(parcel, record, labels_.reading) && ...);
    }

    Labels labels_;
    std::tuple<Rows...> rows_;
};

} // namespace OHOS::Pelago

#endif // PELAGO_SERVICES_PARCEL_RECORD_FIELDS_H
