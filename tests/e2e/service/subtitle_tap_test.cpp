// SPDX-License-Identifier: Apache-2.0
// What is taken out of a file with very many texts while nobody looks.
#include "subtitle_reader.h"

#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <memory>
#include <string>

namespace tz::orvane::service
{
namespace
{

class SubtitleTapTest : public testing::Test
{
protected:
    SubtitleTapTest() { gst_init(nullptr, nullptr); }

    TapNews read(std::string const& medium)
    {
        std::atomic<bool> const goOn{false};
        readEmbeddedSubtitles("file://" ORVANE_E2E_MEDIA "/" + medium, *m_tap, goOn);
        return m_tap->news();
    }

    /// @return whether a track has a text at a position
    bool has(std::string const& stream, std::int64_t position) const
    {
        return !m_tap->at(stream, position).text.empty();
    }

    platform::EventLoop m_loop; ///< does not run
    std::shared_ptr<SubtitleTap> m_tap = std::make_shared<SubtitleTap>(m_loop, nullptr);
};

TEST_F(SubtitleTapTest, eachTrackHasALimitOfItsOwn)
{
    TapNews const news = read("manytexts.mkv");
    EXPECT_EQ(news.streams.size(), 3u);
    EXPECT_EQ(news.overflowed, 1);
    EXPECT_FALSE(news.tracksLeftOut);
    for (std::string const& stream : news.streams)
    {
        EXPECT_TRUE(has(stream, 0));
    }
    TapNews const later = m_tap->news();
    EXPECT_TRUE(later.streams.empty());
    EXPECT_EQ(later.overflowed, 0) << "it is told once";
}

TEST_F(SubtitleTapTest, moreTracksThanAreKeptAreLeftOut)
{
    TapNews const news = read("toomanytracks.mkv");
    EXPECT_EQ(news.streams.size(), SubtitleTap::kMostTracks);
    EXPECT_TRUE(news.tracksLeftOut);
}

TEST_F(SubtitleTapTest, allTracksTogetherHaveALimit)
{
    TapNews const news = read("sametime.mkv");
    EXPECT_EQ(news.streams.size(), 8u);
    EXPECT_GT(news.overflowed, 0) << "none of them alone is full";
    EXPECT_FALSE(news.tracksLeftOut);
}

TEST_F(SubtitleTapTest, aListIsNotFollowed)
{
    test::TempDir const folder;
    std::string const list = folder.path() + "/list.m3u8";
    std::ofstream(list) << "#EXTM3U\n#EXT-X-TARGETDURATION:5\n#EXTINF:5,\nfile://" ORVANE_E2E_MEDIA
                           "/manytexts.mkv\n#EXT-X-ENDLIST\n";
    std::atomic<bool> const goOn{false};
    readEmbeddedSubtitles("file://" + list, *m_tap, goOn);
    EXPECT_TRUE(m_tap->news().streams.empty());
}

TEST_F(SubtitleTapTest, aStreamThatNobodyKnowsHasNoTexts)
{
    CueList::Moment const moment = m_tap->at("nobody", 0);
    EXPECT_EQ(moment.text, "");
    EXPECT_FALSE(moment.from);
    EXPECT_FALSE(moment.until);
}

} // namespace
} // namespace tz::orvane::service
