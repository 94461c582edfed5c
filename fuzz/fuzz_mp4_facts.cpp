// SPDX-License-Identifier: Apache-2.0
// Feeds any file to the reader of what mp4 files tell of themselves.
#include "mp4_facts.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace
{

using namespace tz::orvane::service;

void require(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Mp4Facts facts = readMp4Facts(MemoryBytes(std::string(reinterpret_cast<char const*>(data), size)));
    require(facts.chapters.size() <= kMostChapters);
    require(facts.created >= -1);
    completeChapters(facts.chapters, 10'000);
    std::int64_t last = 0;
    for (Chapter const& chapter : facts.chapters)
    {
        require(chapter.start >= last && chapter.end >= chapter.start);
        require(chapter.language.empty() || chapter.language.size() == 3);
        last = chapter.start;
        recordOf(chapter);
    }
    return 0;
}
