// SPDX-License-Identifier: Apache-2.0
// Finds the slot of a virtual member function in its class's table, as the Itanium C++ ABI lays it out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tz::orvane::test
{

/// @return the slot, counted from 0 (a destructor takes two); -1 for a function that is not virtual
template <class Class, class Function> long slotOf(Function Class::*member)
{
    struct
    {
        std::uintptr_t pointer;
        std::ptrdiff_t adjustment;
    } parts;
    static_assert(sizeof member == sizeof parts);
    std::memcpy(&parts, &member, sizeof parts);
#if defined(__arm__) || defined(__aarch64__)
    // Code addresses may be odd there, hence the mark stands in the adjustment.
    bool const isVirtual = (parts.adjustment & 1) != 0;
    std::uintptr_t const offset = parts.pointer;
#else
    bool const isVirtual = (parts.pointer & 1U) != 0;
    std::uintptr_t const offset = parts.pointer - 1;
#endif
    return isVirtual ? static_cast<long>(offset / sizeof(void*)) : -1;
}

/// A class that adds a function to the table of another: its slot tells how many there are before it.
template <class Interface> class WithOneMore : public Interface
{
public:
    virtual void oneMore() = 0;

protected:
    ~WithOneMore() = default; // NOLINT(modernize-use-override): virtual in some of the bases only
};

/// @return the number of slots, destructors included
template <class Interface> long slotCount()
{
    return slotOf(&WithOneMore<Interface>::oneMore);
}

} // namespace tz::orvane::test
