// SPDX-License-Identifier: Apache-2.0
// What tags tell of a stream and of the medium that it belongs to.
#include "stream_tags.h"

#include "dates.h"
#include "foreign_text.h"
#include "text_field.h"

#include <gst/tag/tag.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace tz::orvane::service
{

namespace
{

constexpr std::size_t kLargestSample = 65'536;
constexpr std::size_t kBoxHeader = 8;

/// Boxes of an mp4 track that its demuxer hands on as they are.
constexpr char kPrivateBoxTag[] = "private-qt-tag";

void readYear(GstTagList const* tags, om::om_media_info_t& media)
{
    GDate* date = nullptr;
    if (media.tag.year[0] == '\0' && gst_tag_list_get_date(tags, GST_TAG_DATE, &date) != FALSE)
    {
        setText(media.tag.year, std::to_string(g_date_get_year(date)));
        g_date_free(date);
    }
}

void readDate(GstTagList const* tags, om::om_media_info_t& media)
{
    GstDateTime* date = nullptr;
    if (gst_tag_list_get_date_time(tags, GST_TAG_DATE_TIME, &date) == FALSE)
    {
        return;
    }
    if (om::om_date_t& to = media.create_date; to.year == kUnknownDate)
    {
        to.year = gst_date_time_get_year(date);
        to.month = gst_date_time_has_month(date) != FALSE ? gst_date_time_get_month(date) : kUnknownDate;
        to.day = gst_date_time_has_day(date) != FALSE ? gst_date_time_get_day(date) : kUnknownDate;
        if (gst_date_time_has_time(date) != FALSE)
        {
            to.time.hour = gst_date_time_get_hour(date);
            to.time.minute = gst_date_time_get_minute(date);
            to.time.second = gst_date_time_has_second(date) != FALSE ? gst_date_time_get_second(date) : kUnknownDate;
        }
        setWeekday(to);
    }
    if (media.tag.year[0] == '\0')
    {
        setText(media.tag.year, std::to_string(gst_date_time_get_year(date)));
    }
    gst_date_time_unref(date);
}

} // namespace

TagListPtr tagsOfScope(GstPad* pad, GstTagScope scope)
{
    for (guint index = 0;; ++index)
    {
        EventPtr const event(gst_pad_get_sticky_event(pad, GST_EVENT_TAG, index));
        if (event == nullptr)
        {
            return nullptr;
        }
        GstTagList* tags = nullptr;
        gst_event_parse_tag(event.get(), &tags);
        if (gst_tag_list_get_scope(tags) == scope)
        {
            return TagListPtr(gst_tag_list_ref(tags));
        }
    }
}

std::string tagText(GstTagList const* tags, char const* tag)
{
    gchar* value = nullptr;
    if (tags == nullptr || gst_tag_list_get_string(tags, tag, &value) == FALSE)
    {
        return {};
    }
    TextPtr const owner(value);
    return owner.get();
}

unsigned int tagNumber(GstTagList const* tags, char const* tag)
{
    guint value = 0;
    if (tags != nullptr)
    {
        gst_tag_list_get_uint(tags, tag, &value);
    }
    return value;
}

std::string tagSample(GstTagList const* tags, char const* tag, unsigned int index)
{
    GstSample* sample = nullptr;
    if (tags == nullptr || gst_tag_list_get_sample_index(tags, tag, index, &sample) == FALSE)
    {
        return {};
    }
    GstBuffer* const buffer = gst_sample_get_buffer(sample);
    std::string bytes(buffer == nullptr ? 0 : std::min<std::size_t>(gst_buffer_get_size(buffer), kLargestSample), '\0');
    if (!bytes.empty())
    {
        gst_buffer_extract(buffer, 0, bytes.data(), bytes.size());
    }
    gst_sample_unref(sample);
    return bytes;
}

std::string languageOf(GstTagList const* tags)
{
    std::string const language = tagText(tags, GST_TAG_LANGUAGE_CODE);
    if (language == "und")
    {
        return {};
    }
    char const* const code = language.empty() ? nullptr : gst_tag_get_language_code_iso_639_2T(language.c_str());
    return code == nullptr ? language : code;
}

std::string trackTitleOf(GstTagList const* tags)
{
    guint const count = tags == nullptr ? 0 : gst_tag_list_get_tag_size(tags, kPrivateBoxTag);
    for (guint index = 0; index < count; ++index)
    {
        std::string const box = tagSample(tags, kPrivateBoxTag, index);
        if (box.size() > kBoxHeader && box.compare(4, 4, "name") == 0)
        {
            return toUtf8(std::string_view(box).substr(kBoxHeader));
        }
    }
    return tagText(tags, GST_TAG_TITLE);
}

unsigned int bitRateOf(GstTagList const* tags)
{
    unsigned int const exact = tagNumber(tags, GST_TAG_BITRATE);
    return exact != 0 ? exact : tagNumber(tags, GST_TAG_NOMINAL_BITRATE);
}

void readTags(GstTagList const* tags, om::om_media_info_t& media)
{
    if (tags == nullptr)
    {
        return;
    }
    struct Field
    {
        char* text;
        std::size_t size;
        char const* tag;
    };
    for (Field const& field : {Field{media.tag.title, sizeof media.tag.title, GST_TAG_TITLE},
                               Field{media.tag.artist, sizeof media.tag.artist, GST_TAG_ARTIST},
                               Field{media.tag.album, sizeof media.tag.album, GST_TAG_ALBUM},
                               Field{media.tag.genre, sizeof media.tag.genre, GST_TAG_GENRE}})
    {
        if (field.text[0] == '\0')
        {
            setText(field.text, field.size, tagText(tags, field.tag));
        }
    }
    readYear(tags, media);
    readDate(tags, media);
}

} // namespace tz::orvane::service
