// SPDX-License-Identifier: Apache-2.0
// Protected films that play, picture by picture.
#include "support/drm_user.h"
#include "support/film_kinds.h"
#include "support/frame_keeper.h"
#include "support/protected_film.h"
#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <set>
#include <string>

namespace tz::orvane::test
{
namespace
{

/// Times in milliseconds, and the pictures as another program decodes them from the clear film.
using Pictures = std::map<int, std::string>;

Pictures clearPictures(std::string const& path)
{
    ToolProcess tool({"/usr/bin/env", "ffmpeg", "-loglevel", "error", "-nostdin", "-i", path, "-map", "0:v",
                      "-fps_mode", "passthrough", "-pix_fmt", "yuv420p", "-f", "rawvideo", "-"});
    EXPECT_EQ(tool.wait(), 0) << tool.err();
    std::string const all = tool.out();
    std::set<int> times;
    auto const film = example::readFragments(fileContent(path));
    EXPECT_TRUE(film);
    for (example::Sample const& sample : film->samples)
    {
        if (sample.unit.stream_type == om::OM_STREAM_TYPE_VIDEO)
        {
            times.insert(static_cast<int>(sample.unit.pts / 1'000));
        }
    }
    EXPECT_FALSE(all.empty());
    EXPECT_EQ(all.size() % times.size(), 0u);
    std::size_t const size = all.size() / times.size();
    Pictures pictures;
    for (int const time : times)
    {
        pictures[time] = all.substr(pictures.size() * size, size);
    }
    return pictures;
}

/// A protected film that is open, its pictures being handed over.
class Showing
{
public:
    explicit Showing(std::string const& film)
        : m_user(viewer)
        , m_feeder(viewer, film, m_user.agent().getAgentID())
        , keeper(viewer.player())
    {
        EXPECT_EQ(m_user.license(m_user.openSession(), kFilmLicense), 0);
        m_feeder.open(om::OM_STREAM_TYPE_VIDEO,
                      optionImage({{om::OM_PREPARE_KEY_FRAME_INFO, om::OM_FRAME_FORMAT_I420}}));
        EXPECT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    }

    Viewer viewer;

private:
    DrmUser m_user;
    FilmFeeder m_feeder;

public:
    FrameKeeper keeper;
};

class DrmPictures : public WithService, public testing::WithParamInterface<FilmKind>
{
protected:
    void compare(KeptFrame const& frame)
    {
        auto const clear = m_clear.find(frame.pts());
        ASSERT_NE(clear, m_clear.end()) << "none is shown at " << frame.pts();
        EXPECT_TRUE(frame.bytes == clear->second) << "at " << frame.pts();
        m_missing.erase(frame.pts());
    }

    std::string const m_film = GetParam().protect();
    Pictures const m_clear = clearPictures(media(GetParam().clear));
    Pictures m_missing = m_clear;
};

TEST_P(DrmPictures, allThatIsPlayedAreThoseOfTheClearFilm)
{
    ASSERT_GE(m_clear.size(), GetParam().pictures);
    {
        Showing playing(m_film);
        playing.viewer.player().start(0);
        ASSERT_TRUE(playing.viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
        for (std::size_t count = playing.keeper.count(); count > 0; --count)
        {
            auto const frame = playing.keeper.take();
            ASSERT_TRUE(frame);
            compare(*frame);
        }
    }
    RecordProperty("left_out", static_cast<int>(m_missing.size()));

    // A busy machine leaves some out. Where a film stands still, its picture comes whatever time it takes.
    Showing standing(m_film);
    while (!m_missing.empty())
    {
        int const time = m_missing.begin()->first;
        standing.viewer.player().seek(time, om::OM_SEEK_ACCURATE);
        auto const frame = standing.keeper.take([time](KeptFrame const& kept) { return kept.pts() == time; });
        ASSERT_TRUE(frame) << "at " << time;
        compare(*frame);
    }
}

TEST_P(DrmPictures, soAreThoseWhereItStandsStill)
{
    Showing standing(m_film);
    for (int const time : {m_clear.rbegin()->first, m_clear.begin()->first})
    {
        standing.viewer.player().seek(time, om::OM_SEEK_ACCURATE);
        auto const frame = standing.keeper.take([time](KeptFrame const& kept) { return kept.pts() == time; });
        ASSERT_TRUE(frame) << "at " << time;
        compare(*frame);
    }
}

INSTANTIATE_TEST_SUITE_P(Scheme, DrmPictures, testing::ValuesIn(filmKinds()));

} // namespace
} // namespace tz::orvane::test
