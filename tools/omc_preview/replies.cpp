// SPDX-License-Identifier: Apache-2.0
// Hands what the library calls back over to the main thread.
#include "omc_preview/replies.h"

#include "orvane/om_enums.h"

#include <sys/eventfd.h>
#include <utility>

namespace tz::orvane::tools
{

Replies::Replies()
    : m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

std::vector<Reply> Replies::take()
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    eventfd_t count = 0;
    ::eventfd_read(m_wake.get(), &count);
    return std::exchange(m_replies, {});
}

bool Replies::isServiceGone()
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    return m_serviceGone;
}

void Replies::onPreviewInfoReply(om::OmIPreviewTool*, unsigned int reqId, int res, om::OmString const& output_path,
                                 om::OmPropertyGroup const& props)
{
    Reply reply{reqId, res, output_path, {}};
    for (int i = 0; i < props.count(); ++i)
    {
        reply.properties[props.keyAt(i)] = props.valueAt(i);
    }
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_replies.push_back(std::move(reply));
    ::eventfd_write(m_wake.get(), 1);
}

void Replies::onConnectionChanged(om::OmIConnection*, int status)
{
    if (status == om::OM_CONNECTION_STATUS_DIED)
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        m_serviceGone = true;
        ::eventfd_write(m_wake.get(), 1);
    }
}

void Replies::onEvent(om::OmIConnection*, int, om::OmPropertyGroup&) {}

} // namespace tz::orvane::tools
