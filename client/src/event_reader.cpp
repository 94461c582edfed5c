// SPDX-License-Identifier: Apache-2.0
// Reads the arguments of a message that the service sent unasked.
#include "event_reader.h"

#include <cstring>

namespace tz::orvane::omc
{

using platform::DebugLevel;

void EventReader::fail(char const* failure)
{
    m_failed = true;
    ORVANE_LOG_AT(DebugLevel::error, m_site, "%s", failure);
}

void EventReader::id(unsigned int ownId, char const* failure)
{
    auto const plid = number<unsigned int>(failure);
    if (!m_failed && plid != ownId)
    {
        m_failed = true;
        ORVANE_LOG_AT(DebugLevel::error, m_site, "PLID is not the same! plid=0x%04X, this->plid=0x%04X.", plid, ownId);
    }
}

char const* EventReader::text(char const* failure)
{
    Bytes text;
    if (m_failed)
    {
        return "";
    }
    // Only texts: they are in memory of our own, while a block may still change under the look for its end.
    bool const isText = m_message.argType(m_index) == mdt::MsgArgType::string;
    if (readBytes(m_message, m_index++, &text.data, &text.size) < 0 || !isText ||
        std::memchr(text.data, 0, static_cast<std::size_t>(text.size)) == nullptr)
    {
        fail(failure);
        return "";
    }
    return static_cast<char const*>(text.data);
}

EventReader::Bytes EventReader::take(Take read, char const* failure, char const* end)
{
    Bytes bytes;
    if (m_failed)
    {
        return bytes;
    }
    int const result = read(m_message, m_index++, &bytes.data, &bytes.size);
    if (result < 0)
    {
        m_failed = true;
        ORVANE_LOG_AT(DebugLevel::error, m_site, "%s result=%d%s", failure, result, end);
    }
    return bytes;
}

void* EventReader::recordBytes(void* spare, std::size_t size, char const* failure)
{
    Bytes record;
    if (m_failed)
    {
        return nullptr;
    }
    if (readBytes(m_message, m_index++, &record.data, &record.size) < 0)
    {
        fail(failure);
        return nullptr;
    }
    auto const length = static_cast<std::size_t>(record.size);
    if (length >= size)
    {
        return record.data;
    }
    std::memset(spare, 0, size);
    std::memcpy(spare, record.data, length);
    return spare;
}

} // namespace tz::orvane::omc
