// SPDX-License-Identifier: Apache-2.0
// Ids of what clients make.
#pragma once

#include "om_protocol.h"

#include <cstddef>
#include <set>

namespace tz::orvane::service
{

/// Gives out ids of one kind of objects, and bounds their number.
class ObjectIds
{
public:
    ObjectIds(protocol::IdRange const& range, std::size_t most)
        : m_range(range)
        , m_most(most)
        , m_next(range.first)
    {
    }

    /// @return 0 when there are as many objects as there may be
    unsigned int take()
    {
        if (m_used.size() >= m_most)
        {
            return 0;
        }
        unsigned int id = 0;
        do
        {
            id = m_next;
            m_next = m_next == m_range.last ? m_range.first : m_next + 1;
        } while (m_used.count(id) != 0);
        m_used.insert(id);
        return id;
    }

    void giveBack(unsigned int id) { m_used.erase(id); }

private:
    protocol::IdRange m_range;
    std::size_t m_most;
    std::set<unsigned int> m_used;
    unsigned int m_next; ///< goes round: an id given back is not given out again at once
};

} // namespace tz::orvane::service
