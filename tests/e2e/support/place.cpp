// SPDX-License-Identifier: Apache-2.0
// Where tools meet the services that they start.
#include "support/place.h"

#include "support/tool_process.h"
#include "support/wait.h"

#include <csignal>
#include <filesystem>

namespace tz::orvane::test
{

Place::~Place()
{
    killServices();
    eventually([this] { return services().empty(); });
}

std::vector<pid_t> Place::services() const
{
    std::vector<pid_t> found;
    std::string const variable = "ORVANE_SOCKET_DIR=" + m_directory.path();
    for (auto const& entry : std::filesystem::directory_iterator("/proc"))
    {
        if (fileContent(entry.path() / "comm") == "orvane-media-se\n" &&
            fileContent(entry.path() / "environ").find(variable) != std::string::npos)
        {
            found.push_back(std::stoi(entry.path().filename()));
        }
    }
    return found;
}

void Place::killServices() const
{
    for (pid_t const service : services())
    {
        ::kill(service, SIGKILL);
    }
}

} // namespace tz::orvane::test
