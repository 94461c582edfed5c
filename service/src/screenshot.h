// SPDX-License-Identifier: Apache-2.0
// Pictures of the screen, in files.
#pragma once

#include "screen.h"
#include "worker.h"

#include "orvane/platform/om_event_loop.h"

#include <functional>
#include <memory>
#include <string>

namespace tz::orvane::service
{

/// A picture in a file that only its owner may read. The file goes with it. Any thread.
class Screenshot
{
public:
    Screenshot(std::string path, int width, int height);
    Screenshot(Screenshot const&) = delete;
    Screenshot& operator=(Screenshot const&) = delete;
    ~Screenshot();

    std::string const& path() const { return m_path; }
    int width() const { return m_width; }
    int height() const { return m_height; }

private:
    std::string m_path;
    int m_width;
    int m_height;
};

/// Takes screenshots; a thread of its own compresses them. Loop thread.
class Screenshots
{
public:
    using Taken = std::function<void(int status, std::shared_ptr<Screenshot> const& screenshot)>;

    Screenshots(platform::EventLoop& loop, Screen& screen);

    /// @param folder for the files @return 0, or a negative errno value
    int start(std::string folder);

    /// Calls back later, in any case. The status is 0, -EBUSY when too many are under way, -ETIMEDOUT when the screen
    /// composes nothing, or another negative errno value.
    void take(Taken taken);

private:
    void compress(std::shared_ptr<GstSample> const& sample, Taken taken);

    platform::EventLoop& m_loop;
    Screen& m_screen;
    std::string m_folder;
    int m_underWay = 0;
    unsigned int m_serial = 0;
    Worker m_worker;
};

} // namespace tz::orvane::service
