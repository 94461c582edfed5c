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

TEST(SubtitleTap, eachTrackHasALimitOfItsOwn)
{
    gst_init(nullptr, nullptr);
    platform::EventLoop loop; // does not run
    auto const tap = std::make_shared<SubtitleTap>(loop, nullptr);
    std::atomic<bool> const goOn{false};
    readEmbeddedSubtitles("file://" ORVANE_E2E_MEDIA "/manytexts.mkv", *tap, goOn);
    TappedTexts const texts = tap->take();
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
    EXPECT_TRUE(tap->take().tracks.empty());
}

} // namespace
} // namespace tz::orvane::service
