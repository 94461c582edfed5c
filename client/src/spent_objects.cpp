// SPDX-License-Identifier: Apache-2.0
// Recognises objects that have been destroyed by the address that they had.
#include "spent_objects.h"

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

std::mutex g_mutex;
std::array<Entry, 512> g_entries;
std::size_t g_next = 0;

Entry* entryOf(void const* object)
{
    for (Entry& entry : g_entries)
    {
        if (entry.object == object)
        {
            return &entry;
        }
    }
    return nullptr;
}

} // namespace

void SpentObjects::add(void const* object, unsigned int id)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    g_entries[g_next] = {object, id};
    g_next = (g_next + 1) % g_entries.size();
}

bool SpentObjects::find(void const* object, unsigned int& id)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    Entry const* const entry = entryOf(object);
    if (entry != nullptr)
    {
        id = entry->id;
    }
    return entry != nullptr;
}

void SpentObjects::forget(void const* object)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    while (Entry* const entry = entryOf(object))
    {
        *entry = {};
    }
}

} // namespace tz::orvane::omc
