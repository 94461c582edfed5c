// SPDX-License-Identifier: Apache-2.0
// What a camera wrote into its picture.
#include "exif.h"

#include "big_endian.h"
#include "dates.h"
#include "foreign_text.h"
#include "text_field.h"

#include <libexif/exif-data.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

namespace tz::orvane::service
{

namespace
{

using namespace std::string_view_literals;

constexpr std::string_view kMark = "Exif\0\0"sv;
constexpr std::string_view kPngMark = "\x89PNG\r\n\x1A\n"sv;
constexpr std::size_t kChunkHeader = 8;
constexpr std::size_t kChunkFrame = kChunkHeader + 4; ///< with its check sum
constexpr std::uint64_t kLargestExif = 65'535;

struct ReleaseExif
{
    void operator()(ExifData* data) const { exif_data_unref(data); }
};
using ExifPtr = std::unique_ptr<ExifData, ReleaseExif>;

/// Segments of a JPEG up to where the picture itself begins. @return the mark and what follows it, empty for none
std::string findInJpeg(std::string_view image)
{
    std::size_t at = 2;
    while (at + 4 <= image.size() && bigEndian(image, at, 1) == 0xFF)
    {
        std::uint64_t const kind = bigEndian(image, at + 1, 1);
        if (kind == 0xFF)
        {
            ++at; // a byte that fills
            continue;
        }
        auto const size = static_cast<std::size_t>(bigEndian(image, at + 2, 2)); // with its own two bytes
        bool const pictureBegins = kind == 0xDA;
        if (pictureBegins || size < 2)
        {
            break;
        }
        std::string_view const content = image.substr(at + 4, size - 2);
        if (kind == 0xE1 && content.substr(0, kMark.size()) == kMark)
        {
            return std::string(content);
        }
        at += 2 + size;
    }
    return {};
}

/// The same of a PNG, whose chunk goes without the mark.
std::string findInPng(std::string_view image)
{
    std::uint64_t at = kPngMark.size();
    while (at + kChunkHeader <= image.size())
    {
        auto const begin = static_cast<std::size_t>(at);
        std::uint64_t const size = bigEndian(image, begin, 4);
        std::string_view const type = image.substr(begin + 4, 4);
        if (type == "eXIf"sv && size <= kLargestExif)
        {
            return std::string(kMark).append(image.substr(begin + kChunkHeader, static_cast<std::size_t>(size)));
        }
        if (type == "IEND"sv)
        {
            break;
        }
        at += kChunkFrame + size;
    }
    return {};
}

ExifEntry* entryOf(ExifData* data, ExifIfd ifd, unsigned int tag)
{
    return exif_content_get_entry(data->ifd[ifd], static_cast<ExifTag>(tag));
}

std::string textOf(ExifData* data, ExifIfd ifd, unsigned int tag)
{
    ExifEntry const* const entry = entryOf(data, ifd, tag);
    if (entry == nullptr || entry->format != EXIF_FORMAT_ASCII || entry->data == nullptr)
    {
        return {};
    }
    std::string text =
        toUtf8({reinterpret_cast<char const*>(entry->data), std::min<std::size_t>(entry->size, kLargestExif)});
    text.erase(text.find_last_not_of(' ') + 1); // cameras fill up with blanks
    return text;
}

std::optional<unsigned int> numberOf(ExifData* data, ExifIfd ifd, unsigned int tag)
{
    ExifEntry const* const entry = entryOf(data, ifd, tag);
    if (entry == nullptr || entry->data == nullptr || entry->components < 1)
    {
        return std::nullopt;
    }
    ExifByteOrder const order = exif_data_get_byte_order(data);
    switch (entry->format)
    {
    case EXIF_FORMAT_BYTE:
        return entry->size >= 1 ? std::optional<unsigned int>(entry->data[0]) : std::nullopt;
    case EXIF_FORMAT_SHORT:
        return entry->size >= 2 ? std::optional<unsigned int>(exif_get_short(entry->data, order)) : std::nullopt;
    case EXIF_FORMAT_LONG:
        return entry->size >= 4 ? std::optional<unsigned int>(exif_get_long(entry->data, order)) : std::nullopt;
    default:
        return std::nullopt;
    }
}

/// Ratios, as many as fit; others stay 0:0.
template <class Ratio> void readRatios(ExifData* data, ExifIfd ifd, unsigned int tag, Ratio* to, std::size_t count)
{
    ExifEntry const* const entry = entryOf(data, ifd, tag);
    if (entry == nullptr || entry->format != EXIF_FORMAT_RATIONAL || entry->data == nullptr)
    {
        return;
    }
    for (std::size_t index = 0; index < count && (index + 1) * 8 <= entry->size; ++index)
    {
        ExifRational const ratio = exif_get_rational(entry->data + 8 * index, exif_data_get_byte_order(data));
        if (ratio.numerator <= INT32_MAX && ratio.denominator <= INT32_MAX)
        {
            to[index] = {static_cast<std::int32_t>(ratio.numerator), static_cast<std::int32_t>(ratio.denominator)};
        }
    }
}

void readOrientation(ExifData* data, om::om_exif_info_t& info)
{
    // The eight ways to hold a camera, in the order of their numbers; first it is mirrored, then turned.
    static constexpr int kRotations[] = {0, 0, 180, 180, 270, 90, 90, 270};
    static constexpr bool kMirrors[] = {false, true, false, true, true, false, true, false};
    unsigned int const orientation = numberOf(data, EXIF_IFD_0, EXIF_TAG_ORIENTATION).value_or(1);
    if (orientation >= 1 && orientation <= std::size(kRotations))
    {
        info.rotation = kRotations[orientation - 1];
        info.mirror = kMirrors[orientation - 1] ? 1 : 0;
    }
}

bool isDate(om::om_date_t const& date)
{
    auto const within = [](int number, int least, int most) { return number >= least && number <= most; };
    return within(date.year, 1, 9999) && within(date.month, 1, 12) && within(date.day, 1, 31) &&
           within(date.time.hour, 0, 23) && within(date.time.minute, 0, 59) && within(date.time.second, 0, 60);
}

void readDateTaken(ExifData* data, om::om_exif_info_t& info)
{
    om::om_date_t& date = info.date_taken;
    date = unknownDate();
    std::string text = textOf(data, EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_ORIGINAL);
    if (text.empty())
    {
        text = textOf(data, EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_DIGITIZED);
    }
    if (text.empty())
    {
        text = textOf(data, EXIF_IFD_0, EXIF_TAG_DATE_TIME);
    }
    om::om_date_t read{};
    bool const whole = std::sscanf(text.c_str(), "%4d:%2d:%2d %2d:%2d:%2d", &read.year, &read.month, &read.day,
                                   &read.time.hour, &read.time.minute, &read.time.second) == 6;
    if (whole && isDate(read))
    {
        date = read;
        setWeekday(date);
    }
}

void readPlace(ExifData* data, om::om_gps_info_t& gps)
{
    readRatios(data, EXIF_IFD_GPS, EXIF_TAG_GPS_LATITUDE, gps.latitude, std::size(gps.latitude));
    readRatios(data, EXIF_IFD_GPS, EXIF_TAG_GPS_LONGITUDE, gps.longitude, std::size(gps.longitude));
    readRatios(data, EXIF_IFD_GPS, EXIF_TAG_GPS_ALTITUDE, &gps.altitude, 1);
    setText(gps.latitude_ref, textOf(data, EXIF_IFD_GPS, EXIF_TAG_GPS_LATITUDE_REF));
    setText(gps.longitude_ref, textOf(data, EXIF_IFD_GPS, EXIF_TAG_GPS_LONGITUDE_REF));
    gps.altitude_ref = numberOf(data, EXIF_IFD_GPS, EXIF_TAG_GPS_ALTITUDE_REF).value_or(0) == 1 ? 1 : 0;
}

} // namespace

std::optional<om::om_exif_info_t> readExif(std::string_view image)
{
    std::string const found = image.substr(0, kPngMark.size()) == kPngMark ? findInPng(image) : findInJpeg(image);
    if (found.empty())
    {
        return std::nullopt;
    }
    ExifPtr const data(exif_data_new());
    if (data == nullptr)
    {
        return std::nullopt;
    }
    // What it would add, or set right, nobody has written into the file.
    exif_data_unset_option(data.get(), EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
    exif_data_load_data(data.get(), reinterpret_cast<unsigned char const*>(found.data()),
                        static_cast<unsigned int>(found.size()));
    bool any = false;
    for (int ifd = 0; ifd < EXIF_IFD_COUNT; ++ifd)
    {
        any = any || data->ifd[ifd]->count > 0;
    }
    if (!any)
    {
        return std::nullopt;
    }

    om::om_exif_info_t info;
    std::memset(&info, 0, sizeof info);
    readOrientation(data.get(), info);
    readRatios(data.get(), EXIF_IFD_EXIF, EXIF_TAG_EXPOSURE_TIME, &info.exposure_time, 1);
    readRatios(data.get(), EXIF_IFD_EXIF, EXIF_TAG_FNUMBER, &info.f_number, 1);
    readRatios(data.get(), EXIF_IFD_EXIF, EXIF_TAG_FOCAL_LENGTH, &info.focal_length, 1);
    setText(info.camera_model, textOf(data.get(), EXIF_IFD_0, EXIF_TAG_MODEL));
    setText(info.camera_maker, textOf(data.get(), EXIF_IFD_0, EXIF_TAG_MAKE));
    info.color_space = static_cast<std::int32_t>(numberOf(data.get(), EXIF_IFD_EXIF, EXIF_TAG_COLOR_SPACE).value_or(0));
    readDateTaken(data.get(), info);
    readPlace(data.get(), info.gps);
    info.iso = static_cast<std::int32_t>(
        std::min<unsigned int>(numberOf(data.get(), EXIF_IFD_EXIF, EXIF_TAG_ISO_SPEED_RATINGS).value_or(0), INT32_MAX));
    return info;
}

} // namespace tz::orvane::service
