#ifndef PELAGO_TESTS_BYTES_H
#define PELAGO_TESTS_BYTES_H

#include <cstdint>
#include <string>
#include <vector>

#include "parcel.h"

namespace OHOS {

using Bytes = std::vector<uint8_t>;

// Of pairs of hexadecimal digits; blanks are for people.
inline Bytes Hex(const std::string& digits)
{
    Bytes bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += digits[i] == ' ' ? 1 : 2) {
        if (digits[i] != ' ') {
            bytes.push_back(static_cast<uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
        }
    }
    return bytes;
}
inline Bytes BytesOf(const Parcel& parcel)
{
    return Bytes(parcel.GetData(), parcel.GetData() + parcel.GetDataSize());
}

} // namespace OHOS

#endif // PELAGO_TESTS_BYTES_H
