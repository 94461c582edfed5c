// SPDX-License-Identifier: Apache-2.0
// Pictures that a service has left which was killed.
#pragma once

#include <string>

namespace tz::orvane::service
{

/// Removes previews and screenshots of services that run no more: their names tell whose they are. To be called before
/// this process makes any.
void removeLeftPictures(std::string const& folder);

} // namespace tz::orvane::service
