// SPDX-License-Identifier: Apache-2.0
// Memory for what is secret: nothing of it is left where it was.
#pragma once

#include <openssl/crypto.h>

#include <cstddef>
#include <memory>
#include <string>

namespace tz::orvane::service
{

template <class Value> class WipingAllocator
{
public:
    using value_type = Value;

    WipingAllocator() = default;
    template <class Other> WipingAllocator(WipingAllocator<Other> const&) noexcept {}

    Value* allocate(std::size_t count) { return std::allocator<Value>().allocate(count); }
    void deallocate(Value* memory, std::size_t count) noexcept
    {
        OPENSSL_cleanse(memory, count * sizeof(Value));
        std::allocator<Value>().deallocate(memory, count);
    }

    template <class Other> bool operator==(WipingAllocator<Other> const&) const noexcept { return true; }
    template <class Other> bool operator!=(WipingAllocator<Other> const&) const noexcept { return false; }
};

/// Texts of up to 15 characters are not on the heap, and not wiped. Keys are longer, and no text holds only a part of
/// one.
using WipedText = std::basic_string<char, std::char_traits<char>, WipingAllocator<char>>;

} // namespace tz::orvane::service
