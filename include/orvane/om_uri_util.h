// SPDX-License-Identifier: Apache-2.0
// Takes media URIs apart: header, file name, known parameters, and the URI without these.
#pragma once

#include "orvane/om_export.h"
#include "orvane/om_property_group.h"
#include "orvane/om_records.h"
#include "orvane/om_string.h"

namespace tz::orvane::om
{

/// A media URI and its parts.
///
/// Parameters stand behind the last '?', as key=value with '&' between them. Those with a known key go into a property
/// group and leave the pure URI, the others stay in it, as do those with which the image of the group would be larger
/// than 65535 bytes. Percent signs are ordinary characters.
/// One entity must not be used by two threads at once.
class ORVANE_API UriEntity
{
public:
    static OmString const HEADER_FILE;  ///< "file://"; the path behind it begins with a slash or gets this one's last
    static OmString const HEADER_HTTP;  ///< "http://"
    static OmString const HEADER_HTTPS; ///< "https://"
    static OmString const HEADER_ES;    ///< "es://", elementary streams that the application pushes
    static OmString const HEADER_RTSP;  ///< "rtsp://"

    /// Parses `uri`; an empty one, or one that cannot be parsed, gives an invalid entity with an empty record.
    /// @throw std::out_of_range for "file://" with nothing behind it
    explicit UriEntity(OmString const& uri);
    ~UriEntity();

    /// Parses another URI; nothing of the former one is kept.
    /// @return 0, or -1 when its header is none of the known ones
    /// @throw std::out_of_range for "file://" with nothing behind it; the entity is invalid and empty then
    int parseUri(OmString const& uri);

    /// Looks for one parameter and adds it to `group`. Only the first place where `key` occurs behind the last '?' is
    /// looked at, even if that is the inside of another parameter.
    /// @param[out] startPos,endPos what to cut out of `uri` so that the parameter is gone; untouched when not found
    /// @return 0, or -1 when it is not there, has no value at the end of `uri`, or is too long for `group`
    int parseProperty(OmString const& uri, OmString const& key, OmPropertyGroup& group, int& startPos, int& endPos);

    /// The same without positions.
    int parseProperty(OmString const& uri, OmString const& key, OmPropertyGroup& group);

    /// @return the value of a parameter, empty when there is none
    OmString getProperty(OmString const& key) const;

    /// Copies the parts out. URI and pure URI are cut to 2047 bytes, the file name to 63. @return 0
    int getUriInfo(om_uri_info_t& info) const;

    /// @return whether the header of the URI is known
    bool isValid() const;

private:
    int m_valid = 0;
    om_uri_info_t m_info{};
    OmPropertyGroup m_properties;
};

} // namespace tz::orvane::om
