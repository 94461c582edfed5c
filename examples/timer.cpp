// SPDX-License-Identifier: Apache-2.0
// A clock that ticks every half second and an alarm after three: two tasks of one timer.
#include <orvane/omc.h>

#include <future>
#include <iostream>

using namespace tz::orvane;

constexpr unsigned int kClock = om::OmTimer::kFirstTaskId;
constexpr unsigned int kAlarm = kClock + 1;

struct Listener final : om::OmITimerListener // its method runs on the timer thread
{
    void onTimeout(unsigned int task_id) override
    {
        if (task_id == kAlarm)
        {
            alarm.set_value(); // not cancelled here: that is not allowed inside a callback
            return;
        }
        std::cout << "tick" << std::endl;
    }

    std::promise<void> alarm;
};

int main()
{
    Listener listener;
    om::OmTimer timer(&listener);
    if (timer.setTime(kClock, 500, 1) != 0 || timer.setTime(kAlarm, 3000, 0) != 0)
    {
        return 1;
    }
    listener.alarm.get_future().get();
    timer.cancel(kClock); // no tick comes any more
    std::cout << "three seconds are over\n";
}
