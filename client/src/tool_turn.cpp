// SPDX-License-Identifier: Apache-2.0
// Lets one thread at a time make or destroy the preview tool of a connection.
#include "tool_turn.h"

#include "made_once.h"

#include <mutex>

namespace tz::orvane::omc
{

StackMarks<ToolTurn>& ToolTurn::turns()
{
    return madeOnce<StackMarks<ToolTurn>>();
}

ToolTurn::ToolTurn(void const* connection)
    : m_connection(connection)
{
    std::unique_lock<std::mutex> lock(turns().mutex);
    turns().waitUntil(lock, [this] { return isFree(); });
    turns().add(*this);
}

ToolTurn::~ToolTurn()
{
    std::lock_guard<std::mutex> lock(turns().mutex);
    turns().remove(*this);
}

bool ToolTurn::isFree() const
{
    ToolTurn const* turn = turns().first();
    while (turn != nullptr && turn->m_connection != m_connection)
    {
        turn = turn->next;
    }
    return turn == nullptr;
}

} // namespace tz::orvane::omc
