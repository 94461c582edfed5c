// SPDX-License-Identifier: Apache-2.0
// Numbers out of bytes of files, most significant byte first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tz::orvane::service
{

/// @param size 1 to 8 bytes @return 0 for bytes that are not there
inline std::uint64_t bigEndian(std::string_view bytes, std::size_t at, std::size_t size)
{
    if (at > bytes.size() || bytes.size() - at < size)
    {
        return 0;
    }
    std::uint64_t number = 0;
    for (char const byte : bytes.substr(at, size))
    {
        number = number << 8U | static_cast<unsigned char>(byte);
    }
    return number;
}

} // namespace tz::orvane::service
