// SPDX-License-Identifier: Apache-2.0
// One preview, made in a process that ends with it.
#include "preview_child.h"

#include "descriptor.h"
#include "preview_maker.h"
#include "preview_output.h"
#include "preview_result.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace tz::orvane::service
{

namespace
{

constexpr rlim_t kMemory = rlim_t{3} << 30u; // an 8K film takes a good 1 GiB of addresses
constexpr rlim_t kPictureBytes = rlim_t{256} << 20u;
constexpr int kNiceness = 5; ///< players go first
constexpr std::string_view kFirstToGo = "1000";
constexpr rlim_t kGrace = 1; ///< second: without it the signal that can be told from others would not come

void limit(__rlimit_resource resource, rlim_t soft, rlim_t hard)
{
    rlimit const both{soft, hard};
    setrlimit(resource, &both);
}

/// When memory runs out this process goes before any player.
void offerToGo()
{
    Descriptor const file(open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC));
    writeAll(file.get(), kFirstToGo);
}

void giveUpRights(PreviewTask const& task)
{
    offerToGo();
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    limit(RLIMIT_CORE, 0, 0);
    limit(RLIMIT_FSIZE, kPictureBytes, kPictureBytes);
    // The deadline comes first, unless all cores were busy with this one.
    auto const seconds = static_cast<unsigned int>(task.timeout / 1000 + 1);
    limit(RLIMIT_CPU, rlim_t{seconds} * 2, rlim_t{seconds} * 2 + kGrace);
    alarm(seconds + 1);      // should nobody be able to end this one when its time is over
#ifndef __SANITIZE_ADDRESS__ // which maps more than any limit allows
    limit(RLIMIT_AS, kMemory, kMemory);
#endif
    std::signal(SIGXFSZ, SIG_IGN); // a write fails then
    [[maybe_unused]] int const niceness = nice(kNiceness);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    prctl(PR_SET_NAME, "orvane-preview1");
}

/// @return whether somebody still waits for what comes through this pipe
bool isAwaited(int pipe)
{
    pollfd waited{pipe, 0, 0};
    return poll(&waited, 1, 0) == 0;
}

PreviewResult failedOutput(int error)
{
    return failedPreview(outputError(error), std::string("output: ") + std::strerror(error));
}

/// Nothing is to appear any more when the request has been answered otherwise.
int save(PreviewOutput& output, std::string const& picture, int result)
{
    int const error = output.write(picture);
    return error == 0 && isAwaited(result) ? output.publish() : error;
}

PreviewResult makeAndSave(PreviewTask const& task, PreviewPlaces const& places, int result, int picture)
{
    bool const isNamed = task.picture && !places.output.empty();
    PreviewOutput output(places.output);
    int error = isNamed ? output.open() : 0;
    if (error < 0)
    {
        return failedOutput(-error);
    }
    Preview preview = makePreview(task, places.uri);
    if (!preview.picture.empty())
    {
        error = isNamed ? save(output, preview.picture, result) : writeAll(picture, preview.picture);
    }
    return error < 0 ? failedOutput(-error) : preview.result;
}

} // namespace

void becomePreviewChild(PreviewTask const& task, PreviewPlaces const& places, int result, int picture)
{
    giveUpRights(task);
    writeAll(result, encodeResult(makeAndSave(task, places, result, picture)));
    _exit(0); // without taking anything down: all of it goes with the process
}

} // namespace tz::orvane::service
