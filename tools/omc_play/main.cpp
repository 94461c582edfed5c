// SPDX-License-Identifier: Apache-2.0
// omc-play: plays files and URIs on a terminal.
#include "common/exit_status.h"
#include "common/output.h"
#include "common/service_launcher.h"
#include "common/signals.h"
#include "common/socket_directory.h"
#include "omc_play/options.h"
#include "omc_play/play_loop.h"
#include "omc_play/terminal.h"
#include "omc_play/view.h"
#include "orvane/omc_access.h"

#include <memory>
#include <optional>

namespace
{

using namespace tz::orvane;
using namespace tz::orvane::tools;

constexpr char kAppName[] = "omc-play";

std::unique_ptr<View> makeView(Output& output, Options const& options, Terminal const* terminal)
{
    if (options.info)
    {
        return options.json ? makeJsonView(output) : makeReportView(output);
    }
    return terminal != nullptr ? makeBarView(output, *terminal) : makePlainView(output);
}

int run(Options& options)
{
    Output output;
    Signals signals;
    SocketDirectory const directory = findSocketDirectory();
    std::optional<Terminal> terminal;
    if (!options.info && Terminal::isUsable(output.descriptor()))
    {
        terminal.emplace(output.descriptor());
    }
    Terminal* const keyboard = terminal ? &*terminal : nullptr;
    std::unique_ptr<View> const view = makeView(output, options, keyboard);
    if (!directory.fault.empty())
    {
        view->problem("no media service: " + directory.fault);
        return kExitNoService;
    }

    ServiceConnection const service = connectToService(kAppName, directory.path, options.launch, signals);
    if (service.endSignal != 0)
    {
        return kExitSignalBase + service.endSignal;
    }
    if (service.connection == nullptr)
    {
        view->problem(service.fault);
        return kExitNoService;
    }
    if (!service.launched && !(options.launch.video.empty() && options.launch.audio.empty()))
    {
        view->problem("a media service runs already; --video and --audio do not change it");
    }

    int status = 0;
    {
        if (keyboard != nullptr)
        {
            keyboard->enter();
        }
        PlayLoop loop(*service.connection, options, signals, *view, keyboard);
        status = loop.run();
    }
    omc::OmcClientAccess::getApp(0)->destroyConnection(service.connection);
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    openMissingStandardDescriptors();
    ParsedOptions parsed = parseOptions(argc, argv);
    return parsed.options ? run(*parsed.options) : parsed.exitStatus;
}
