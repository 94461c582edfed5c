// SPDX-License-Identifier: Apache-2.0
// A recorded message as one line of text, with the values of its arguments.
#pragma once

#include "support/scripted_service.h"

#include <string>
#include <vector>

namespace tz::orvane::test
{

/// "msg=0xC208 uid=0x2001 type=1 oneway sint64(5) sint32(-3)"; a query says "query". Data and blocks are shown as
/// "data(2: 0aff)", without the bytes when there are more than 64.
std::string textOf(RecordedMessage const& message);

/// Everything that has arrived since the last look, as text.
std::vector<std::string> takeTexts(ScriptedService& service);

/// `bytes` as hexadecimal digits.
std::string hexOf(std::string const& bytes);

} // namespace tz::orvane::test
