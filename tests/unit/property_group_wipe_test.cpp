// SPDX-License-Identifier: Apache-2.0
// A property group leaves nothing of its content behind in the memory that it gives back.
#include "orvane/om_property_group.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace
{

unsigned char const* s_watched = nullptr;
std::size_t s_watchedSize = 0;
bool s_freed = false;
bool s_wiped = false;

} // namespace

void* operator new[](std::size_t size)
{
    if (void* const memory = std::malloc(size))
    {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete[](void* memory) noexcept
{
    if (memory != nullptr && memory == s_watched)
    {
        s_freed = true;
        s_wiped = std::all_of(s_watched, s_watched + s_watchedSize, [](unsigned char byte) { return byte == 0; });
    }
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    operator delete[](memory);
}

namespace tz::orvane::om
{

TEST(OmPropertyGroup, destructionZeroesTheWholeBuffer)
{
    {
        OmPropertyGroup group;
        group.add("secret", "value");
        char* data = nullptr;
        int length = 0;
        group.getData(&data, &length);
        s_watched = reinterpret_cast<unsigned char const*>(data);
        s_watchedSize = 32;
    }
    EXPECT_TRUE(s_freed);
    EXPECT_TRUE(s_wiped);
    s_watched = nullptr;
}

} // namespace tz::orvane::om
