// SPDX-License-Identifier: Apache-2.0
// Lets one thread at a time make or destroy the preview tool of a connection.
#pragma once

#include "stack_marks.h"

namespace tz::orvane::omc
{

/// The message that destroys a tool does not say which: it must never meet one that is being made. Whoever has the turn
/// may wait for the service, since no lock is held meanwhile. Lives on the stack. Any thread; not twice on one.
class ToolTurn : public StackMark<ToolTurn>
{
public:
    /// Waits until nobody else has the turn of this connection.
    explicit ToolTurn(void const* connection);
    ToolTurn(ToolTurn const&) = delete;
    ToolTurn& operator=(ToolTurn const&) = delete;
    ~ToolTurn();

private:
    static StackMarks<ToolTurn>& turns();

    bool isFree() const;

    void const* m_connection;
};

} // namespace tz::orvane::omc
