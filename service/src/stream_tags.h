// SPDX-License-Identifier: Apache-2.0
// What tags tell of a stream and of the medium that it belongs to.
#pragma once

#include "gst_ptr.h"

#include "orvane/om_records.h"

#include <string>

namespace tz::orvane::service
{

/// @return the tags of one scope as they have come to a pad; null for none
TagListPtr tagsOfScope(GstPad* pad, GstTagScope scope);

/// @param tags may be null, here and below @return empty for none
std::string tagText(GstTagList const* tags, char const* tag);

/// @return 0 for none
unsigned int tagNumber(GstTagList const* tags, char const* tag);

/// @return bytes of the tag's value, at most 64 KiB
std::string tagSample(GstTagList const* tags, char const* tag, unsigned int index);

/// @return three letters of ISO 639-2, the form that files of most kinds carry; empty when not known
std::string languageOf(GstTagList const* tags);

/// @return the name that a track was given in its file
std::string trackTitleOf(GstTagList const* tags);

/// @return bits a second, 0 when not told
unsigned int bitRateOf(GstTagList const* tags);

/// Fills what is still empty of tags and dates.
void readTags(GstTagList const* tags, om::om_media_info_t& media);

} // namespace tz::orvane::service
