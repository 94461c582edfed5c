// SPDX-License-Identifier: Apache-2.0
// Commands that have a name instead of a number.
#include "support/answers.h"
#include "support/feeders.h"
#include "support/wait.h"

#include "om_protocol.h"

#include "orvane/om_enums.h"

#include <gmock/gmock.h>

#include <iterator>
#include <sstream>

namespace tz::orvane::test
{
namespace
{

using testing::AllOf;
using testing::Contains;
using testing::Ge;
using testing::IsEmpty;
using testing::Le;
using testing::MatchesRegex;
using testing::Not;

class ExtendedCommands : public WithService
{
};

std::vector<std::string> commandsOf(Viewer& viewer)
{
    std::istringstream names(ask(viewer, om::OM_COMMAND_LIST_COMMANDS)[om::OM_KEY_COMMANDS]);
    return {std::istream_iterator<std::string>(names), std::istream_iterator<std::string>()};
}

TEST_F(ExtendedCommands, theServiceTellsItsVersions)
{
    Viewer viewer;
    Answers answers = ask(viewer, om::OM_COMMAND_VERSION);
    EXPECT_THAT(answers[om::OM_KEY_VERSION], MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+"));
    EXPECT_EQ(answers[om::OM_KEY_PROTOCOL], std::to_string(protocol::kProtocolVersion));
}

TEST_F(ExtendedCommands, whatIsListedIsThere)
{
    Viewer viewer;
    std::vector<std::string> const names = commandsOf(viewer);
    for (char const* const name :
         {om::OM_COMMAND_VERSION, om::OM_COMMAND_LIST_COMMANDS, om::OM_COMMAND_STATISTICS,
          om::OM_COMMAND_PLAYTIME_INTERVAL, om::OM_COMMAND_PUSH_FROM, om::OM_COMMAND_END_OF_DATA})
    {
        EXPECT_THAT(names, Contains(name));
    }
    EXPECT_THAT(names, Not(Contains("no-such-command")));
    EXPECT_EQ(viewer.command("no-such-command"), -1);
    EXPECT_EQ(viewer.command(""), -1);
}

TEST_F(ExtendedCommands, statisticsCountThePicturesThatWereDecoded)
{
    Viewer viewer;
    EXPECT_THAT(ask(viewer, om::OM_COMMAND_STATISTICS), IsEmpty());
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    viewer.player().start(8'000);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED, om::OM_ACT_ENDED));
    Answers answers = ask(viewer, om::OM_COMMAND_STATISTICS);
    double const decoded = std::stod(answers[om::OM_STATISTIC_FRAMES_DECODED]);
    double const dropped = std::stod(answers[om::OM_STATISTIC_FRAMES_DROPPED]);
    // More than is seen of it while it stands, less than all of it.
    EXPECT_THAT(decoded + dropped, AllOf(Ge(10), Le(160)));
    EXPECT_GT(decoded, 0);
    EXPECT_EQ(answers[om::OM_STATISTIC_BUFFERING], "100");
    EXPECT_EQ(answers[om::OM_STATISTIC_AUDIO_RATE], "48000");
    EXPECT_EQ(answers[om::OM_STATISTIC_AUDIO_CHANNELS], "2");
    EXPECT_EQ(answers[om::OM_STATISTIC_AUDIO_LEVEL], "-700.0");
    ASSERT_TRUE(viewer.open(media("vonly.mp4")));
    answers = ask(viewer, om::OM_COMMAND_STATISTICS);
    EXPECT_LE(std::stod(answers[om::OM_STATISTIC_FRAMES_DECODED]), 30);
    EXPECT_EQ(answers[om::OM_STATISTIC_AUDIO_RATE], "0");
    EXPECT_EQ(answers[om::OM_STATISTIC_AUDIO_CHANNELS], "0");
}

TEST_F(ExtendedCommands, picturesThatComeTooLateAreCounted)
{
    Viewer viewer;
    om::om_es_format_t format{};
    format.codec = om::OM_VIDEO_CODEC_H264;
    viewer.player().openEsMedia(&format, sizeof format, nullptr, 0, nullptr, 0);
    std::vector<AccessUnit> const units = readH264(media("v.h264"));
    auto const push = [&](std::size_t from, std::size_t to)
    {
        for (std::size_t at = from; at < to; ++at)
        {
            om::om_es_unit_t head = units[at].unit;
            viewer.player().pushEsData(units[at].bytes.data(), static_cast<unsigned int>(units[at].bytes.size()), &head,
                                       sizeof head, nullptr, 0, nullptr, 0);
        }
    };
    push(0, 50);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    viewer.player().start(0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    ASSERT_TRUE(eventually([&] { return statistic(viewer, om::OM_STATISTIC_FRAMES_DECODED) >= 30; }));
    viewer.recorder().forget();
    for (int count = 0; count < 12; ++count)
    {
        ASSERT_TRUE(viewer.recorder().takePlayTime()); // three seconds pass without pictures
    }
    push(50, 90); // up to 3.6 seconds
    EXPECT_TRUE(eventually([&] { return statistic(viewer, om::OM_STATISTIC_FRAMES_DROPPED) > 0; }));
}

TEST_F(ExtendedCommands, theIntervalOfPlayTimesChangesWhilePlaying)
{
    Viewer viewer;
    EXPECT_THAT(ask(viewer, om::OM_COMMAND_PLAYTIME_INTERVAL, {{om::OM_KEY_INTERVAL, "50"}}), IsEmpty());
    ASSERT_TRUE(viewer.open(media("v.mp4"), om::OM_PREPARE_AUTO_START, {{om::OM_PREPARE_KEY_PLAYTIME_INTERVAL, "0"}}));
    EXPECT_EQ(ask(viewer, om::OM_COMMAND_PLAYTIME_INTERVAL)[om::OM_KEY_INTERVAL], "0");
    EXPECT_EQ(ask(viewer, om::OM_COMMAND_PLAYTIME_INTERVAL, {{om::OM_KEY_INTERVAL, "50"}})[om::OM_KEY_INTERVAL], "50");
    auto const first =
        viewer.recorder().take([](Note const& note) { return note.kind == Note::Kind::playTime && note.value > 0; });
    std::optional<Note> last;
    for (int count = 0; count < 20; ++count)
    {
        last = viewer.recorder().takePlayTime();
    }
    ASSERT_TRUE(first && last);
    EXPECT_LT(last->at - first->at, std::chrono::milliseconds(4'500)) << "as a rule it takes five seconds";
    EXPECT_GE(last->value - first->value, 600);

    for (char const* const wrong : {"19", "-1", "3600001", "50ms", " 50", "99999999999999999999"})
    {
        EXPECT_THAT(ask(viewer, om::OM_COMMAND_PLAYTIME_INTERVAL, {{om::OM_KEY_INTERVAL, wrong}}), IsEmpty()) << wrong;
    }
    EXPECT_EQ(ask(viewer, om::OM_COMMAND_PLAYTIME_INTERVAL)[om::OM_KEY_INTERVAL], "50");

    EXPECT_EQ(ask(viewer, om::OM_COMMAND_PLAYTIME_INTERVAL, {{om::OM_KEY_INTERVAL, "0"}})[om::OM_KEY_INTERVAL], "0");
    viewer.player().pause();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    viewer.recorder().forget();
    viewer.player().start(9'500);
    auto const next = viewer.recorder().take(
        [](Note const& note)
        {
            return note.kind == Note::Kind::playTime ||
                   (note.kind == Note::Kind::event && note.code == static_cast<int>(om::OM_EVENT_END_OF_STREAM));
        });
    ASSERT_TRUE(next);
    EXPECT_EQ(next->kind, Note::Kind::event);
}

TEST_F(ExtendedCommands, theEndOfDataIsRefusedWhereOtherDataAreAwaited)
{
    Viewer viewer;
    {
        ContainerFeeder feeder(viewer, media("v.mp4"), true);
        feeder.prepare();
        ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    }
    viewer.player().seek(5'000, om::OM_SEEK_DEFAULT);
    auto const wanted = viewer.recorder().take(
        [](Note const& note)
        {
            return note.kind == Note::Kind::event && note.code == static_cast<int>(om::OM_EVENT_NEED_DATA) &&
                   note.number(om::OM_KEY_OFFSET) > 0;
        });
    ASSERT_TRUE(wanted);
    EXPECT_EQ(viewer.command(om::OM_COMMAND_END_OF_DATA), -1);
    std::string const offset = wanted->properties.at(om::OM_KEY_OFFSET);
    EXPECT_EQ(viewer.command(om::OM_COMMAND_PUSH_FROM, {{om::OM_KEY_OFFSET, offset + "x"}}), -1);
    EXPECT_EQ(viewer.command(om::OM_COMMAND_PUSH_FROM, {{om::OM_KEY_OFFSET, offset}}), 0);
    EXPECT_EQ(viewer.command(om::OM_COMMAND_END_OF_DATA), 0);
}

} // namespace
} // namespace tz::orvane::test
