// SPDX-License-Identifier: Apache-2.0
// Numbers that clients write as text.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace tz::orvane::service
{

/// @return nothing for what is not a whole decimal number from `least` to `most`
inline std::optional<std::int64_t> toNumber(std::string_view text, std::int64_t least, std::int64_t most)
{
    std::int64_t number = 0;
    auto const result = std::from_chars(text.data(), text.data() + text.size(), number);
    bool const whole = result.ec == std::errc() && result.ptr == text.data() + text.size();
    return whole && number >= least && number <= most ? std::optional<std::int64_t>(number) : std::nullopt;
}

} // namespace tz::orvane::service
