// SPDX-License-Identifier: Apache-2.0
// The service of a test that looks at what previews leave behind and at the processes that make them.
#pragma once

#include "support/http_server.h"
#include "support/previewer.h"
#include "support/viewer.h"

#include <string>
#include <sys/types.h>
#include <vector>

namespace tz::orvane::test
{

/// @return how many pictures of a service's own are in its folder
int previewFiles(std::string const& folder);

/// @return the processes that a process has started and that run; some may be missing while others end
std::vector<pid_t> childrenOf(pid_t parent);

/// Makes a photo that hardly any compressor makes smaller, 12 MiB as a PNG file.
void makeNoise(std::string const& file);

class WithPreviews : public WithService
{
protected:
    int ownFiles() const { return previewFiles(m_directory.path()); }

    /// @return the process that has the workers, 0 when there is none
    pid_t nursery() const;

    /// @return the processes that are making previews
    std::vector<pid_t> workers() const;

    /// Waits for a process that makes a preview.
    pid_t firstWorker() const;

    /// Lets the service read from a server that never comes to an end, or never answers. @return the worker that does
    pid_t hang(Previewer& previewer, std::string const& uri);

    HttpServer m_server{ORVANE_E2E_MEDIA};
};

/// @return the letter for what a process does, as /proc tells it; '-' when there is no such process
char stateOf(pid_t process);

} // namespace tz::orvane::test
