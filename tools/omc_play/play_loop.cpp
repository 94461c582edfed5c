// SPDX-License-Identifier: Apache-2.0
// Plays all media, and listens to keys, signals and the service meanwhile.
#include "omc_play/play_loop.h"

#include "common/exit_status.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <poll.h>
#include <string_view>
#include <unistd.h>

namespace tz::orvane::tools
{

PlayLoop::PlayLoop(om::OmIConnection& connection, Options& options, Signals& signals, View& view, Terminal* terminal)
    : m_connection(connection)
    , m_options(options)
    , m_signals(signals)
    , m_view(view)
    , m_terminal(terminal)
    , m_listener(m_queue)
    , m_hasInput(terminal != nullptr)
{
    m_connection.addListener(&m_listener);
}

PlayLoop::~PlayLoop()
{
    m_connection.removeListener(&m_listener);
}

int PlayLoop::run()
{
    bool allPlayed = true;
    unsigned int medium = 0;
    for (std::string const& uri : m_options.media)
    {
        Playback playback({m_connection, m_queue, m_view, m_options, m_terminal != nullptr}, uri, ++medium);
        play(playback);
        if (m_endSignal != 0)
        {
            return kExitSignalBase + m_endSignal;
        }
        switch (*playback.outcome())
        {
        case Outcome::serviceGone:
            m_view.problem("the media service is gone");
            return kExitNoService;
        case Outcome::quit:
            return allPlayed ? kExitDone : kExitFailed;
        case Outcome::failed:
            allPlayed = false;
            break;
        case Outcome::played:
        case Outcome::skipped:
            break;
        }
    }
    return allPlayed ? kExitDone : kExitFailed;
}

void PlayLoop::play(Playback& playback)
{
    while (!playback.outcome() && m_endSignal == 0)
    {
        std::array<pollfd, 3> wanted{
            {{m_queue.descriptor(), POLLIN, 0}, {m_signals.descriptor(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}}};
        bool const keys = m_hasInput && m_terminal->hasKeys();
        int const ready = ::poll(wanted.data(), keys ? 3 : 2, timeoutOf(playback));
        if (ready == 0 && m_decoder.isWaiting())
        {
            for (Key const key : m_decoder.expire())
            {
                playback.press(key);
            }
        }
        if (wanted[1].revents != 0)
        {
            readSignals(playback);
        }
        if (wanted[0].revents != 0)
        {
            readEvents(playback);
        }
        if (wanted[2].revents != 0)
        {
            readKeys(playback);
        }
        if (auto const deadline = playback.deadline(); deadline && *deadline <= Playback::Clock::now())
        {
            playback.expire();
        }
    }
}

int PlayLoop::timeoutOf(Playback const& playback) const
{
    if (m_decoder.isWaiting())
    {
        return KeyDecoder::kEscapeTimeout;
    }
    auto const deadline = playback.deadline();
    if (!deadline)
    {
        return -1;
    }
    auto const left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Playback::Clock::now());
    return static_cast<int>(std::max<long long>(left.count(), 0));
}

void PlayLoop::readKeys(Playback& playback)
{
    char bytes[64];
    ssize_t const count = ::read(STDIN_FILENO, bytes, sizeof(bytes));
    m_hasInput = count > 0;
    if (count > 0)
    {
        for (Key const key : m_decoder.feed(std::string_view(bytes, static_cast<std::size_t>(count))))
        {
            playback.press(key);
        }
    }
}

void PlayLoop::readSignals(Playback& playback)
{
    while (int const signal = m_signals.take())
    {
        if (Signals::ends(signal))
        {
            m_endSignal = signal;
        }
        else if (signal == SIGTSTP)
        {
            stop(playback);
        }
        else if (signal == SIGCONT)
        {
            if (m_terminal != nullptr)
            {
                m_terminal->enter();
            }
            playback.wake();
            m_view.redraw();
        }
        else
        {
            m_view.redraw();
        }
    }
}

void PlayLoop::readEvents(Playback& playback)
{
    for (PlayerEvent const& event : m_queue.take())
    {
        playback.handle(event);
    }
}

void PlayLoop::stop(Playback& playback)
{
    playback.suspend();
    if (m_terminal != nullptr)
    {
        m_terminal->leave();
    }
    // SIGTSTP itself is blocked. What follows its end is left to the SIGCONT that ends it.
    ::kill(::getpid(), SIGSTOP);
}

} // namespace tz::orvane::tools
