// SPDX-License-Identifier: Apache-2.0
// The player's progress line and its keys.
#include "om_protocol.h"
#include "orvane/om_enums.h"
#include "presentation/key_decoder.h"
#include "presentation/progress_line.h"
#include "presentation/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace tz::orvane::tools
{
namespace
{

static_assert(om::OM_CONNECTION_STATUS_DIED == protocol::kStatusConnectionDied);

using Keys = std::vector<Key>;

Progress halfway()
{
    return {"playing", 5000, 10000, 16, 80, false, {}};
}

TEST(ProgressLine, fillsTheWidthWithTheBar)
{
    EXPECT_EQ(progressLine(halfway(), 60), "playing   0:05 / 0:10  [===========>-----------]  1x  vol 80");
    EXPECT_EQ(columnsOf(progressLine(halfway(), 60)), 60);
}

TEST(ProgressLine, isNeverWiderThanAllowed)
{
    for (int columns = 0; columns < 200; ++columns)
    {
        EXPECT_LE(columnsOf(progressLine(halfway(), columns)), columns) << columns;
    }
}

TEST(ProgressLine, leavesTheLeastImportantOutWhenThereIsNoRoom)
{
    EXPECT_EQ(progressLine(halfway(), 40), "playing   0:05 / 0:10  1x  vol 80");
    EXPECT_EQ(progressLine(halfway(), 25), "playing   0:05 / 0:10");
    EXPECT_EQ(progressLine(halfway(), 15), "0:05 / 0:10");
    EXPECT_EQ(progressLine(halfway(), 4), "0:05");
}

TEST(ProgressLine, hasAFullBarAtTheEndAndBehindIt)
{
    Progress progress = halfway();
    progress.position = 12000;
    std::string const line = progressLine(progress, 60);
    EXPECT_EQ(std::count(line.begin(), line.end(), '='), 23);
    EXPECT_EQ(line.find('>'), std::string::npos);
}

TEST(ProgressLine, hasNoBarWhenTheDurationIsNotKnown)
{
    Progress progress = halfway();
    progress.duration = -1;
    EXPECT_EQ(progressLine(progress, 60), "playing   0:05  1x  vol 80");
}

TEST(ProgressLine, showsOtherSpeeds)
{
    Progress progress = halfway();
    progress.speed = 8;
    EXPECT_NE(progressLine(progress, 60).find("  0.5x  "), std::string::npos);
    progress.speed = -32;
    EXPECT_NE(progressLine(progress, 60).find("  -2x  "), std::string::npos);
}

TEST(ProgressLine, showsThatTheSoundIsOff)
{
    Progress progress = halfway();
    progress.muted = true;
    EXPECT_EQ(progressLine(progress, 40), "playing   0:05 / 0:10  1x  muted");
}

TEST(ProgressLine, endsWithWhatTheUserHasChanged)
{
    Progress progress = halfway();
    progress.note = "audio 2/2, \x1b";
    EXPECT_EQ(progressLine(progress, 60), "playing   0:05 / 0:10  [====>----]  1x  vol 80  audio 2/2, \xEF\xBF\xBD");
    EXPECT_EQ(progressLine(progress, 40), "playing   0:05 / 0:10  1x  vol 80");
}

TEST(KeyDecoder, knowsPlainKeysAndIgnoresOthers)
{
    EXPECT_EQ(KeyDecoder().feed(" xn,.[]q"), (Keys{Key::togglePause, Key::next, Key::stepBack, Key::stepForward,
                                                   Key::slower, Key::faster, Key::quit}));
    EXPECT_EQ(KeyDecoder().feed("masrz+-"),
              (Keys{Key::mute, Key::audioTrack, Key::subtitle, Key::rotate, Key::zoomMode, Key::zoomIn, Key::zoomOut}));
}

TEST(KeyDecoder, knowsArrowsInBothFormsOfTheKeypad)
{
    EXPECT_EQ(KeyDecoder().feed("\x1b[C\x1bOD\x1b[A\x1bOB"), (Keys{Key::forward, Key::back, Key::louder, Key::softer}));
}

TEST(KeyDecoder, knowsHomeInAllItsForms)
{
    EXPECT_EQ(KeyDecoder().feed("\x1b[H\x1bOH\x1b[1~\x1b[7~"), (Keys{Key::home, Key::home, Key::home, Key::home}));
}

TEST(KeyDecoder, putsASequenceTogetherThatComesInPieces)
{
    KeyDecoder decoder;
    EXPECT_EQ(decoder.feed("\x1b"), Keys{});
    EXPECT_TRUE(decoder.isWaiting());
    EXPECT_EQ(decoder.feed("["), Keys{});
    EXPECT_EQ(decoder.feed("C"), Keys{Key::forward});
    EXPECT_FALSE(decoder.isWaiting());
}

TEST(KeyDecoder, takesEscapeForAKeyWhenNothingFollows)
{
    KeyDecoder decoder;
    decoder.feed("\x1b");
    EXPECT_EQ(decoder.expire(), Keys{Key::quit});
    EXPECT_FALSE(decoder.isWaiting());
}

TEST(KeyDecoder, dropsASequenceThatStaysIncomplete)
{
    KeyDecoder decoder;
    decoder.feed("\x1b[");
    EXPECT_EQ(decoder.expire(), Keys{});
    EXPECT_EQ(decoder.feed("q"), Keys{Key::quit});
}

TEST(KeyDecoder, takesEscapeTwiceForTheKey)
{
    EXPECT_EQ(KeyDecoder().feed("\x1b\x1b"), Keys{Key::quit});
}

TEST(KeyDecoder, swallowsUnknownSequencesWhole)
{
    EXPECT_EQ(KeyDecoder().feed("\x1b[1;5q\x1b[200~ "), Keys{Key::togglePause});
}

TEST(KeyDecoder, findsBackFromASequenceWithoutEnd)
{
    KeyDecoder decoder;
    decoder.feed("\x1b[" + std::string(40, '1'));
    EXPECT_EQ(decoder.feed("q"), Keys{Key::quit});
}

} // namespace
} // namespace tz::orvane::tools
