#ifndef PLATFORM_UTILS_PARCEL_H
#define PLATFORM_UTILS_PARCEL_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "refbase.h"

namespace OHOS {

class Parcel;

// Base of the records that travel in parcels. A record also has
//     static Record* Unmarshalling(Parcel&)
// which returns a new record, owned by the caller, or null when the parcel does not hold one.
class Parcelable : public virtual RefBase {
public:
    Parcelable() noexcept = default;
    Parcelable(const Parcelable&) noexcept = default;
    Parcelable& operator=(const Parcelable&) noexcept = default;
    ~Parcelable() override = default;

    // Appends the record's fields in their order. False as soon as one does not fit; those before it stay written.
    [[nodiscard]] virtual bool Marshalling(Parcel& parcel) const = 0;
};

struct ParcelBufferFree {
    void operator()(void* memory) const
    {
        std::free(memory);
    }
};
// Memory from malloc, as a parcel grows it.
using ParcelBuffer = std::unique_ptr<uint8_t, ParcelBufferFree>;

// A flat message: values are appended at the end and read from a cursor, in the same order and with the same types.
// Owns its bytes. One thread at a time. Does not record types, and does not carry objects or descriptors
// (MessageParcel does).
//
// Layout, in the byte order of the machine. Every field begins at a multiple of 4; what pads it is zero.
//     bool, int8, 32-bit integers    4 bytes; bool is 0 or 1, an int8 is widened with its sign
//     64-bit integers                8 bytes
//     string     int32 length in bytes, the bytes, one NUL, padding; a NUL inside is a byte like others
//     string16   int32 length in units, the units, one NUL unit, padding
//     vector     int32 count, then each element as a field
//     parcelable int32 presence (0 or 1), then the record's fields
//     buffer     the bytes, padding
//
// A write that does not fit below the maximum capacity, or that finds no memory, gives false and leaves the parcel as
// it was. A read that finds too little, or a length that cannot be true, gives false (or 0, empty, null) and moves
// nothing; its output keeps its value. No memory is asked for on the word of a count alone.
class Parcel {
public:
    static constexpr size_t DEFAULT_MAX_CAPACITY = 204800;

    Parcel() = default;
    virtual ~Parcel();
    Parcel(const Parcel&) = delete;
    Parcel& operator=(const Parcel&) = delete;

    // ---- Size and position, all in bytes ----

    size_t GetDataSize() const
    {
        return size_;
    }
    // How far writing goes before the memory grows.
    size_t GetDataCapacity() const
    {
        return capacity_;
    }
    size_t GetMaxCapacity() const
    {
        return maxCapacity_;
    }
    // The most that may be written in all. False, with nothing changed, if more than that is there already.
    [[nodiscard]] bool SetMaxCapacity(size_t maxCapacity);

    size_t GetReadPosition() const
    {
        return readPosition_;
    }
    size_t GetReadableBytes() const
    {
        return size_ - readPosition_;
    }
    // Moves the read cursor to a position between 0 and the data's size; false beyond.
    [[nodiscard]] bool RewindRead(size_t position);
    // Cuts the data at a position between 0 and its size; false beyond. A read cursor behind it moves with it.
    [[nodiscard]] bool RewindWrite(size_t position);

    // ---- The bytes as a whole ----

    // The first byte, or null if nothing was ever written. Valid until the next write.
    const uint8_t* GetData() const
    {
        return data_.get();
    }
    // Replaces what is there by `size` bytes and reads from their start. The first form takes the memory over, the
    // second copies. More bytes than the maximum capacity raise it: what a peer may send is limited where it is
    // received.
    [[nodiscard]] bool ParseFrom(ParcelBuffer bytes, size_t size);
    [[nodiscard]] bool ParseFrom(const void* bytes, size_t size);

    // ---- Writing ----

    [[nodiscard]] bool WriteBool(bool value)
    {
        return WriteValue(static_cast<int32_t>(value));
    }
    [[nodiscard]] bool WriteInt8(int8_t value)
    {
        return WriteValue(static_cast<int32_t>(value));
    }
    [[nodiscard]] bool WriteInt32(int32_t value)
    {
        return WriteValue(value);
    }
    [[nodiscard]] bool WriteUint32(uint32_t value)
    {
        return WriteValue(value);
    }
    [[nodiscard]] bool WriteInt64(int64_t value)
    {
        return WriteValue(value);
    }
    [[nodiscard]] bool WriteUint64(uint64_t value)
    {
        return WriteValue(value);
    }
    [[nodiscard]] bool WriteString(std::string_view value);
    [[nodiscard]] bool WriteString16(std::u16string_view value);
    [[nodiscard]] bool WriteInt32Vector(const std::vector<int32_t>& values);
    [[nodiscard]] bool WriteStringVector(const std::vector<std::string>& values);
    // Null is written as absent. The one write that may leave something behind: the fields in front of the one that
    // failed.
    [[nodiscard]] bool WriteParcelable(const Parcelable* value);
    // `size` bytes and padding, without their length. Null only with size 0.
    [[nodiscard]] bool WriteBuffer(const void* bytes, size_t size);

    // ---- Reading, in two forms: the value, or 0 or empty; and whether there was one, with the value in the argument
    // ----

    bool ReadBool()
    {
        return ReadValue<int32_t>() != 0;
    }
    int8_t ReadInt8()
    {
        return static_cast<int8_t>(ReadValue<int32_t>());
    }
    int32_t ReadInt32()
    {
        return ReadValue<int32_t>();
    }
    uint32_t ReadUint32()
    {
        return ReadValue<uint32_t>();
    }
    int64_t ReadInt64()
    {
        return ReadValue<int64_t>();
    }
    uint64_t ReadUint64()
    {
        return ReadValue<uint64_t>();
    }
    std::string ReadString();
    std::u16string ReadString16();

    [[nodiscard]] bool ReadBool(bool& value);
    [[nodiscard]] bool ReadInt8(int8_t& value);
    [[nodiscard]] bool ReadInt32(int32_t& value)
    {
        return ReadValue(value);
    }
    [[nodiscard]] bool ReadUint32(uint32_t& value)
    {
        return ReadValue(value);
    }
    [[nodiscard]] bool ReadInt64(int64_t& value)
    {
        return ReadValue(value);
    }
    [[nodiscard]] bool ReadUint64(uint64_t& value)
    {
        return ReadValue(value);
    }
    [[nodiscard]] bool ReadString(std::string& value);
    [[nodiscard]] bool ReadString16(std::u16string& value);
    // A null argument gives false.
    [[nodiscard]] bool ReadInt32Vector(std::vector<int32_t>* values);
    [[nodiscard]] bool ReadStringVector(std::vector<std::string>* values);
    // A new record, owned by the caller; null if it is absent or does not read. The cursor stays where T stopped.
    template <typename T>
    [[nodiscard]] T* ReadParcelable()
    {
        return ReadValue<int32_t>() != 0 ? T::Unmarshalling(*this) : nullptr;
    }
    // `size` bytes inside the parcel, valid until the next write; null if there are not so many.
    const uint8_t* ReadBuffer(size_t size);

private:
    static constexpr size_t Padded(size_t size)
    {
        return (size + 3) & ~size_t{3};
    }

    template <typename T>
    [[nodiscard]] bool WriteValue(T value)
    {
        if (sizeof(T) > capacity_ - size_ && !Grow(sizeof(T))) {
            return false;
        }
        std::memcpy(data_.get() + size_, &value, sizeof(T));
        size_ += sizeof(T);
        return true;
    }
    template <typename T>
    [[nodiscard]] bool ReadValue(T& value)
    {
        if (sizeof(T) > size_ - readPosition_) {
            return false;
        }
        std::memcpy(&value, data_.get() + readPosition_, sizeof(T));
        readPosition_ += sizeof(T);
        return true;
    }
    template <typename T>
    T ReadValue()
    {
        T value{};
        (void)ReadValue(value); // on failure it is still the zero that the caller is promised
        return value;
    }
    // A text, of bytes or of UTF-16 units. Reading gives its first unit, or null with nothing moved.
    template <typename Unit>
    [[nodiscard]] bool WriteText(std::basic_string_view<Unit> text);
    template <typename Unit>
    const uint8_t* ReadText(size_t& length);

    // `size` more bytes at the end, of which the caller fills the first `used`; the rest is zeroed. Null if they do not
    // fit.
    uint8_t* Append(size_t used, size_t size);
    [[nodiscard]] bool Grow(size_t more);

    ParcelBuffer data_;
    size_t size_ = 0;
    size_t capacity_ = 0; // bytes that may be used of data_; never above maxCapacity_
    size_t maxCapacity_ = DEFAULT_MAX_CAPACITY;
    size_t readPosition_ = 0;
};

} // namespace OHOS

#endif // PLATFORM_UTILS_PARCEL_H
