// SPDX-License-Identifier: Apache-2.0
// What is taken out of a file with very many texts while nobody looks.
#include "subtitle_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace tz::orvane::service
{
namespace
{

class SubtitleTapTest : public testing::Test
{
protected:
    SubtitleTapTest() { gst_init(nullptr, nullptr); }

    TappedTexts read(std::string const& medium)
    {
        std::atomic<bool> const goOn{false};
        readEmbeddedSubtitles("file://" ORVANE_E2E_MEDIA "/" + medium, *m_tap, goOn);
        return m_tap->take();
    }

    platform::EventLoop m_loop; ///< does not run
    std::shared_ptr<SubtitleTap> m_tap = std::make_shared<SubtitleTap>(m_loop, nullptr);
};

TEST_F(SubtitleTapTest, eachTrackHasALimitOfItsOwn)
{
    TappedTexts const texts = read("manytexts.mkv");
    std::vector<std::size_t> counts;
    for (auto const& entry : texts.tracks)
    {
        CueList const& list = entry.second;
        counts.push_back(list.cues().size());
        EXPECT_EQ(list.overflowed(), list.cues().size() == CueList::kMostCues);
    }
    std::sort(counts.begin(), counts.end());
    EXPECT_EQ(counts, (std::vector<std::size_t>{15'000, 15'000, CueList::kMostCues}));
    EXPECT_FALSE(texts.tracksLeftOut);
    EXPECT_TRUE(m_tap->take().tracks.empty());
}

TEST_F(SubtitleTapTest, moreTracksThanAreKeptAreLeftOut)
{
    TappedTexts const texts = read("toomanytracks.mkv");
    EXPECT_EQ(texts.tracks.size(), SubtitleTap::kMostTracks);
    EXPECT_TRUE(texts.tracksLeftOut);
}

} // namespace
} // namespace tz::orvane::service
