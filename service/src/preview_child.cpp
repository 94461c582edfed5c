// SPDX-License-Identifier: Apache-2.0
// One preview, made in a process that ends with it.
#include "preview_child.h"

#include "descriptor.h"
#include "preview_maker.h"
#include "preview_result.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
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
    [[maybe_unused]] auto const written = write(file.get(), kFirstToGo.data(), kFirstToGo.size());
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

bool writeAll(int fd, std::string_view bytes)
{
    while (!bytes.empty())
    {
        ssize_t const written = write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR)
        {
            return false;
        }
        bytes.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return true;
}

} // namespace

void becomePreviewChild(PreviewTask const& task, std::string const& uri, int result, int picture)
{
    giveUpRights(task);
    Preview preview = makePreview(task, uri);
    if (!preview.picture.empty() && !writeAll(picture, preview.picture))
    {
        preview.result = failedPreview(om::OM_ERROR_LIMIT, "the picture cannot be written");
    }
    writeAll(result, encodeResult(preview.result));
    _exit(0); // without taking anything down: all of it goes with the process
}

} // namespace tz::orvane::service
