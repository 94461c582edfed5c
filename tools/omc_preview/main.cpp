// SPDX-License-Identifier: Apache-2.0
// omc-preview: tells what media are, and makes pictures of them.
#include "common/exit_status.h"
#include "common/output.h"
#include "common/service_launcher.h"
#include "common/signals.h"
#include "common/socket_directory.h"
#include "omc_preview/options.h"
#include "omc_preview/preview_run.h"
#include "orvane/omc_access.h"

#include <iostream>

namespace
{

using namespace tz::orvane;
using namespace tz::orvane::tools;

constexpr char kAppName[] = "omc-preview";

int fail(std::string const& text)
{
    std::cerr << kAppName << ": " << text << "\n";
    return kExitNoService;
}

int run(PreviewOptions const& options)
{
    Output output;
    Signals signals;
    SocketDirectory const directory = findSocketDirectory();
    if (!directory.fault.empty())
    {
        return fail("no media service: " + directory.fault);
    }
    LaunchOptions launch;
    launch.verbose = options.verbose;
    ServiceConnection const service = connectToService(kAppName, directory.path, launch, signals);
    if (service.endSignal != 0)
    {
        return kExitSignalBase + service.endSignal;
    }
    if (service.connection == nullptr)
    {
        return fail(service.fault);
    }
    int const status = PreviewRun(options, output, signals).run(*service.connection);
    omc::OmcClientAccess::getApp(0)->destroyConnection(service.connection);
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    openMissingStandardDescriptors();
    ParsedPreviewOptions const parsed = parsePreviewOptions(argc, argv);
    return parsed.options ? run(*parsed.options) : parsed.exitStatus;
}
