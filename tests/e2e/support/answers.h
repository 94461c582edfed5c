// SPDX-License-Identifier: Apache-2.0
// What named commands answer.
#pragma once

#include "support/viewer.h"

#include "orvane/om_service.h"

#include <map>
#include <string>

namespace tz::orvane::test
{

using Answers = std::map<std::string, std::string>;

/// @return the properties of the answer; empty when the command was refused
Answers ask(Viewer& viewer, std::string const& command, Viewer::Options const& options = {});

/// Asks again when the answer takes too long, and fails the test when none comes at all.
Answers askPatiently(Viewer& viewer, std::string const& command);

/// @return one of the statistics
double statistic(Viewer& viewer, char const* key);

/// Waits until a level is within one decibel. @return false when it still is not after ten seconds
bool soundsLike(Viewer& viewer, double decibels, char const* key = om::OM_STATISTIC_AUDIO_LEVEL);

} // namespace tz::orvane::test
