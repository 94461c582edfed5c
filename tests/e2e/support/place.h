// SPDX-License-Identifier: Apache-2.0
// Where tools meet the services that they start.
#pragma once

#include "support/temp_dir.h"

#include <string>
#include <sys/types.h>
#include <vector>

namespace tz::orvane::test
{

/// A socket directory whose services end with it.
class Place
{
public:
    Place() = default;
    Place(Place const&) = delete;
    Place& operator=(Place const&) = delete;
    ~Place();

    std::string const& path() const { return m_directory.path(); }

    /// Processes of the media service that listen here.
    std::vector<pid_t> services() const;

    void killServices() const;

private:
    SocketDir m_directory;
};

} // namespace tz::orvane::test
