// SPDX-License-Identifier: Apache-2.0
// Reads the arguments of a message that the service sent unasked.
#pragma once

#include "message_util.h"

namespace tz::orvane::omc
{

/// Takes one argument after the other. The first one that is missing is logged; from then on nothing is read and
/// nothing logged, so that the reader is asked once, at the end, whether all went well.
class EventReader
{
public:
    EventReader(mdt::MsgData& message, platform::LogSite const& site)
        : m_message(message)
        , m_site(site)
    {
    }

    bool failed() const { return m_failed; }

    platform::LogSite const& site() const { return m_site; }

    /// The id of the addressed object, which must be `ownId`.
    void id(unsigned int ownId, char const* failure);

    /// @param failure logged when it is missing; null when a missing one counts as 0
    template <class Number> Number number(char const* failure);

    /// The bytes of a record. What the service left out at the end counts as zero.
    /// @param spare holds the record when it came too short
    template <class Record> Record* record(Record& spare, char const* failure)
    {
        return static_cast<Record*>(recordBytes(&spare, sizeof spare, failure));
    }

    char const* text(char const* failure);

    struct Bytes
    {
        void* data = nullptr;
        int size = 0;
    };

    /// Data of any size; the log line is `failure`, " result=", the error and `end`.
    Bytes bytes(char const* failure, char const* end) { return take(&readBytes, failure, end); }

    /// The last argument, a property group; one that was not sent is empty. @return whether all arguments were there
    bool takeGroup(char const* failure, char const* end)
    {
        m_group = take(&readGroupBytes, failure, end);
        return !m_failed;
    }

    /// Rebuilds the group that was taken; malformed bytes end the process.
    om::OmPropertyGroup group() const { return makeGroup(m_group.data, m_group.size); }

private:
    using Take = int (*)(mdt::MsgData const&, int, void**, int*);

    Bytes take(Take read, char const* failure, char const* end);
    void* recordBytes(void* spare, std::size_t size, char const* failure);
    void fail(char const* failure);

    mdt::MsgData& m_message;
    platform::LogSite m_site;
    int m_index = 0;
    bool m_failed = false;
    Bytes m_group;
};

template <class Number> Number EventReader::number(char const* failure)
{
    Number value{};
    if (!m_failed && !readNumber(m_message, m_index++, value) && failure != nullptr)
    {
        fail(failure);
    }
    return value;
}

} // namespace tz::orvane::omc
