// SPDX-License-Identifier: Apache-2.0
// The service's end of the process that makes previews.
#pragma once

#include "descriptor.h"
#include "preview_task.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <sys/types.h>
#include <utility>

namespace tz::orvane::service
{

/// Starts this program once more as the process that makes previews, and speaks with it. It ends with this object. Loop
/// thread; nothing here waits.
class PreviewLink
{
public:
    PreviewLink() = default;
    PreviewLink(PreviewLink const&) = delete;
    PreviewLink& operator=(PreviewLink const&) = delete;
    ~PreviewLink();

    /// @return 0, or a negative errno value
    int open();
    void close();
    bool isOpen() const { return static_cast<bool>(m_socket); }

    /// Readable when there is a report, or when the process is gone.
    int descriptor() const { return m_socket.get(); }

    /// @return whether an order to start can be sent now
    bool hasRoom() const;

    /// Only while there is room. @param picture where the picture is written unless the client has named a file, -1 for
    /// none
    /// @return the end of a pipe that the result comes through; none when the order could not be sent
    Descriptor start(std::uint32_t number, PreviewTask const& task, PreviewPlaces const& places, int picture);

    /// @return whether that was sent; else it is kept for sendKept
    bool kill(std::uint32_t number);

    /// To be called when the descriptor can be written to. @return whether nothing is kept any more
    bool sendKept();

    /// @return the next report, and whether the process is still there
    std::pair<std::optional<PreviewReport>, bool> take();

private:
    Descriptor m_socket;
    pid_t m_pid = -1;
    std::deque<std::uint32_t> m_kept; ///< to be killed
};

} // namespace tz::orvane::service
