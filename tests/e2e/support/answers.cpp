// SPDX-License-Identifier: Apache-2.0
// What named commands answer.
#include "support/answers.h"

#include "support/wait.h"

#include "orvane/om_property_group.h"

#include <cmath>

namespace tz::orvane::test
{

Answers ask(Viewer& viewer, std::string const& command, Viewer::Options const& options)
{
    om::OmPropertyGroup group;
    for (auto const& [key, value] : options)
    {
        group.add(key, value);
    }
    Answers answers;
    if (viewer.player().doExtendCommand(command, group) >= 0)
    {
        for (int index = 0; index < group.count(); ++index)
        {
            answers.emplace(group.keyAt(index), group.valueAt(index));
        }
    }
    return answers;
}

Answers askPatiently(Viewer& viewer, std::string const& command)
{
    Answers answers;
    EXPECT_TRUE(eventually(
        [&]
        {
            answers = ask(viewer, command);
            return !answers.empty();
        }))
        << command;
    return answers;
}

double statistic(Viewer& viewer, char const* key)
{
    Answers const answers = askPatiently(viewer, om::OM_COMMAND_STATISTICS);
    auto const found = answers.find(key);
    EXPECT_NE(found, answers.end()) << key;
    return found == answers.end() ? 0.0 : std::stod(found->second);
}

bool soundsLike(Viewer& viewer, double decibels, char const* key)
{
    return eventually([&] { return std::abs(statistic(viewer, key) - decibels) <= 1.0; });
}

} // namespace tz::orvane::test
