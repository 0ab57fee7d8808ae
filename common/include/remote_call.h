#ifndef PELAGO_COMMON_REMOTE_CALL_H
#define PELAGO_COMMON_REMOTE_CALL_H

#include <string>
#include <type_traits>
#include <vector>

#include "iremote_object.h"
#include "message_option.h"
#include "message_parcel.h"

// How a call to a remote object, and a record in it, is put into a parcel and taken out, by the types of its fields.
// One overload for each kind of field that travels. No state; any thread.
namespace OHOS::Pelago::Wire {

// A descriptor among the fields of a call. Writing does not take it over; reading gives one that the reader owns.
struct Descriptor {
    int fd = -1;
};

// A record that is preceded by an int32 that says that it is there.
template <typename Record>
struct Present {
    const Record& record;
};

template <typename Record, typename = void>
struct IsRecord : std::false_type {};
template <typename Record>
struct IsRecord<Record, std::void_t<decltype(std::declval<const Record&>().WriteToParcel(std::declval<Parcel&>()))>>
    : std::true_type {};

[[nodiscard]] inline bool Put(Parcel& parcel, bool value)
{
    return parcel.WriteBool(value);
}
[[nodiscard]] inline bool Put(Parcel& parcel, int8_t value)
{
    return parcel.WriteInt8(value);
}
[[nodiscard]] inline bool Put(Parcel& parcel, int32_t value)
{
    return parcel.WriteInt32(value);
}
[[nodiscard]] inline bool Put(Parcel& parcel, uint32_t value)
{
    return parcel.WriteUint32(value);
}
[[nodiscard]] inline bool Put(Parcel& parcel, int64_t value)
{
    return parcel.WriteInt64(value);
}
[[nodiscard]] inline bool Put(Parcel& parcel, uint64_t value)
{
    return parcel.WriteUint64(value);
}
[[nodiscard]] inline bool Put(Parcel& parcel, const std::string& value)
{
    return parcel.WriteString(value);
}
[[nodiscard]] inline bool Put(Parcel& parcel, const std::vector<std::string>& value)
{
    return parcel.WriteStringVector(value);
}
[[nodiscard]] inline bool Put(MessageParcel& parcel, const sptr<IRemoteObject>& value)
{
    return parcel.WriteRemoteObject(value);
}
[[nodiscard]] inline bool Put(MessageParcel& parcel, Descriptor value)
{
    return parcel.WriteFileDescriptor(value.fd);
}
template <typename Record>
[[nodiscard]] std::enable_if_t<IsRecord<Record>::value, bool> Put(Parcel& parcel, const Record& record)
{
    return record.WriteToParcel(parcel);
}
template <typename Record>
[[nodiscard]] bool Put(MessageParcel& parcel, Present<Record> present)
{
    return parcel.WriteInt32(1) && present.record.WriteToParcel(parcel);
}

// The reading side. Each reads one field and leaves it as it was when that fails, but for records, which may be half
// read.
[[nodiscard]] inline bool Get(Parcel& parcel, bool& value)
{
    return parcel.ReadBool(value);
}
[[nodiscard]] inline bool Get(Parcel& parcel, int8_t& value)
{
    return parcel.ReadInt8(value);
}
[[nodiscard]] inline bool Get(Parcel& parcel, int32_t& value)
{
    return parcel.ReadInt32(value);
}
[[nodiscard]] inline bool Get(Parcel& parcel, uint32_t& value)
{
    return parcel.ReadUint32(value);
}
[[nodiscard]] inline bool Get(Parcel& parcel, int64_t& value)
{
    return parcel.ReadInt64(value);
}
[[nodiscard]] inline bool Get(Parcel& parcel, uint64_t& value)
{
    return parcel.ReadUint64(value);
}
[[nodiscard]] inline bool Get(Parcel& parcel, std::string& value)
{
    return parcel.ReadString(value);
}
[[nodiscard]] inline bool Get(Parcel& parcel, std::vector<std::string>& value)
{
    return parcel.ReadStringVector(&value);
}
template <typename Record>
[[nodiscard]] std::enable_if_t<IsRecord<Record>::value, bool> Get(Parcel& parcel, Record& record)
{
    return record.ReadFromParcel(parcel);
}

// Reads the fields in order. Stops with false at the first that fails.
template <typename... Fields>
[[nodiscard]] bool GetAll(MessageParcel& parcel, Fields&... fields)
{
    return (Get(parcel, fields) && ... && true);
}

// What a call gives that could not be written: the request never left.
inline constexpr int32_t ERROR_NOT_WRITTEN = -1;

// Writes the token and the fields in order. Stops with false at the first that fails.
template <typename... Fields>
[[nodiscard]] bool PutRequest(MessageParcel& data, const std::u16string& token, const Fields&... fields)
{
    return data.WriteInterfaceToken(token) && (Put(data, fields) && ... && true);
}

// Calls `code` of `remote` with `fields`; `reply` is what came back. What SendRequest gave: 0, or an error of the
// callee or of the transport, or ERROR_NOT_WRITTEN.
template <typename Code, typename... Fields>
[[nodiscard]] int32_t Call(const sptr<IRemoteObject>& remote, const std::u16string& token, Code code,
    MessageParcel& reply, MessageOption option, const Fields&... fields)
{
    MessageParcel data;
    if (remote == nullptr || !PutRequest(data, token, fields...)) {
        return ERROR_NOT_WRITTEN;
    }
    return remote->SendRequest(static_cast<uint32_t>(code), data, reply, option);
}

} // namespace OHOS::Pelago::Wire

#endif // PELAGO_COMMON_REMOTE_CALL_H
