// SPDX-License-Identifier: Apache-2.0
// Feeds any picture to the reader of what cameras write into theirs.
#include "exif.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace
{

void require(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (auto const info = tz::orvane::service::readExif({reinterpret_cast<char const*>(data), size}))
    {
        require(info->rotation >= 0 && info->rotation < 360 && info->rotation % 90 == 0);
        require(info->mirror == 0 || info->mirror == 1);
        require(std::memchr(info->camera_model, '\0', sizeof info->camera_model) != nullptr);
        require(std::memchr(info->camera_maker, '\0', sizeof info->camera_maker) != nullptr);
        require(info->iso >= 0);
        require(info->date_taken.year == -1 || (info->date_taken.month >= 1 && info->date_taken.month <= 12));
    }
    return 0;
}
