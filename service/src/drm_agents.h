// SPDX-License-Identifier: Apache-2.0
// The DRM agents of one connection, and their messages.
#pragma once

#include "drm_agent.h"
#include "request.h"

#include "orvane/platform/mdts_messenger.h"

#include <functional>
#include <map>
#include <memory>

namespace tz::orvane::service
{

/// Loop thread.
class DrmAgents
{
public:
    /// @param keysChanged runs when an agent has got other keys
    DrmAgents(mdt::MdtsMessenger& messenger, int cnid, std::function<void()> keysChanged);
    DrmAgents(DrmAgents const&) = delete;
    DrmAgents& operator=(DrmAgents const&) = delete;

    /// Answers the request that wants a new agent.
    void create(Request& request);

    void destroy(unsigned int id) { m_agents.erase(id); }

    /// A message for an agent.
    /// @return 0, or the negative errno value why it was not carried out; a query is answered then as well
    int handle(Request& request);

    /// @return null when there is no such agent
    DrmAgent* find(unsigned int id) const;

private:
    void send(unsigned int id, DrmEvent const& event) const;
    int command(DrmAgent& agent, Request const& request) const;

    mdt::MdtsMessenger& m_messenger;
    int m_cnid;
    std::function<void()> m_keysChanged;
    std::map<unsigned int, std::unique_ptr<DrmAgent>> m_agents;
    unsigned int m_next; ///< goes round: an id given back is not given out again at once
};

} // namespace tz::orvane::service
