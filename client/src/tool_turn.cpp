// SPDX-License-Identifier: Apache-2.0
// Lets one thread at a time make or destroy the preview tool of a connection.
#include "tool_turn.h"

#include <condition_variable>
#include <mutex>
#include <set>

namespace tz::orvane::omc
{

namespace
{

struct Turns
{
    std::mutex mutex;
    std::condition_variable changed;
    std::set<void const*> taken; ///< connections
};

// Never destroyed: connections may still be used while the process ends.
Turns& turns()
{
    static Turns& instance = *new Turns;
    return instance;
}

} // namespace

ToolTurn::ToolTurn(void const* connection)
    : m_connection(connection)
{
    std::unique_lock<std::mutex> lock(turns().mutex);
    turns().changed.wait(lock, [connection] { return turns().taken.insert(connection).second; });
}

ToolTurn::~ToolTurn()
{
    std::lock_guard<std::mutex> lock(turns().mutex);
    turns().taken.erase(m_connection);
    turns().changed.notify_all();
}

} // namespace tz::orvane::omc
