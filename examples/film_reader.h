// SPDX-License-Identifier: Apache-2.0
// A film file as an application pushes it: stream by stream, a few units at a time.
#pragma once

#include "fragments.h"

#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace example
{

/// What one call of pushEsData takes.
struct Unit
{
    std::string_view data; ///< nothing at the end of the stream
    om::om_es_unit_t timing{};
    std::string crypto;
};

/// The first video and the first audio track of a fragmented mp4.
class FilmReader
{
public:
    /// Throws std::runtime_error when there is no such film in the file.
    explicit FilmReader(std::string const& path);
    FilmReader(FilmReader const&) = delete;
    FilmReader& operator=(FilmReader const&) = delete;

    /// A buffer of openEsMedia; empty when the film has no such stream.
    std::string format(int stream) const;

    /// Of a stream that the film has.
    std::string const& keyId(int stream) const { return m_streams.at(stream).track->keyId; }

    /// The film's pssh boxes.
    std::string const& initData() const { return m_film.initData; }

    /// Two seconds of a stream that the film has. @param agent has the keys
    std::vector<Unit> next(int stream, unsigned int agent);

private:
    struct Stream
    {
        Track const* track;
        std::deque<Sample const*> left;
    };

    std::string m_bytes;
    Film m_film;
    std::map<int, Stream> m_streams; ///< by om_stream_type_e
};

} // namespace example
