// SPDX-License-Identifier: Apache-2.0
// A film file as an application pushes it: stream by stream, a few units at a time.
#include "film_reader.h"

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace example
{

FilmReader::FilmReader(std::string const& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
    {
        throw std::runtime_error(path + " cannot be read");
    }
    std::ostringstream content;
    content << file.rdbuf();
    m_bytes = content.str();
    auto film = readFragments(m_bytes);
    if (!film)
    {
        throw std::runtime_error(path + " is damaged, or no fragmented mp4 of H.264 and AAC");
    }
    m_film = std::move(*film);
    for (Track const& track : m_film.tracks)
    {
        m_streams.try_emplace(track.kind, Stream{&track, {}});
    }
    for (Sample const& sample : m_film.samples)
    {
        Stream& stream = m_streams.at(sample.unit.stream_type);
        if (stream.track == &m_film.tracks[sample.track])
        {
            stream.left.push_back(&sample);
        }
    }
}

std::string FilmReader::format(int stream) const
{
    auto const found = m_streams.find(stream);
    return found == m_streams.end() ? std::string() : formatBuffer(*found->second.track);
}

std::vector<Unit> FilmReader::next(int stream, unsigned int agent)
{
    constexpr std::int64_t kMicroseconds = 2'000'000;
    Stream& source = m_streams.at(stream);
    std::deque<Sample const*>& left = source.left;
    std::vector<Unit> units;
    std::int64_t const until = left.empty() ? 0 : left.front()->unit.dts + kMicroseconds;
    for (; !left.empty() && left.front()->unit.dts < until; left.pop_front())
    {
        Sample const& sample = *left.front();
        units.push_back({std::string_view(m_bytes).substr(sample.offset, sample.size), sample.unit,
                         cryptoBuffer(*source.track, sample, agent)});
    }
    if (left.empty())
    {
        units.push_back({{}, {stream, om::OM_ES_END_OF_STREAM, 0, -1, -1}, {}});
    }
    return units;
}

} // namespace example
