// SPDX-License-Identifier: Apache-2.0
// What became of a preview, in words and as data.
#include "presentation/preview_report.h"

#include "orvane/om_service.h"
#include "presentation/labels.h"
#include "presentation/media_uri.h"
#include "presentation/text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>

namespace tz::orvane::tools
{

namespace
{

constexpr std::size_t kLabelColumns = 12;
constexpr int kBarColumns = 30;

std::string valueOf(PreviewOutcome const& outcome, char const* key)
{
    auto const found = outcome.properties.find(key);
    return found == outcome.properties.end() ? "" : printable(found->second);
}

long long numberOf(PreviewOutcome const& outcome, char const* key)
{
    return std::strtoll(valueOf(outcome, key).c_str(), nullptr, 10);
}

char const* typeText(long long type)
{
    switch (type)
    {
    case om::OM_MEDIA_TYPE_VIDEO:
        return "video";
    case om::OM_MEDIA_TYPE_AUDIO:
        return "audio";
    case om::OM_MEDIA_TYPE_PHOTO:
        return "photo";
    default:
        return "";
    }
}

std::string videoText(PreviewOutcome const& outcome)
{
    long long const codec = numberOf(outcome, om::OM_PREVIEW_KEY_VIDEO_CODEC);
    return codec > 0 ? videoCodecLabel(static_cast<int>(codec)) : "";
}

std::string audioText(PreviewOutcome const& outcome)
{
    long long const codec = numberOf(outcome, om::OM_PREVIEW_KEY_AUDIO_CODEC);
    return codec > 0 ? audioCodecLabel(static_cast<int>(codec)) : "";
}

std::string withUnit(std::string const& value, char const* unit)
{
    return value.empty() ? value : value + unit;
}

std::string lineOf(std::string const& name, std::string const& value)
{
    std::string label = name + ":";
    label.resize(std::max(label.size(), kLabelColumns), ' ');
    return value.empty() ? "" : label + " " + value + "\n";
}

} // namespace

std::string previewReport(PreviewOutcome const& outcome)
{
    std::string const duration = valueOf(outcome, om::OM_PREVIEW_KEY_DURATION);
    std::string const pictureSize = valueOf(outcome, om::OM_PREVIEW_KEY_PICTURE_SIZE);
    std::string const position = valueOf(outcome, om::OM_PREVIEW_KEY_POSITION);
    std::string picture = printable(outcome.picture);
    if (!picture.empty())
    {
        picture += " (" + pictureSize +
                   (position.empty() ? "" : ", at " + timeText(numberOf(outcome, om::OM_PREVIEW_KEY_POSITION))) + ")";
    }
    return lineOf("File", printable(outcome.uri)) +
           lineOf("Type", typeText(numberOf(outcome, om::OM_PREVIEW_KEY_MEDIA_TYPE))) +
           lineOf("Title", valueOf(outcome, om::OM_PREVIEW_KEY_TITLE)) +
           lineOf("Artist", valueOf(outcome, om::OM_PREVIEW_KEY_ARTIST)) +
           lineOf("Album", valueOf(outcome, om::OM_PREVIEW_KEY_ALBUM)) +
           lineOf("Container", valueOf(outcome, om::OM_PREVIEW_KEY_MIME_TYPE)) +
           lineOf("Duration", duration.empty() ? "" : timeText(std::strtoll(duration.c_str(), nullptr, 10))) +
           lineOf("Size", withUnit(valueOf(outcome, om::OM_PREVIEW_KEY_FILE_SIZE), " bytes")) +
           lineOf("Resolution", valueOf(outcome, om::OM_PREVIEW_KEY_RESOLUTION)) +
           lineOf("Rotation", withUnit(valueOf(outcome, om::OM_PREVIEW_KEY_ROTATION), " degrees")) +
           lineOf("Video", videoText(outcome)) + lineOf("Audio", audioText(outcome)) +
           lineOf("Created", valueOf(outcome, om::OM_PREVIEW_KEY_DATE)) + lineOf("Picture", picture);
}

std::string previewFault(PreviewOutcome const& outcome)
{
    if (!outcome.fault.empty())
    {
        return printable(outcome.fault);
    }
    std::string const codec = valueOf(outcome, om::OM_KEY_CODEC);
    std::string const detail = codec.empty() ? valueOf(outcome, om::OM_KEY_TEXT) : codec;
    return errorLabel(outcome.code) + (detail.empty() ? "" : " (" + detail + ")");
}

std::string previewJson(PreviewOutcome const& outcome)
{
    nlohmann::ordered_json object;
    object["uri"] = printable(outcome.uri);
    object["ok"] = outcome.code == om::OM_ERROR_NONE;
    if (outcome.code != om::OM_ERROR_NONE)
    {
        object["error"] = {{"code", outcome.code}, {"text", previewFault(outcome)}};
    }
    auto const text = [&](char const* name, std::string const& value)
    {
        if (!value.empty())
        {
            object[name] = value;
        }
    };
    auto const number = [&](char const* name, char const* key)
    {
        if (!valueOf(outcome, key).empty())
        {
            object[name] = numberOf(outcome, key);
        }
    };
    text("type", typeText(numberOf(outcome, om::OM_PREVIEW_KEY_MEDIA_TYPE)));
    text("mime-type", valueOf(outcome, om::OM_PREVIEW_KEY_MIME_TYPE));
    text("title", valueOf(outcome, om::OM_PREVIEW_KEY_TITLE));
    text("artist", valueOf(outcome, om::OM_PREVIEW_KEY_ARTIST));
    text("album", valueOf(outcome, om::OM_PREVIEW_KEY_ALBUM));
    number("duration-ms", om::OM_PREVIEW_KEY_DURATION);
    number("size", om::OM_PREVIEW_KEY_FILE_SIZE);
    text("resolution", valueOf(outcome, om::OM_PREVIEW_KEY_RESOLUTION));
    number("rotation", om::OM_PREVIEW_KEY_ROTATION);
    text("video-codec", videoText(outcome));
    text("audio-codec", audioText(outcome));
    text("created", valueOf(outcome, om::OM_PREVIEW_KEY_DATE));
    text("picture", printable(outcome.picture));
    text("picture-size", valueOf(outcome, om::OM_PREVIEW_KEY_PICTURE_SIZE));
    number("position-ms", om::OM_PREVIEW_KEY_POSITION);
    return object.dump() + "\n";
}

std::string previewProgress(std::size_t done, std::size_t all, std::string const& name, int columns)
{
    auto const filled = all == 0 ? kBarColumns : static_cast<int>(done * kBarColumns / all);
    std::string bar(static_cast<std::size_t>(filled), '=');
    if (filled < kBarColumns)
    {
        bar += '>';
    }
    bar.resize(kBarColumns, '-');
    std::string const line =
        "[" + bar + "] " + std::to_string(done) + "/" + std::to_string(all) + " " + printable(name);
    return clipped(line, columns);
}

} // namespace tz::orvane::tools
