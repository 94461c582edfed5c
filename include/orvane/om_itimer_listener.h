// SPDX-License-Identifier: Apache-2.0
// What an application implements to hear that a timer's task has expired.
#pragma once

namespace tz::orvane::om
{

/// Called on the timer thread, one task at a time. Never owned by the library.
///
/// The timers stand still while a callback runs, and every other thread that arms, cancels or destroys one waits for
/// it. From inside a callback:
/// - `setTime`, `cancel` and `cancelAll` of OmTimer do nothing but log an error, and give -2;
/// - an OmTimer, its own included, may be made and destroyed;
/// - do not wait for a thread that arms, cancels or destroys a timer: it waits for the callback. Destroying a player or
///   another object whose listeners use timers is such a wait, and so is removing these listeners;
/// - do not throw.
class OmITimerListener
{
public:
    /// @param task_id the id under which the task was armed
    virtual void onTimeout(unsigned int task_id) = 0;

protected:
    ~OmITimerListener() = default;
};

} // namespace tz::orvane::om
