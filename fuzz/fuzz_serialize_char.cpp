// SPDX-License-Identifier: Apache-2.0
// Makes any bytes printable and compares with a stream that does the same.
#include "orvane/om_type_util.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    // A block of exactly this size, so that the first byte behind it is watched.
    auto const bytes = std::make_unique<char[]>(size);
    std::copy_n(data, size, bytes.get());

    std::stringstream stream;
    for (std::size_t i = 0; i < size; ++i)
    {
        stream << (bytes[i] == '\0' ? '*' : bytes[i]);
    }
    std::string expected;
    stream >> expected;
    if (tz::orvane::om::serializeChar(bytes.get(), static_cast<int>(size)) != expected)
    {
        std::abort();
    }
    return 0;
}
