// SPDX-License-Identifier: Apache-2.0
// Texts on the picture, as a test sees them.
#pragma once

#include "support/picture.h"
#include "support/wait.h"

#include <cstdlib>
#include <string>

namespace tz::orvane::test
{

/// What a test medium's picture does not bring along itself. Its quadrants are of one colour each.
struct Text
{
    int pixels = 0;
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
    bool there() const { return pixels > 0; }
};

Text textOf(Picture const& picture);

/// @return how many pixels have a colour
int countOf(Picture const& picture, Color const& color);

/// @return how many pixels are not the same
int differenceOf(Picture const& one, Picture const& other);

/// Waits for what is to be seen.
class WithSubtitles : public WithService
{
protected:
    static Text shown(Viewer& viewer) { return textOf(screenshot(viewer)); }

    static bool comesToShow(Viewer& viewer)
    {
        return eventually([&] { return shown(viewer).there(); });
    }

    static bool comesToHide(Viewer& viewer)
    {
        return eventually([&] { return !shown(viewer).there(); });
    }

    static void seek(Viewer& viewer, long long position)
    {
        viewer.player().seek(position, om::OM_SEEK_ACCURATE);
        ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE));
    }

    static void choose(Viewer& viewer, unsigned int number)
    {
        viewer.player().setSubtitleTrackNo(number);
        auto const told = number == om::OM_TRACK_NONE ? -1 : static_cast<long long>(number);
        ASSERT_TRUE(viewer.recorder().takeTrack(om::OM_STREAM_TYPE_SUBTITLE, told));
    }

    /// Opens a film without subtitles of its own and gives it a file, which becomes its only track.
    static void openWith(Viewer& viewer, std::string const& uri)
    {
        ASSERT_TRUE(viewer.open(media("v.mp4")));
        viewer.player().setSubtitleUri(uri);
        ASSERT_TRUE(viewer.recorder().takeTrack(om::OM_STREAM_TYPE_SUBTITLE, 0));
    }

    static om::om_subtiltile_style_t usualStyle()
    {
        return {-1,
                -1,
                -1,
                -1,
                0,
                om::OM_SUBTITLE_COLOR_DEFAULT,
                om::OM_SUBTITLE_COLOR_DEFAULT,
                om::OM_SUBTITLE_FONT_SIZE_DEFAULT,
                om::OM_SUBTITLE_CHARSET_AUTO};
    }

    /// Waits until a text with that look is there. @return the picture
    template <class Looks> Picture whenItLooks(Viewer& viewer, Looks looks)
    {
        Picture picture;
        EXPECT_TRUE(eventually(
            [&]
            {
                picture = screenshot(viewer);
                return looks(picture);
            }));
        return picture;
    }
};

} // namespace tz::orvane::test
