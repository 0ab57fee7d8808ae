#include "parcel.h"

#include <algorithm>
#include <limits>

namespace OHOS {

namespace {
// The first memory of a parcel: most requests and replies never outgrow it, those with the record of a device included.
constexpr size_t FIRST_CAPACITY = 512;
// The longest text or buffer whose length, with a terminator and padding, still counts in an int32.
constexpr size_t MAX_BYTES = std::numeric_limits<int32_t>::max() - 16;
// What a string takes at least: its length, and a NUL with padding.
constexpr size_t MIN_STRING_SIZE = 8;
} // namespace

Parcel::~Parcel() = default;

bool Parcel::SetMaxCapacity(size_t maxCapacity)
{
    if (maxCapacity < size_) {
        return false;
    }
    maxCapacity_ = maxCapacity;
    capacity_ = std::min(capacity_, maxCapacity);
    return true;
}

bool Parcel::RewindRead(size_t position)
{
    if (position > size_) {
        return false;
    }
    readPosition_ = position;
    return true;
}

bool Parcel::RewindWrite(size_t position)
{
    if (position > size_) {
        return false;
    }
    size_ = position;
    readPosition_ = std::min(readPosition_, position);
    return true;
}

bool Parcel::ParseFrom(ParcelBuffer bytes, size_t size)
{
    if (bytes == nullptr && size != 0) {
        return false;
    }
    data_ = std::move(bytes);
    size_ = size;
    capacity_ = size;
    maxCapacity_ = std::max(maxCapacity_, size);
    readPosition_ = 0;
    return true;
}

bool Parcel::ParseFrom(const void* bytes, size_t size)
{
    ParcelBuffer copy(static_cast<uint8_t*>(std::malloc(std::max<size_t>(size, 1))));
    if (copy == nullptr || (bytes == nullptr && size != 0)) {
        return false;
    }
    if (size != 0) {
        std::memcpy(copy.get(), bytes, size);
    }
    return ParseFrom(std::move(copy), size);
}

bool Parcel::Grow(size_t more)
{
    if (more > maxCapacity_ - size_) {
        return false;
    }
    const size_t wanted = std::min(std::max({FIRST_CAPACITY, capacity_ * 2, size_ + more}), maxCapacity_);
    auto* grown = static_cast<uint8_t*>(std::realloc(data_.get(), wanted));
    if (grown == nullptr) {
        return false;
    }
    (void)data_.release(); // realloc has freed or moved it
    data_.reset(grown);
    capacity_ = wanted;
    return true;
}

uint8_t* Parcel::Append(size_t used, size_t size)
{
    if (size > capacity_ - size_ && !Grow(size)) {
        return nullptr;
    }
    uint8_t* place = data_.get() + size_;
    std::memset(place + used, 0, size - used);
    size_ += size;
    return place;
}

bool Parcel::WriteBuffer(const void* bytes, size_t size)
{
    if (size == 0) {
        return true;
    }
    uint8_t* place = bytes == nullptr || size > MAX_BYTES ? nullptr : Append(size, Padded(size));
    if (place == nullptr) {
        return false;
    }
    std::memcpy(place, bytes, size);
    return true;
}

template <typename Unit>
bool Parcel::WriteText(std::basic_string_view<Unit> text)
{
    if (text.size() > MAX_BYTES / sizeof(Unit)) {
        return false;
    }
    const auto count = static_cast<int32_t>(text.size());
    const size_t size = sizeof(count) + Padded((text.size() + 1) * sizeof(Unit));
    if (size > capacity_ - size_ && !Grow(size)) {
        return false;
    }
    uint8_t* place = data_.get() + size_;
    // NUL and padding lie in the last word; what they do not need of it the text covers again.
    constexpr uint32_t NOTHING = 0;
    std::memcpy(place + size - sizeof(NOTHING), &NOTHING, sizeof(NOTHING));
    std::memcpy(place, &count, sizeof(count));
    if (!text.empty()) {
        std::memcpy(place + sizeof(count), text.data(), text.size() * sizeof(Unit));
    }
    size_ += size;
    return true;
}

bool Parcel::WriteString(std::string_view value)
{
    return WriteText(value);
}

bool Parcel::WriteString16(std::u16string_view value)
{
    return WriteText(value);
}

bool Parcel::WriteInt32Vector(const std::vector<int32_t>& values)
{
    const size_t before = size_;
    if (values.size() <= MAX_BYTES / sizeof(int32_t) && WriteInt32(static_cast<int32_t>(values.size())) &&
        WriteBuffer(values.data(), values.size() * sizeof(int32_t))) {
        return true;
    }
    size_ = before;
    return false;
}

bool Parcel::WriteStringVector(const std::vector<std::string>& values)
{
    const size_t before = size_;
    bool fits = values.size() <= MAX_BYTES && WriteInt32(static_cast<int32_t>(values.size()));
    for (auto value = values.begin(); fits && value != values.end(); ++value) {
        fits = WriteString(*value);
    }
    if (!fits) {
        size_ = before;
    }
    return fits;
}

bool Parcel::WriteParcelable(const Parcelable* value)
{
    return WriteBool(value != nullptr) && (value == nullptr || value->Marshalling(*this));
}

bool Parcel::ReadBool(bool& value)
{
    int32_t wide = 0;
    if (!ReadValue(wide)) {
        return false;
    }
    value = wide != 0;
    return true;
}

bool Parcel::ReadInt8(int8_t& value)
{
    int32_t wide = 0;
    if (!ReadValue(wide)) {
        return false;
    }
    value = static_cast<int8_t>(wide);
    return true;
}

const uint8_t* Parcel::ReadBuffer(size_t size)
{
    const size_t readable = GetReadableBytes();
    if (size > readable || Padded(size) > readable || data_ == nullptr) {
        return nullptr;
    }
    const uint8_t* place = data_.get() + readPosition_;
    readPosition_ += Padded(size);
    return place;
}

template <typename Unit>
const uint8_t* Parcel::ReadText(size_t& length)
{
    const size_t readable = GetReadableBytes();
    int32_t count = 0;
    if (readable < sizeof(count)) {
        return nullptr;
    }
    const uint8_t* field = data_.get() + readPosition_;
    std::memcpy(&count, field, sizeof(count));
    const auto units = static_cast<size_t>(count); // a negative one becomes more than any parcel holds
    if (units >= readable / sizeof(Unit) || sizeof(count) + Padded((units + 1) * sizeof(Unit)) > readable) {
        return nullptr;
    }
    const uint8_t* text = field + sizeof(count);
    Unit last;
    std::memcpy(&last, text + units * sizeof(Unit), sizeof(last));
    if (last != 0) {
        return nullptr;
    }
    readPosition_ += sizeof(count) + Padded((units + 1) * sizeof(Unit));
    length = units;
    return text;
}

bool Parcel::ReadString(std::string& value)
{
    size_t length = 0;
    const uint8_t* text = ReadText<char>(length);
    if (text == nullptr) {
        return false;
    }
    value.assign(reinterpret_cast<const char*>(text), length);
    return true;
}

bool Parcel::ReadString16(std::u16string& value)
{
    size_t length = 0;
    const uint8_t* text = ReadText<char16_t>(length);
    if (text == nullptr) {
        return false;
    }
    value.resize(length);
    std::memcpy(value.data(), text, length * sizeof(char16_t));
    return true;
}

std::string Parcel::ReadString()
{
    std::string value;
    (void)ReadString(value); // on failure it is still empty, as promised
    return value;
}

std::u16string Parcel::ReadString16()
{
    std::u16string value;
    (void)ReadString16(value); // on failure it is still empty, as promised
    return value;
}

bool Parcel::ReadInt32Vector(std::vector<int32_t>* values)
{
    const size_t before = readPosition_;
    int32_t count = 0;
    if (values == nullptr || !ReadValue(count)) {
        return false;
    }
    if (static_cast<size_t>(count) > GetReadableBytes() / sizeof(int32_t)) { // so is a negative one
        readPosition_ = before;
        return false;
    }
    values->resize(static_cast<size_t>(count));
    if (count != 0) {
        std::memcpy(values->data(), ReadBuffer(values->size() * sizeof(int32_t)), values->size() * sizeof(int32_t));
    }
    return true;
}

bool Parcel::ReadStringVector(std::vector<std::string>* values)
{
    const size_t before = readPosition_;
    int32_t count = 0;
    if (values == nullptr || !ReadValue(count)) {
        return false;
    }
    std::vector<std::string> strings;
    bool good = static_cast<size_t>(count) <= GetReadableBytes() / MIN_STRING_SIZE; // a negative one is not
    if (good) {
        strings.reserve(static_cast<size_t>(count));
    }
    for (int32_t i = 0; good && i < count; ++i) {
        good = ReadString(strings.emplace_back());
    }
    if (!good) {
        readPosition_ = before;
        return false;
    }
    *values = std::move(strings);
    return true;
}

} // namespace OHOS
