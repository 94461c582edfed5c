// SPDX-License-Identifier: Apache-2.0
// Cuts elementary streams into access units, as an application with a demuxer of its own would have them.
#include "support/elementary_streams.h"

#include "support/tool_process.h"

namespace tz::orvane::test
{

namespace
{

constexpr std::int64_t kPictureMicroseconds = 40'000;
constexpr std::int64_t kSamplesOfFrame = 1024;
constexpr std::int64_t kSampleRate = 48'000;

unsigned int byteAt(std::string const& bytes, std::size_t at)
{
    return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
}

/// Where the units of a byte stream begin, each with its start code.
std::vector<std::size_t> findNalUnits(std::string const& bytes)
{
    std::vector<std::size_t> starts;
    std::string const code("\0\0\1", 3);
    for (auto at = bytes.find(code); at != std::string::npos; at = bytes.find(code, at + code.size()))
    {
        starts.push_back(at > 0 && bytes[at - 1] == 0 ? at - 1 : at);
    }
    return starts;
}

struct Nal
{
    unsigned int type;
    bool firstSlice;
};

Nal nalAt(std::string const& bytes, std::size_t start)
{
    std::size_t const header = bytes.find('\1', start) + 1;
    unsigned int const type = byteAt(bytes, header) & 0x1FU;
    bool const isSlice = type == 1 || type == 5;
    return {type, isSlice && (byteAt(bytes, header + 1) & 0x80U) != 0};
}

} // namespace

std::vector<AccessUnit> readH264(std::string const& file)
{
    std::string const bytes = fileContent(file);
    std::vector<AccessUnit> units;
    std::size_t begin = 0;
    bool hasSlice = false;
    bool isKey = false;
    auto const close = [&](std::size_t end)
    {
        auto const time = static_cast<std::int64_t>(units.size()) * kPictureMicroseconds;
        units.push_back({{om::OM_STREAM_TYPE_VIDEO, isKey ? om::OM_ES_KEY_FRAME : 0, time, time, kPictureMicroseconds},
                         bytes.substr(begin, end - begin)});
        begin = end;
        hasSlice = false;
        isKey = false;
    };
    for (std::size_t const start : findNalUnits(bytes))
    {
        Nal const nal = nalAt(bytes, start);
        bool const opensUnit = nal.firstSlice || (nal.type >= 6 && nal.type <= 9);
        if (hasSlice && opensUnit)
        {
            close(start);
        }
        hasSlice = hasSlice || nal.type == 1 || nal.type == 5;
        isKey = isKey || nal.type == 5;
    }
    close(bytes.size());
    return units;
}

std::vector<AccessUnit> readAdts(std::string const& file)
{
    std::string const bytes = fileContent(file);
    std::vector<AccessUnit> units;
    for (std::size_t at = 0; at + 7 <= bytes.size();)
    {
        std::size_t const length =
            (byteAt(bytes, at + 3) & 3U) << 11U | byteAt(bytes, at + 4) << 3U | byteAt(bytes, at + 5) >> 5U;
        auto const samples = static_cast<std::int64_t>(units.size()) * kSamplesOfFrame;
        auto const pts = samples * 1'000'000 / kSampleRate;
        units.push_back(
            {{om::OM_STREAM_TYPE_AUDIO, om::OM_ES_KEY_FRAME, pts, pts, kSamplesOfFrame * 1'000'000 / kSampleRate},
             bytes.substr(at, length)});
        at += length < 7 ? bytes.size() : length;
    }
    return units;
}

} // namespace tz::orvane::test
