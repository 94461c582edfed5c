// SPDX-License-Identifier: Apache-2.0
// Feeds any file to the example's reader of fragmented films.
#include "examples/fragments.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string_view const file(reinterpret_cast<char const*>(data), size);
    auto const film = example::readFragments(file);
    if (!film)
    {
        return 0;
    }
    for (example::Sample const& sample : film->samples)
    {
        if (sample.track >= film->tracks.size() || sample.offset > size || sample.size > size - sample.offset)
        {
            std::abort();
        }
        cryptoBuffer(film->tracks[sample.track], sample, 1);
    }
    for (example::Track const& track : film->tracks)
    {
        formatBuffer(track);
    }
    return 0;
}
