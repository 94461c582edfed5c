// SPDX-License-Identifier: Apache-2.0
// The URI entity: recognises headers and file names, and takes known parameters out of media URIs.
#include "orvane/om_uri_util.h"

#include "om_property_image.h"
#include "orvane/om_type_util.h"
#include "orvane/platform/om_debug.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

namespace tz::orvane::om
{

namespace
{

constexpr char kLogFile[] = "om_uri_util";
constexpr char kLogClass[] = "UriEntity";

constexpr int kFailed = -1;

/// In the order in which they are taken out of a URI.
OmString const kKeys[] = {"scenes",   "playMode",        "width",     "height", "pos",
                          "filesize", "duration",        "subtitle",  "region", "bgmusic",
                          "curItem",  "video-play-mode", "zoom-mode", "app"};

bool startsWith(OmString const& text, OmString const& start)
{
    return text.compare(0, start.size(), start) == 0;
}

/// -1 stands for "not found".
int logged(std::size_t position)
{
    return static_cast<int>(position);
}

/// @return how much of the URI is its header, 0 when none is known
std::size_t headerLength(OmString const& uri)
{
    if (startsWith(uri, UriEntity::HEADER_FILE))
    {
        // What follows begins with a slash, the third one or the second.
        std::size_t const length = UriEntity::HEADER_FILE.size();
        return uri.at(length) == '/' ? length : length - 1;
    }
    for (OmString const* header :
         {&UriEntity::HEADER_HTTP, &UriEntity::HEADER_HTTPS, &UriEntity::HEADER_ES, &UriEntity::HEADER_RTSP})
    {
        if (startsWith(uri, *header))
        {
            return header->size();
        }
    }
    return 0;
}

/// Copies text to a zeroed field; longer text is cut so that a NUL is left.
template <std::size_t size> void store(char const* text, std::size_t length, char (&field)[size])
{
    OmTypeUtil::copy(text, static_cast<int>(length), field, static_cast<int>(std::min(length, size - 1)));
}

std::size_t imageSize(OmPropertyGroup const& group)
{
    char* image = nullptr;
    int length = 0;
    group.getData(&image, &length);
    return static_cast<std::size_t>(length);
}

/// Adds a parameter unless the group would outgrow its limit, which ends the process: URIs may come from anybody.
/// @return whether it fits
bool addIfItFits(OmPropertyGroup& group, OmString const& key, OmString const& value)
{
    constexpr std::size_t kLimit = protocol::kPropertyMaxSize;
    constexpr std::size_t kEntryBytes = protocol::kPropertyTextAt + 2; // besides its texts
    std::size_t const present = imageSize(group);
    std::size_t const needed = present + kEntryBytes + std::strlen(key.c_str()) + std::strlen(value.c_str());
    if (needed > kLimit)
    {
        return false;
    }
    if (present > 0 && needed > kLimit / 2)
    {
        // A group doubles a buffer that is too small, which would be too much here. It gets one that is just large
        // enough by way of another group: an entry without a key is refused, but room is made for it.
        OmPropertyGroup roomy;
        roomy.add("", OmString(needed - imageSize(roomy) - kEntryBytes, ' ').c_str());
        roomy = group;
        group = roomy;
    }
    group.add(key, value);
    return true;
}

} // namespace

OmString const UriEntity::HEADER_FILE = "file://";
OmString const UriEntity::HEADER_HTTP = "http://";
OmString const UriEntity::HEADER_HTTPS = "https://";
OmString const UriEntity::HEADER_ES = "es://";
OmString const UriEntity::HEADER_RTSP = "rtsp://";

UriEntity::UriEntity(OmString const& uri)
{
    if (uri.empty())
    {
        ORVANE_LOG_ERROR("URI is empty!");
        return;
    }
    parseUri(uri);
}

UriEntity::~UriEntity()
{
    ORVANE_LOG_DEBUG("called. ");
}

int UriEntity::parseUri(OmString const& uri)
{
    ORVANE_LOG_DEBUG("called. uri=%s", uri.c_str());
    m_valid = 0;
    m_info = {};
    m_properties = OmPropertyGroup();

    std::size_t const headerLen = headerLength(uri);
    if (headerLen == 0)
    {
        ORVANE_LOG_ERROR("Unknown header! uri=%s", uri.c_str());
        return kFailed;
    }
    m_valid = 1;
    ORVANE_LOG_INFO("headerLen=%lu", static_cast<unsigned long>(headerLen));
    OmTypeUtil::copy(uri.data(), static_cast<int>(headerLen), m_info.header, static_cast<int>(sizeof m_info.header));

    // The file name: behind the last slash, if it has an extension.
    std::size_t const paramPos = uri.rfind('?');
    OmString const fn_uri = uri.substr(0, paramPos);
    std::size_t const filePos = fn_uri.rfind('/');
    std::size_t const extPos = fn_uri.rfind('.');
    if (filePos != OmString::npos && extPos != OmString::npos && filePos < extPos)
    {
        store(fn_uri.data() + filePos + 1, fn_uri.size() - filePos - 1, m_info.file_name);
    }
    else
    {
        ORVANE_LOG_ERROR("Unknown File Name! uri=%s", uri.c_str());
    }
    ORVANE_LOG_INFO("fn_uri=%s, paramPos=%d, extPos=%d, filePos=%d", fn_uri.c_str(), logged(paramPos), logged(extPos),
                    logged(filePos));

    // The known parameters.
    ORVANE_LOG_INFO("totalSize=%d, arraySize=%d, keySize=%d", static_cast<int>(sizeof kKeys),
                    static_cast<int>(std::size(kKeys)), static_cast<int>(sizeof(OmString)));
    OmString pure = uri;
    for (OmString const& key : kKeys)
    {
        int startPos = 0;
        int endPos = 0;
        if (parseProperty(pure, key, m_properties, startPos, endPos) != 0)
        {
            continue;
        }
        ORVANE_LOG_INFO("key=%s, startPos=%d, endPos=%d", key.c_str(), startPos, endPos);
        ORVANE_LOG_INFO("subStr_tmp1:%.*s, subStr_tmp2:%s", startPos, pure.c_str(), pure.c_str() + endPos);
        pure.erase(static_cast<std::size_t>(startPos), static_cast<std::size_t>(endPos - startPos));
    }
    ORVANE_LOG_INFO("pure_uri:%s", pure.c_str());
    store(uri.data(), uri.size(), m_info.orign_uri);
    store(pure.data(), pure.size(), m_info.pure_uri);
    return 0;
}

int UriEntity::parseProperty(OmString const& uri, OmString const& key, OmPropertyGroup& group, int& startPos,
                             int& endPos)
{
    ORVANE_LOG_DEBUG("called. uri=%s, key=%s", uri.c_str(), key.c_str());
    std::size_t const query = uri.rfind('?');
    if (query == OmString::npos)
    {
        ORVANE_LOG_INFO("There is no key.");
        return kFailed;
    }
    std::size_t const keyPos = uri.find(key, query + 1);
    if (keyPos == OmString::npos || (keyPos != query + 1 && uri[keyPos - 1] != '&'))
    {
        ORVANE_LOG_INFO("Can't find this key [%s]", key.c_str());
        return kFailed;
    }
    std::size_t const equals = keyPos + key.size();
    if (equals + 2 > uri.size())
    {
        ORVANE_LOG_INFO("This key [%s] has no value.", key.c_str());
        return kFailed;
    }
    if (uri[equals] != '=')
    {
        ORVANE_LOG_INFO("Can't find this key [%s]", key.c_str());
        return kFailed;
    }
    std::size_t const end = std::min(uri.find('&', equals + 1), uri.size());
    OmString const value = uri.substr(equals + 1, end - equals - 1);
    if (!addIfItFits(group, key, value))
    {
        ORVANE_LOG_ERROR("The value of this key [%s] is too long.", key.c_str());
        return kFailed;
    }
    ORVANE_LOG_INFO("Done. value=%s.", value.c_str());
    // With the parameter goes the '&' behind it; with the last one the '?' or '&' before it.
    bool const isLast = end == uri.size();
    startPos = static_cast<int>(isLast ? keyPos - 1 : keyPos);
    endPos = static_cast<int>(isLast ? end : end + 1);
    return 0;
}

int UriEntity::parseProperty(OmString const& uri, OmString const& key, OmPropertyGroup& group)
{
    int startPos = 0;
    int endPos = 0;
    return parseProperty(uri, key, group, startPos, endPos);
}

OmString UriEntity::getProperty(OmString const& key) const
{
    return m_properties.get(key);
}

int UriEntity::getUriInfo(om_uri_info_t& info) const
{
    OmTypeUtil::copy(m_info, info);
    ORVANE_LOG_INFO("----info-orign_uri=%s.", info.orign_uri);
    ORVANE_LOG_INFO("----info-pure_uri=%s.", info.pure_uri);
    ORVANE_LOG_INFO("----info-file_name=%s.", info.file_name);
    ORVANE_LOG_INFO("----info-header=%s.", info.header);
    return 0;
}

bool UriEntity::isValid() const
{
    return m_valid != 0;
}

} // namespace tz::orvane::om
