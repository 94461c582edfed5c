// SPDX-License-Identifier: Apache-2.0
// What became of a preview request.
#include "preview_result.h"

#include "foreign_text.h"
#include "om_property_image.h"
#include "text_field.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace tz::orvane::service
{

namespace
{

constexpr char kResultKey[] = "result";

constexpr std::string_view kKeys[] = {
    om::OM_KEY_TEXT,
    om::OM_KEY_CODEC,
    om::OM_PREVIEW_KEY_MEDIA_TYPE,
    om::OM_PREVIEW_KEY_MIME_TYPE,
    om::OM_PREVIEW_KEY_TITLE,
    om::OM_PREVIEW_KEY_ARTIST,
    om::OM_PREVIEW_KEY_ALBUM,
    om::OM_PREVIEW_KEY_DURATION,
    om::OM_PREVIEW_KEY_FILE_SIZE,
    om::OM_PREVIEW_KEY_RESOLUTION,
    om::OM_PREVIEW_KEY_ROTATION,
    om::OM_PREVIEW_KEY_VIDEO_CODEC,
    om::OM_PREVIEW_KEY_AUDIO_CODEC,
    om::OM_PREVIEW_KEY_DATE,
    om::OM_PREVIEW_KEY_PICTURE_SIZE,
    om::OM_PREVIEW_KEY_POSITION,
};

/// @return the text in UTF-8 and of bounded length: a group must not grow past its limit
std::string tamed(std::string_view text)
{
    char field[512];
    setText(field, toUtf8(text));
    return field;
}

} // namespace

void PreviewResult::add(char const* key, std::string const& value)
{
    if (!value.empty())
    {
        properties.emplace_back(key, value);
    }
}

bool PreviewResult::has(char const* key) const
{
    return std::any_of(properties.begin(), properties.end(), [key](auto const& entry) { return entry.first == key; });
}

void PreviewResult::fillGroup(om::OmPropertyGroup& group) const
{
    for (auto const& [key, value] : properties)
    {
        group.add(key, tamed(value));
    }
}

PreviewResult failedPreview(om::om_error_e code, std::string const& text)
{
    PreviewResult result;
    result.code = code;
    result.add(om::OM_KEY_TEXT, text);
    return result;
}

std::string encodeResult(PreviewResult const& result)
{
    om::OmPropertyGroup group;
    group.add(kResultKey, std::to_string(static_cast<unsigned int>(result.code)));
    result.fillGroup(group);
    char* data = nullptr;
    int size = 0;
    group.getData(&data, &size);
    return std::string(data, static_cast<std::size_t>(size));
}

PreviewResult decodeResult(std::string_view bytes)
{
    protocol::PropertyView const view(bytes.data(), static_cast<int>(bytes.size()));
    std::string_view const code = view.get(kResultKey);
    unsigned int number = 0;
    auto const read = std::from_chars(code.data(), code.data() + code.size(), number);
    if (read.ec != std::errc() || number > om::OM_ERROR_LIMIT)
    {
        return failedPreview(om::OM_ERROR_INTERNAL, "the decoding process gives no result");
    }
    PreviewResult result;
    result.code = static_cast<om::om_error_e>(number);
    for (auto const entry : view)
    {
        auto const* const known = std::find(std::begin(kKeys), std::end(kKeys), entry.key);
        if (known != std::end(kKeys))
        {
            result.add(known->data(), std::string(entry.value));
        }
    }
    return result;
}

} // namespace tz::orvane::service
