// SPDX-License-Identifier: Apache-2.0
// Recognises objects that have been destroyed by the address that they had.
#include "spent_objects.h"

#include "fork_guard.h"
#include "made_once.h"

#include <array>
#include <cstddef>
#include <mutex>

namespace tz::orvane::omc
{

namespace
{

struct Entry
{
    void const* object = nullptr;
    unsigned int id = 0;
};

struct Spent final : ForkGuard::Module
{
    std::array<Entry, 512> entries;
    std::size_t next = 0;

    Entry* find(void const* object)
    {
        for (Entry& entry : entries)
        {
            if (entry.object == object)
            {
                return &entry;
            }
        }
        return nullptr;
    }
};

Spent& spent()
{
    return madeOnce<Spent>();
}

} // namespace

void SpentObjects::add(void const* object, unsigned int id)
{
    std::lock_guard<std::mutex> lock(spent().mutex);
    spent().entries[spent().next] = {object, id};
    spent().next = (spent().next + 1) % spent().entries.size();
}

bool SpentObjects::find(void const* object, unsigned int& id)
{
    std::lock_guard<std::mutex> lock(spent().mutex);
    Entry const* const entry = spent().find(object);
    if (entry != nullptr)
    {
        id = entry->id;
    }
    return entry != nullptr;
}

void SpentObjects::forget(void const* object)
{
    std::lock_guard<std::mutex> lock(spent().mutex);
    while (Entry* const entry = spent().find(object))
    {
        *entry = {};
    }
}

} // namespace tz::orvane::omc
