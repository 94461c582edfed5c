// SPDX-License-Identifier: Apache-2.0
// Reads a fragmented mp4 file, protected or not: what an application needs that pushes its access units itself.
#include "fragments.h"

#include <orvane/om_enums.h>

#include <algorithm>
#include <initializer_list>
#include <utility>

namespace example
{

namespace
{

/// Reads numbers, most significant byte first. Behind the end it gives zeros and is no longer good.
class Reader
{
public:
    explicit Reader(std::string_view bytes)
        : m_rest(bytes)
    {
    }

    std::uint64_t number(std::size_t size)
    {
        std::uint64_t value = 0;
        for (char const byte : take(size))
        {
            value = value << 8U | static_cast<unsigned char>(byte);
        }
        return value;
    }

    std::uint32_t word() { return static_cast<std::uint32_t>(number(4)); }

    std::string_view take(std::size_t size)
    {
        m_good = m_good && size <= m_rest.size();
        std::string_view const taken = m_rest.substr(0, m_good ? size : 0);
        m_rest.remove_prefix(taken.size());
        return taken;
    }

    std::string_view rest() const { return m_rest; }
    bool good() const { return m_good; }

private:
    std::string_view m_rest;
    bool m_good = true;
};

struct Box
{
    std::string_view type;
    std::string_view whole;
    std::string_view content;
};

/// Takes the first box off the bytes.
std::optional<Box> nextBox(std::string_view& bytes)
{
    Reader reader(bytes);
    std::uint64_t size = reader.word();
    std::string_view const type = reader.take(4);
    if (size == 1)
    {
        size = reader.number(8);
    }
    std::size_t const head = bytes.size() - reader.rest().size();
    if (!reader.good() || size < head || size > bytes.size())
    {
        return std::nullopt;
    }
    Box const box{type, bytes.substr(0, size), bytes.substr(head, size - head)};
    bytes.remove_prefix(size);
    return box;
}

/// @return the content of the first box of that type; empty when there is none
std::string_view find(std::string_view bytes, std::string_view type)
{
    while (auto const box = nextBox(bytes))
    {
        if (box->type == type)
        {
            return box->content;
        }
    }
    return {};
}

std::string_view findPath(std::string_view bytes, std::initializer_list<std::string_view> path)
{
    for (std::string_view const type : path)
    {
        bytes = find(bytes, type);
    }
    return bytes;
}

/// The configuration of the decoder lies in descriptors that lie in each other.
std::string decoderConfig(std::string_view esds)
{
    Reader reader(esds);
    reader.take(4);
    while (reader.good() && !reader.rest().empty())
    {
        auto const tag = reader.number(1);
        std::size_t size = 0;
        for (std::uint64_t byte = 0x80; (byte & 0x80U) != 0 && reader.good();)
        {
            byte = reader.number(1);
            size = (size << 7U | (byte & 0x7FU)) & 0xFFFFFFFU;
        }
        switch (tag)
        {
        case 3: // the stream: its number and flags, then what lies in it
            reader.take(3);
            break;
        case 4: // the decoder
            reader.take(13);
            break;
        case 5:
            return std::string(reader.take(size));
        default:
            return {};
        }
    }
    return {};
}

void readProtection(std::string_view sinf, Track& track)
{
    Reader scheme(find(sinf, "schm"));
    scheme.take(4);
    std::string_view const name = scheme.take(4);
    std::uint32_t const known[] = {0, om::OM_DRM_SCHEME_CENC, om::OM_DRM_SCHEME_CBCS};
    track.scheme = known[name == "cenc" ? 1 : (name == "cbcs" ? 2 : 0)];
    Reader defaults(findPath(sinf, {"schi", "tenc"}));
    auto const version = defaults.number(1);
    defaults.take(4);
    auto const pattern = static_cast<std::uint32_t>(defaults.number(1));
    track.cryptBlocks = version > 0 ? pattern >> 4U : 0;
    track.skipBlocks = version > 0 ? pattern & 15U : 0;
    bool const isProtected = defaults.number(1) != 0;
    track.ivSize = defaults.number(1);
    track.keyId = defaults.take(16);
    if (isProtected && track.ivSize == 0)
    {
        track.constantIv = defaults.take(defaults.number(1));
    }
    track.scheme =
        isProtected && defaults.good() && track.ivSize <= 16 && track.constantIv.size() <= 16 ? track.scheme : 0;
}

/// Reads what a stream is made of. @return false for codecs that are left out
bool readEntry(std::string_view stsd, Track& track)
{
    constexpr std::size_t kEntriesAt = 8;
    std::string_view entries = stsd.substr(std::min(stsd.size(), kEntriesAt));
    auto const entry = nextBox(entries);
    if (!entry)
    {
        return false;
    }
    bool const isVideo = track.kind == om::OM_STREAM_TYPE_VIDEO;
    Reader reader(entry->content);
    reader.take(isVideo ? 24 : 16);
    if (isVideo)
    {
        track.format.width = static_cast<int>(reader.number(2));
        track.format.height = static_cast<int>(reader.number(2));
        reader.take(50);
    }
    else
    {
        track.format.channels = static_cast<int>(reader.number(2));
        reader.take(6);
        track.format.sample_rate = static_cast<int>(reader.word() >> 16U);
    }
    std::string_view const boxes = reader.rest();
    std::string_view const sinf = find(boxes, "sinf");
    std::string_view const codec = sinf.empty() ? entry->type : find(sinf, "frma");
    if (!sinf.empty())
    {
        readProtection(sinf, track);
    }
    track.format.codec =
        isVideo ? static_cast<int>(om::OM_VIDEO_CODEC_H264) : static_cast<int>(om::OM_AUDIO_CODEC_AAC_LC);
    track.codecData = isVideo ? std::string(find(boxes, "avcC")) : decoderConfig(find(boxes, "esds"));
    return codec == (isVideo ? "avc1" : "mp4a") && !track.codecData.empty() && (sinf.empty() || track.scheme != 0);
}

bool readTrack(std::string_view trak, Track& track)
{
    Reader head(find(trak, "tkhd"));
    bool const isLong = head.number(1) == 1;
    head.take(isLong ? 19 : 11);
    track.id = head.word();
    std::string_view const mdia = find(trak, "mdia");
    Reader media(find(mdia, "mdhd"));
    media.take(media.number(1) == 1 ? 19 : 11);
    track.timescale = media.word();
    Reader handler(find(mdia, "hdlr"));
    handler.take(8);
    std::string_view const kind = handler.take(4);
    track.kind = kind == "vide"   ? om::OM_STREAM_TYPE_VIDEO
                 : kind == "soun" ? om::OM_STREAM_TYPE_AUDIO
                                  : om::OM_STREAM_TYPE_UNKNOWN;
    return track.kind != om::OM_STREAM_TYPE_UNKNOWN && track.timescale != 0 &&
           readEntry(findPath(mdia, {"minf", "stbl", "stsd"}), track);
}

/// Reads what the fragments leave out.
void readDefaults(std::string_view mvex, std::vector<Track>& tracks)
{
    while (auto const box = nextBox(mvex))
    {
        Reader reader(box->type == "trex" ? box->content : std::string_view());
        reader.take(4);
        std::uint32_t const id = reader.word();
        reader.take(4);
        for (Track& track : tracks)
        {
            if (track.id == id && reader.good())
            {
                track.sampleDuration = reader.word();
                track.sampleSize = reader.word();
                track.sampleFlags = reader.word();
            }
        }
    }
}

void readMovie(std::string_view moov, Film& film)
{
    for (std::string_view rest = moov; auto const box = nextBox(rest);)
    {
        Track track;
        if (box->type == "pssh")
        {
            film.initData += box->whole;
        }
        else if (box->type == "trak" && readTrack(box->content, track))
        {
            film.tracks.push_back(track);
        }
    }
    readDefaults(find(moov, "mvex"), film.tracks);
}

// Flags of tfhd and trun.
constexpr std::uint32_t kBaseOffset = 0x1;
constexpr std::uint32_t kDescription = 0x2;
constexpr std::uint32_t kDefaultDuration = 0x8;
constexpr std::uint32_t kDefaultSize = 0x10;
constexpr std::uint32_t kDefaultFlags = 0x20;
constexpr std::uint32_t kDataOffset = 0x1;
constexpr std::uint32_t kFirstFlags = 0x4;
constexpr std::uint32_t kDuration = 0x100;
constexpr std::uint32_t kSize = 0x200;
constexpr std::uint32_t kFlags = 0x400;
constexpr std::uint32_t kComposition = 0x800;
constexpr std::uint32_t kNoKeyFrame = 0x10000;

/// A day of film; a small file can claim more.
constexpr std::size_t kMostSamples = 2'000'000;

/// Reads one traf box after the other of a moof box.
class FragmentReader
{
public:
    FragmentReader(std::string_view file, std::size_t moofAt, Film& film)
        : m_file(file)
        , m_moofAt(moofAt)
        , m_film(film)
    {
    }

    bool read(std::string_view traf)
    {
        Reader head(find(traf, "tfhd"));
        std::uint32_t const flags = head.word() & 0xFFFFFFU;
        std::uint32_t const id = head.word();
        auto const track = std::find_if(m_film.tracks.begin(), m_film.tracks.end(),
                                        [id](Track const& candidate) { return candidate.id == id; });
        if (track == m_film.tracks.end())
        {
            return true;
        }
        m_track = static_cast<std::size_t>(track - m_film.tracks.begin());
        m_base = (flags & kBaseOffset) != 0 ? head.number(8) : m_moofAt;
        head.take((flags & kDescription) != 0 ? 4 : 0);
        m_duration = (flags & kDefaultDuration) != 0 ? head.word() : track->sampleDuration;
        m_size = (flags & kDefaultSize) != 0 ? head.word() : track->sampleSize;
        m_flags = (flags & kDefaultFlags) != 0 ? head.word() : track->sampleFlags;
        std::string_view const tfdt = find(traf, "tfdt");
        Reader time(tfdt);
        m_time = tfdt.empty() ? track->end : (time.word() >> 24U == 1 ? time.number(8) : time.word());
        std::size_t const first = m_film.samples.size();
        for (std::string_view rest = traf; auto const box = nextBox(rest);)
        {
            if (box->type == "trun" && !readRun(box->content))
            {
                return false;
            }
        }
        track->end = m_time;
        std::string_view const senc = find(traf, "senc");
        bool const isAllTheSame = track->scheme == 0 || (senc.empty() && track->ivSize == 0);
        return head.good() && time.good() && (isAllTheSame || readVectors(senc, first));
    }

private:
    /// A run of samples that lie one behind the other.
    bool readRun(std::string_view content)
    {
        Reader run(content);
        bool const isSigned = run.number(1) != 0;
        auto const flags = static_cast<std::uint32_t>(run.number(3));
        std::uint32_t const count = run.word();
        if ((flags & kDataOffset) == 0)
        {
            return false;
        }
        std::uint64_t at = m_base + run.word();
        std::uint32_t const firstFlags = (flags & kFirstFlags) != 0 ? run.word() : m_flags;
        for (std::uint32_t index = 0; index < count; ++index)
        {
            std::uint64_t const duration = (flags & kDuration) != 0 ? run.word() : m_duration;
            std::uint64_t const size = (flags & kSize) != 0 ? run.word() : m_size;
            std::uint32_t const kind = (flags & kFlags) != 0 ? run.word() : (index == 0 ? firstFlags : m_flags);
            std::uint32_t const shift = (flags & kComposition) != 0 ? run.word() : 0;
            if (!run.good() || size == 0 || m_film.samples.size() >= kMostSamples || at > m_file.size() ||
                size > m_file.size() - at)
            {
                return false;
            }
            add(at, size, duration, kind, isSigned ? static_cast<std::int32_t>(shift) : std::int64_t{shift});
            at += size;
        }
        return true;
    }

    void add(std::uint64_t at, std::uint64_t size, std::uint64_t duration, std::uint32_t kind, std::int64_t shift)
    {
        Track const& track = m_film.tracks[m_track];
        auto const time = static_cast<std::int64_t>(m_time & INT64_MAX);
        Sample sample;
        sample.track = m_track;
        sample.offset = at;
        sample.size = size;
        sample.unit.stream_type = track.kind;
        sample.unit.flags = (kind & kNoKeyFrame) == 0 ? om::OM_ES_KEY_FRAME : 0;
        sample.unit.dts = microseconds(time, track);
        sample.unit.pts = sample.unit.dts + microseconds(shift, track);
        sample.unit.duration = microseconds(static_cast<std::int64_t>(duration), track);
        m_film.samples.push_back(std::move(sample));
        m_time += duration;
    }

    /// Seconds and their rest, so that long times do not overflow.
    static std::int64_t microseconds(std::int64_t ticks, Track const& track)
    {
        constexpr std::int64_t kSecond = 1'000'000;
        constexpr std::int64_t kLongest = INT64_MAX / kSecond / 2;
        std::int64_t const scale = track.timescale;
        return std::clamp(ticks / scale, -kLongest, kLongest) * kSecond + ticks % scale * kSecond / scale;
    }

    /// What each sample of the track is encrypted with.
    bool readVectors(std::string_view senc, std::size_t first)
    {
        constexpr std::uint32_t kHasSubsamples = 2;
        Track const& track = m_film.tracks[m_track];
        Reader vectors(senc);
        bool const hasSubsamples = (vectors.word() & kHasSubsamples) != 0;
        std::uint32_t const count = vectors.word();
        for (std::size_t index = first; index < m_film.samples.size(); ++index)
        {
            Sample& sample = m_film.samples[index];
            sample.iv = vectors.take(track.ivSize);
            auto const subsamples = hasSubsamples ? vectors.number(2) : 0;
            for (std::uint64_t part = 0; part < subsamples && vectors.good(); ++part)
            {
                auto const clear = static_cast<std::uint32_t>(vectors.number(2));
                sample.subsamples.push_back({clear, vectors.word()});
            }
        }
        return vectors.good() && count == m_film.samples.size() - first;
    }

    std::string_view m_file;
    std::size_t m_moofAt;
    Film& m_film;
    std::size_t m_track = 0;
    std::uint64_t m_base = 0;
    std::uint64_t m_duration = 0;
    std::uint64_t m_size = 0;
    std::uint32_t m_flags = 0;
    std::uint64_t m_time = 0;
};

template <class Record> void append(std::string& bytes, Record const& record)
{
    bytes.append(reinterpret_cast<char const*>(&record), sizeof record);
}

} // namespace

std::optional<Film> readFragments(std::string_view file)
{
    Film film;
    std::string_view rest = file;
    while (auto const box = nextBox(rest))
    {
        if (box->type == "moov")
        {
            readMovie(box->content, film);
        }
        else if (box->type == "moof")
        {
            FragmentReader fragment(file, static_cast<std::size_t>(box->whole.data() - file.data()), film);
            for (std::string_view content = box->content; auto const traf = nextBox(content);)
            {
                if (traf->type == "traf" && !fragment.read(traf->content))
                {
                    return std::nullopt;
                }
            }
        }
    }
    bool const whole = rest.empty() && !film.tracks.empty() && !film.samples.empty();
    return whole ? std::optional<Film>(std::move(film)) : std::nullopt;
}

std::string formatBuffer(Track const& track)
{
    std::string bytes;
    append(bytes, track.format);
    return bytes + track.codecData;
}

std::string cryptoBuffer(Track const& track, Sample const& sample, unsigned int agent)
{
    std::string bytes;
    if (track.scheme == 0)
    {
        return bytes;
    }
    std::string const& iv = track.ivSize == 0 ? track.constantIv : sample.iv;
    om::om_drm_crypto_t crypto{};
    crypto.agent = agent;
    crypto.scheme = track.scheme;
    track.keyId.copy(reinterpret_cast<char*>(crypto.key_id), sizeof crypto.key_id);
    iv.copy(reinterpret_cast<char*>(crypto.iv), sizeof crypto.iv);
    crypto.iv_size = static_cast<std::uint32_t>(iv.size());
    crypto.crypt_blocks = track.cryptBlocks;
    crypto.skip_blocks = track.skipBlocks;
    crypto.subsamples = static_cast<std::uint32_t>(sample.subsamples.size());
    append(bytes, crypto);
    for (om::om_drm_subsample_t const& subsample : sample.subsamples)
    {
        append(bytes, subsample);
    }
    return bytes;
}

} // namespace example
