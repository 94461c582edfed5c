// SPDX-License-Identifier: Apache-2.0
// From a medium to a picture and the facts about it.
#include "preview_maker.h"

#include "byte_source.h"
#include "dates.h"
#include "exif.h"
#include "mp4_facts.h"
#include "orientation.h"
#include "preview_picture.h"
#include "preview_reader.h"
#include "stream_tags.h"

#include <gst/video/video.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <sys/stat.h>

namespace tz::orvane::service
{

namespace
{

/// A demuxer that does not know the size of its data makes something up.
constexpr GstClockTime kLongestDuration = 1000ULL * 3600 * GST_SECOND;

std::string localPath(std::string const& uri)
{
    TextPtr const path(uri.compare(0, 5, "file:") == 0 ? g_filename_from_uri(uri.c_str(), nullptr, nullptr) : nullptr);
    return path == nullptr ? std::string() : path.get();
}

/// A pipe or a device would give data for ever, or never.
std::optional<PreviewResult> refuseFile(std::string const& path)
{
    struct stat status
    {
    };
    if (stat(path.c_str(), &status) != 0)
    {
        om::om_error_e const code = errno == ENOENT || errno == ENOTDIR ? om::OM_ERROR_NOT_FOUND
                                    : errno == EACCES                   ? om::OM_ERROR_FORBIDDEN
                                                                        : om::OM_ERROR_BROKEN_FILE;
        return failedPreview(code, std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode))
    {
        return failedPreview(om::OM_ERROR_UNSUPPORTED_FORMAT, "not a regular file");
    }
    return std::nullopt;
}

std::string extentText(int width, int height)
{
    return std::to_string(width) + "x" + std::to_string(height);
}

std::string numberText(std::uint64_t number)
{
    return number == 0 ? std::string() : std::to_string(number);
}

std::string dateText(om::om_date_t const& date)
{
    if (date.year == kUnknownDate)
    {
        return {};
    }
    char text[80];
    bool const dayKnown = date.month != kUnknownDate && date.day != kUnknownDate;
    if (!dayKnown)
    {
        std::snprintf(text, sizeof text, "%04d", date.year);
    }
    else if (date.time.hour == kUnknownDate)
    {
        std::snprintf(text, sizeof text, "%04d-%02d-%02d", date.year, date.month, date.day);
    }
    else
    {
        std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", date.year, date.month, date.day,
                      date.time.hour, date.time.minute, std::max(date.time.second, 0));
    }
    return text;
}

/// One preview on its way.
class Maker
{
public:
    Maker(PreviewTask const& task, std::string const& uri)
        : m_task(task)
        , m_uri(uri)
    {
    }

    Preview make()
    {
        std::string const path = localPath(m_uri);
        if (!path.empty())
        {
            if (auto refusal = refuseFile(path))
            {
                return {*refusal, {}};
            }
        }
        if (auto const fault = m_reader.openUri(m_uri))
        {
            return failed(*fault);
        }
        describe(path);
        if (m_task.picture)
        {
            makePicture();
        }
        return std::move(m_preview);
    }

private:
    static Preview failed(Fault const& fault)
    {
        PreviewResult result = failedPreview(fault.code, fault.text);
        result.add(om::OM_KEY_CODEC, fault.codec);
        return {result, {}};
    }

    void describe(std::string const& path)
    {
        om::om_media_info_t tags{};
        tags.create_date = unknownDate();
        readTags(m_reader.tags(), tags);
        m_upright = orientationOf(m_reader.tags());
        if (m_reader.isPhoto())
        {
            if (auto const exif = readExif(m_reader.imageHead()))
            {
                m_upright = {exif->rotation / kDegreesOfQuarter, exif->mirror != 0};
                tags.create_date = exif->date_taken;
            }
        }
        else if (!path.empty() && m_reader.mimeType().find("mp4") != std::string::npos)
        {
            if (std::int64_t const created = readMp4Facts(FileBytes(path)).created; created >= 0)
            {
                tags.create_date = dateOf(created);
            }
        }
        GstClockTime const duration = m_reader.duration();
        m_duration = m_reader.isPhoto() || duration >= kLongestDuration ? 0 : duration;

        PreviewResult& result = m_preview.result;
        om::om_media_type_e const type = m_reader.isPhoto()    ? om::OM_MEDIA_TYPE_PHOTO
                                         : m_reader.hasVideo() ? om::OM_MEDIA_TYPE_VIDEO
                                         : m_reader.hasAudio() ? om::OM_MEDIA_TYPE_AUDIO
                                                               : om::OM_MEDIA_TYPE_UNKNOWN;
        result.add(om::OM_PREVIEW_KEY_MEDIA_TYPE, std::to_string(type));
        result.add(om::OM_PREVIEW_KEY_MIME_TYPE, m_reader.mimeType());
        result.add(om::OM_PREVIEW_KEY_TITLE, tags.tag.title);
        result.add(om::OM_PREVIEW_KEY_ARTIST, tags.tag.artist);
        result.add(om::OM_PREVIEW_KEY_ALBUM, tags.tag.album);
        result.add(om::OM_PREVIEW_KEY_DURATION, numberText(m_duration / GST_MSECOND));
        result.add(om::OM_PREVIEW_KEY_FILE_SIZE, numberText(m_reader.fileSize()));
        result.add(om::OM_PREVIEW_KEY_VIDEO_CODEC, m_reader.isPhoto() ? "" : numberText(m_reader.videoCodec()));
        result.add(om::OM_PREVIEW_KEY_AUDIO_CODEC, numberText(m_reader.audioCodec()));
        result.add(om::OM_PREVIEW_KEY_ROTATION, numberText(static_cast<std::uint64_t>(m_upright.degrees())));
        result.add(om::OM_PREVIEW_KEY_DATE, dateText(tags.create_date));
        describePicture();
    }

    void describePicture()
    {
        auto const extent = m_reader.videoExtent();
        if (extent.first > 0)
        {
            m_preview.result.add(om::OM_PREVIEW_KEY_RESOLUTION, extentText(extent.first, extent.second));
        }
    }

    void makePicture()
    {
        if (!m_reader.missingCodec().empty() && !m_reader.hasVideo() &&
            m_reader.videoCodec() != om::OM_VIDEO_CODEC_UNKNOWN)
        {
            fail(om::OM_ERROR_UNSUPPORTED_CODEC, "no decoder");
            m_preview.result.add(om::OM_KEY_CODEC, m_reader.missingCodec());
            return;
        }
        bool const isSheet = m_task.frames > 1 && !m_reader.isPhoto() && m_reader.isSeekable();
        Raster const raster = !m_reader.hasVideo() ? cover() : isSheet ? sheet() : thumbnail();
        if (raster.pixels.empty())
        {
            // Sound need not have a picture.
            if (m_reader.hasVideo())
            {
                fail(om::OM_ERROR_BROKEN_FILE, "no frame can be decoded");
            }
            return;
        }
        m_preview.picture = compressed(raster, m_task.png);
        if (m_preview.picture.empty())
        {
            fail(om::OM_ERROR_INTERNAL, "the picture cannot be compressed");
            return;
        }
        m_preview.result.add(om::OM_PREVIEW_KEY_PICTURE_SIZE, extentText(raster.width, raster.height));
        if (m_position)
        {
            m_preview.result.add(om::OM_PREVIEW_KEY_POSITION, std::to_string(*m_position / GST_MSECOND));
        }
    }

    void fail(om::om_error_e code, char const* text)
    {
        m_preview.result.code = code;
        m_preview.result.add(om::OM_KEY_TEXT, text);
    }

    Extent box() const { return {m_task.width, m_task.height}; }

    Raster frame(GstClockTime position)
    {
        GstClockTime const last = m_duration > 0 ? m_duration - 1 : position;
        Frame const found = m_reader.frameAt(std::min(position, last), m_task.exact);
        if (found.sample == nullptr)
        {
            return {};
        }
        m_position = m_position.value_or(found.position);
        return thumbnailOf(found.sample.get(), m_upright, box());
    }

    Raster thumbnail()
    {
        auto const asked = static_cast<GstClockTime>(m_task.position);
        bool const inPercent = m_task.mode == om::OM_LOCATION_MODE_PERCENT;
        Raster raster = frame(inPercent ? m_duration / 100 * asked : asked * GST_MSECOND);
        if (m_reader.isPhoto())
        {
            m_position.reset();
        }
        return raster;
    }

    /// Frames from the middle of as many parts of equal length.
    Raster sheet()
    {
        std::vector<Raster> rasters;
        auto const count = static_cast<GstClockTime>(m_task.frames);
        for (GstClockTime number = 0; number < count; ++number)
        {
            Raster raster = frame(m_duration / (2 * count) * (2 * number + 1));
            if (raster.pixels.empty())
            {
                return {};
            }
            rasters.push_back(std::move(raster));
        }
        return sheetOf(rasters, m_task.columns);
    }

    Raster cover() const
    {
        GstSample* sample = nullptr;
        GstTagList const* const tags = m_reader.tags();
        if (tags == nullptr || (gst_tag_list_get_sample(tags, GST_TAG_IMAGE, &sample) == FALSE &&
                                gst_tag_list_get_sample(tags, GST_TAG_PREVIEW_IMAGE, &sample) == FALSE))
        {
            return {};
        }
        SamplePtr const owner(sample);
        GstBuffer* const bytes = gst_sample_get_buffer(sample);
        PreviewReader reader;
        if (bytes == nullptr || reader.openBytes(BufferPtr(gst_buffer_ref(bytes))) || !reader.hasVideo())
        {
            return {};
        }
        auto const exif = readExif(reader.imageHead());
        Frame const picture = reader.frameAt(0, false);
        return picture.sample == nullptr
                   ? Raster()
                   : thumbnailOf(picture.sample.get(),
                                 exif ? Orientation{exif->rotation / kDegreesOfQuarter, exif->mirror != 0}
                                      : Orientation(),
                                 box());
    }

    PreviewTask const& m_task;
    std::string const& m_uri;
    PreviewReader m_reader;
    Preview m_preview;
    Orientation m_upright;
    GstClockTime m_duration = 0;
    std::optional<GstClockTime> m_position;
};

} // namespace

Preview makePreview(PreviewTask const& task, std::string const& uri)
{
    return Maker(task, uri).make();
}

} // namespace tz::orvane::service
