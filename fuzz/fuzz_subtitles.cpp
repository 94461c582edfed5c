// SPDX-License-Identifier: Apache-2.0
// Feeds any bytes to the reader of files of subtitles.
#include "subtitle_parser.h"
#include "subtitle_text.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

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

void check(CueList const& list)
{
    std::int64_t last = 0;
    for (Cue const& cue : list.cues())
    {
        require(cue.start >= last);
        require(cue.end == Cue::kUntilNext || cue.end > cue.start);
        CueList::Moment const moment = list.at(cue.start);
        require(moment.from && *moment.from == cue.start);
        require(!moment.until || *moment.until > cue.start);
        last = cue.start;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size == 0)
    {
        return 0;
    }
    // The first byte chooses how the others are read.
    std::string_view const bytes(reinterpret_cast<char const*>(data) + 1, size - 1);
    char const* const encoding = encodingName(static_cast<std::int32_t>(data[0] % 18));
    require(encoding != nullptr);
    check(parseSubtitles(decodeText(bytes, encoding)));
    check(parseSubtitles(bytes));
    return 0;
}
