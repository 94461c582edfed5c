// SPDX-License-Identifier: Apache-2.0
// A group that is seen as another one.
#pragma once

#include "orvane/om_property_group.h"

namespace tz::orvane::test
{

/// Gives other bytes than those of its entries.
class DisguisedGroup final : public om::OmPropertyGroup
{
public:
    void getData(char** data, int* length) const override
    {
        static char image[] = "masked";
        *data = image;
        *length = 6;
    }
};

} // namespace tz::orvane::test
