// SPDX-License-Identifier: Apache-2.0
// Starts a media service of the user's own when none listens.
#pragma once

#include "common/signals.h"
#include "orvane/om_iconnection.h"

#include <optional>
#include <string>
#include <sys/types.h>

namespace tz::orvane::tools
{

/// How a service is started.
struct LaunchOptions
{
    std::string video;    ///< its --video, empty for its default
    std::string audio;    ///< its --audio, empty for its default
    bool verbose = false; ///< its messages go to standard error instead of a file in the socket directory
};

/// A service process. It lives on when this is destroyed, and ends by itself some seconds after its last client.
class ServiceProcess
{
public:
    /// @return empty, or why it could not be started
    std::string start(std::string const& socketDirectory, LaunchOptions const& options);

    /// @return its exit status (128 and the signal's number when one ended it), nothing while it runs
    std::optional<int> exitStatus();

    std::string const& logFile() const { return m_logFile; }

    static constexpr int kAddressInUse = 3; ///< exit status of a service that found another one listening

private:
    pid_t m_pid = -1;
    std::optional<int> m_status;
    std::string m_logFile;
};

struct ServiceConnection
{
    om::OmIConnection* connection = nullptr; ///< owned by the library's registry
    bool launched = false;                   ///< whether a service was started for it
    std::string fault;                       ///< why there is no connection
    int endSignal = 0;                       ///< that ended the wait for one, 0 for none
};

/// Connects to the service that listens in `socketDirectory`; starts one when none does, and waits for it. When two
/// programs do so at once, one of the two services ends again and both programs meet the other one. What the tool
/// reports in its own words the library does not log as well, unless somebody asks.
ServiceConnection connectToService(std::string const& appName, std::string const& socketDirectory,
                                   LaunchOptions const& options, Signals& signals);

} // namespace tz::orvane::tools
