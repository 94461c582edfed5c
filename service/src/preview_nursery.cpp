// SPDX-License-Identifier: Apache-2.0
// The process that makes previews, beside the service.
#include "preview_nursery.h"

#include "descriptor.h"
#include "preview_child.h"
#include "preview_task.h"

#include <gst/gst.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <poll.h>
#include <string>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>

namespace tz::orvane::service
{

namespace
{

/// A URI in which each byte takes three, and a path.
constexpr std::size_t kLargestPlaces = 32'768;

/// What most media need. Loaded here it is there already in every child.
constexpr char const* kPlugins[] = {
    "coreelements", "playback",         "typefindfunctions", "isomp4",      "matroska", "videoparsersbad",
    "libav",        "audioparsers",     "id3demux",          "mpegtsdemux", "app",      "jpeg",
    "png",          "videoconvertscale"};

void loadPlugins()
{
    for (char const* const name : kPlugins)
    {
        if (GstPlugin* const plugin = gst_plugin_load_by_name(name))
        {
            gst_object_unref(plugin);
        }
    }
}

struct ReceivedOrder
{
    PreviewOrder order{};
    PreviewPlaces places;
    Descriptor result;
    Descriptor picture;
    bool isWhole = false;
};

class Nursery
{
public:
    explicit Nursery(int signals)
        : m_signals(signals)
        , m_self(getpid())
    {
    }

    void run()
    {
        std::array<pollfd, 2> waited{pollfd{kNurserySocket, POLLIN, 0}, pollfd{m_signals, POLLIN, 0}};
        while (poll(waited.data(), waited.size(), -1) >= 0 || errno == EINTR)
        {
            if ((waited[1].revents & POLLIN) != 0)
            {
                collect();
            }
            if (waited[0].revents != 0 && !obey())
            {
                return;
            }
        }
    }

private:
    /// @return false when the service is gone
    bool obey()
    {
        ReceivedOrder received;
        if (!receive(received))
        {
            return false;
        }
        if (received.order.kind == PreviewOrder::Kind::start)
        {
            pid_t const child = received.isWhole ? start(received) : -1;
            report({PreviewReport::Kind::obeyed, received.order.number, 0});
            if (child < 0)
            {
                report({PreviewReport::Kind::ended, received.order.number, -1});
            }
            return true;
        }
        for (auto const& [pid, number] : m_children)
        {
            if (number == received.order.number)
            {
                kill(pid, SIGKILL);
            }
        }
        report({PreviewReport::Kind::obeyed, received.order.number, 0});
        return true;
    }

    static bool receive(ReceivedOrder& received)
    {
        std::string places(kLargestPlaces, '\0');
        std::array<iovec, 2> parts{iovec{&received.order, sizeof received.order}, iovec{places.data(), places.size()}};
        alignas(cmsghdr) char control[CMSG_SPACE(2 * sizeof(int))] = {};
        msghdr message{};
        message.msg_iov = parts.data();
        message.msg_iovlen = parts.size();
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        ssize_t const size = recvmsg(kNurserySocket, &message, MSG_CMSG_CLOEXEC);
        if (size < static_cast<ssize_t>(sizeof received.order))
        {
            return false;
        }
        received.isWhole = (message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) == 0;
        places.resize(static_cast<std::size_t>(size) - sizeof received.order);
        auto const end = std::min(places.find('\0'), places.size());
        received.places = {places.substr(0, end), places.substr(std::min(end + 1, places.size()))};
        if (cmsghdr const* const header = CMSG_FIRSTHDR(&message))
        {
            std::array<int, 2> passed{-1, -1};
            std::memcpy(passed.data(), CMSG_DATA(header), header->cmsg_len - CMSG_LEN(0));
            received.result = Descriptor(passed[0]);
            received.picture = Descriptor(passed[1]);
        }
        return true;
    }

    /// @return the child, -1 when there is none
    pid_t start(ReceivedOrder const& received)
    {
        pid_t const child = fork();
        if (child == 0)
        {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            close(kNurserySocket);
            close(m_signals);
            if (getppid() != m_self)
            {
                _exit(1);
            }
            becomePreviewChild(received.order.task, received.places, received.result.get(), received.picture.get());
        }
        if (child > 0)
        {
            m_children[child] = received.order.number;
        }
        return child;
    }

    void collect()
    {
        signalfd_siginfo info{};
        [[maybe_unused]] auto const taken = read(m_signals, &info, sizeof info);
        int status = 0;
        for (pid_t pid = 0; (pid = waitpid(-1, &status, WNOHANG)) > 0;)
        {
            auto const child = m_children.find(pid);
            if (child != m_children.end())
            {
                report({PreviewReport::Kind::ended, child->second, status});
                m_children.erase(child);
            }
        }
    }

    static void report(PreviewReport const& report)
    {
        [[maybe_unused]] auto const sent = send(kNurserySocket, &report, sizeof report, MSG_NOSIGNAL);
    }

    int m_signals;
    pid_t m_self;
    std::map<pid_t, std::uint32_t> m_children;
};

} // namespace

int runPreviewNursery()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    prctl(PR_SET_NAME, "orvane-preview");
    fcntl(kNurserySocket, F_SETFD, FD_CLOEXEC);
    sigset_t ended;
    sigemptyset(&ended);
    sigaddset(&ended, SIGCHLD);

    gst_init(nullptr, nullptr);
    loadPlugins();

    sigprocmask(SIG_BLOCK, &ended, nullptr);
    Descriptor const signals(signalfd(-1, &ended, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!signals)
    {
        return 1;
    }
    Nursery(signals.get()).run();
    return 0;
}

} // namespace tz::orvane::service
