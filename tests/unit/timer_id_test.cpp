// SPDX-License-Identifier: Apache-2.0
// The ids of timers; alone in its program, since they count on as long as the process lives.
#include "orvane/om_timer.h"

#include <gtest/gtest.h>

namespace tz::orvane::om
{

namespace
{

TEST(OmTimerId, countsFromB001AndGoesOnFromZeroBehindB0FF)
{
    EXPECT_EQ(OmTimer(nullptr).id(), 0xB001U);
    unsigned int expected = 0xB001;
    for (int i = 0; i < 0xB0FF + 0x200; ++i)
    {
        expected = expected == 0xB0FF ? 0 : expected + 1;
        ASSERT_EQ(OmTimer(nullptr).id(), expected);
    }
}

} // namespace

} // namespace tz::orvane::om
