// What a record costs on its way through a parcel, against the same fields copied by hand into a growing buffer and out
// again, with as many allocations.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "bench_util.h"
#include "parcel.h"
#include "share_device_info.h"

using namespace OHOS;
using namespace OHOS::Pelago;

namespace {

constexpr int SAMPLES = 301;
constexpr double AIM = 1.5;
constexpr const char* LOST = "a record did not survive the road";

// The fields of a ShareDeviceInfo without anything around them.
struct PlainDevice {
    std::string btName;
    std::string corvaneIdName;
    std::string avatar;
    int32_t colorId = -1;
    int32_t eventCode = 0;
    int32_t deviceState = 101;
    int32_t percent = 0;
    int32_t speed = 0;
    bool isDisappeared = false;
    int32_t deviceType = 1;
    std::string deviceId = "DeviceIdentity";
    int32_t nearbyVersion = 0;
    int64_t lastSharedTime = 0;
    bool isSameAccount = false;
    int32_t contactId = 0;
    std::string contactName;
    std::string contactAvatar;
    bool isOHDevice = true;
    uint32_t discoveredBy = 1;
    std::string concurrentId;
    int32_t capability = 0;
};

// Bytes that grow as a parcel's do, and are read from the front. No alignment, no limit.
class Buffer {
public:
    void Put(const void* bytes, size_t size)
    {
        if (size > capacity_ - size_) {
            capacity_ = std::max<size_t>({512, capacity_ * 2, size_ + size});
            bytes_.reset(static_cast<uint8_t*>(std::realloc(bytes_.release(), capacity_)));
        }
        std::memcpy(bytes_.get() + size_, bytes, size);
        size_ += size;
    }
    template <class T>
    void Put(T value)
    {
        Put(&value, sizeof(value));
    }
    void Put(const std::string& text)
    {
        Put(static_cast<uint32_t>(text.size()));
        Put(text.data(), text.size());
    }

    template <class T>
    bool Take(T& value)
    {
        if (sizeof(value) > size_ - read_) {
            return false;
        }
        std::memcpy(&value, bytes_.get() + read_, sizeof(value));
        read_ += sizeof(value);
        return true;
    }
    bool Take(std::string& text)
    {
        uint32_t length = 0;
        if (!Take(length) || length > size_ - read_) {
            return false;
        }
        text.assign(reinterpret_cast<const char*>(bytes_.get() + read_), length);
        read_ += length;
        return true;
    }

private:
    struct Free {
        void operator()(uint8_t* memory) const
        {
            std::free(memory);
        }
    };
    std::unique_ptr<uint8_t, Free> bytes_;
    size_t size_ = 0;
    size_t capacity_ = 0;
    size_t read_ = 0;
};

void PutAll(Buffer& buffer, const PlainDevice& device)
{
    buffer.Put(device.btName);
    buffer.Put(device.corvaneIdName);
    buffer.Put(device.avatar);
    buffer.Put(device.colorId);
    buffer.Put(device.eventCode);
    buffer.Put(device.deviceState);
    buffer.Put(device.percent);
    buffer.Put(device.speed);
    buffer.Put(device.isDisappeared);
    buffer.Put(device.deviceType);
    buffer.Put(device.deviceId);
    buffer.Put(device.nearbyVersion);
    buffer.Put(device.lastSharedTime);
    buffer.Put(device.isSameAccount);
    buffer.Put(device.contactId);
    buffer.Put(device.contactName);
    buffer.Put(device.contactAvatar);
    buffer.Put(device.isOHDevice);
    buffer.Put(device.discoveredBy);
    buffer.Put(device.concurrentId);
    buffer.Put(device.capability);
}

bool TakeAll(Buffer& buffer, PlainDevice& device)
{
    return buffer.Take(device.btName) && buffer.Take(device.corvaneIdName) && buffer.Take(device.avatar) &&
           buffer.Take(device.colorId) && buffer.Take(device.eventCode) && buffer.Take(device.deviceState) &&
           buffer.Take(device.percent) && buffer.Take(device.speed) && buffer.Take(device.isDisappeared) &&
           buffer.Take(device.deviceType) && buffer.Take(device.deviceId) && buffer.Take(device.nearbyVersion) &&
           buffer.Take(device.lastSharedTime) && buffer.Take(device.isSameAccount) && buffer.Take(device.contactId) &&
           buffer.Take(device.contactName) && buffer.Take(device.contactAvatar) && buffer.Take(device.isOHDevice) &&
           buffer.Take(device.discoveredBy) && buffer.Take(device.concurrentId) && buffer.Take(device.capability);
}

// As a found device of a contact looks.
template <class Device>
Device Sample(size_t avatarSize)
{
    Device device;
    device.btName = "Ada's blue phone";
    device.corvaneIdName = "Ada Lovelace";
    device.avatar = std::string(avatarSize, 'i');
    device.deviceId = "BA7816BF8F01CFEA414140DE5DAE2223";
    device.lastSharedTime = 1700000000123;
    device.concurrentId = "BA7816BF8F01CFEA_1700000000123";
    return device;
}

Bench::Pair Measure(size_t avatarSize, int calls)
{
    auto record = Sample<ShareDeviceInfo>(avatarSize);
    record.contactInfo.contactId = 7;
    record.contactInfo.name = "Ada Lovelace";
    auto plain = Sample<PlainDevice>(avatarSize);
    plain.contactId = 7;
    plain.contactName = "Ada Lovelace";
    return Bench::MeasureInTurns(
        [&record] {
            Parcel parcel;
            ShareDeviceInfo fresh;
            Bench::Require(record.WriteToParcel(parcel) && fresh.ReadFromParcel(parcel), LOST);
            Bench::Keep(fresh);
        },
        [&plain] {
            Buffer buffer;
            PlainDevice fresh;
            PutAll(buffer, plain);
            Bench::Require(TakeAll(buffer, fresh), LOST);
            Bench::Keep(fresh);
        },
        SAMPLES, calls);
}

} // namespace

int main(int argc, char** argv)
{
    Bench::Printer printer("record_bench", argc, argv);
    Bench::PinToCpu(0);
    struct Row {
        const char* name;
        size_t avatarSize;
        int calls;
    };
    for (const Row& row : {Row{"ShareDeviceInfo there and back, avatar 64 B", 64, 2000},
             Row{"ShareDeviceInfo there and back, avatar 64 KiB", 65536, 200}}) {
        const Bench::Pair pair = Measure(row.avatarSize, row.calls);
        printer.Print({row.name, "ns", pair.value, pair.floor, AIM});
    }
    return 0;
}
