// SPDX-License-Identifier: Apache-2.0
// Recognises objects that have been destroyed by the address that they had.
#pragma once

namespace tz::orvane::omc
{

/// Two threads may destroy one object at once, and the one that comes second holds a pointer to nothing. This keeps the
/// addresses and ids of the last few hundred objects, so that such a pointer is refused without being followed. Any
/// thread.
class SpentObjects
{
public:
    static void add(void const* object, unsigned int id);

    /// @param[out] id the id that the object had; left alone when it is not known as destroyed
    static bool find(void const* object, unsigned int& id);

    /// A new object lives at this address.
    static void forget(void const* object);
};

} // namespace tz::orvane::omc
