// SPDX-License-Identifier: Apache-2.0
// The preview requests of all connections: who is next, and how long it may take.
#include "preview_pool.h"

#include "preview_output.h"

#include "orvane/platform/om_debug.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <sched.h>
#include <sys/epoll.h>
#include <sys/wait.h>
#include <utility>

namespace tz::orvane::service
{

namespace
{

constexpr char kLogFile[] = "preview_pool";
constexpr char kLogClass[] = "PreviewPool";

constexpr std::size_t kMostWaiting = 4096;
constexpr std::size_t kMostWaitingOfOne = 1024;
constexpr std::size_t kLargestResult = 65'536;

/// For the process that has the workers: it may have GStreamer to load first.
constexpr std::chrono::seconds kPatience{30};

/// For workers that were killed: only a disk that does not answer keeps them for so long.
constexpr std::chrono::seconds kEndPatience{5};

std::size_t countCores()
{
    cpu_set_t cores;
    bool const known = sched_getaffinity(0, sizeof cores, &cores) == 0;
    return known ? static_cast<std::size_t>(std::max(CPU_COUNT(&cores), 1)) : 1;
}

std::string readAll(int fd)
{
    std::string bytes(kLargestResult, '\0');
    std::size_t filled = 0;
    while (filled < bytes.size())
    {
        ssize_t const got = read(fd, &bytes[filled], bytes.size() - filled);
        if (got <= 0)
        {
            break;
        }
        filled += static_cast<std::size_t>(got);
    }
    bytes.resize(filled);
    return bytes;
}

PreviewResult resultOf(int status, int fd)
{
    if (status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0)
    {
        return decodeResult(readAll(fd));
    }
    bool const killed = status != -1 && WIFSIGNALED(status);
    if (killed && (WTERMSIG(status) == SIGXCPU || WTERMSIG(status) == SIGALRM))
    {
        return failedPreview(om::OM_ERROR_TIMED_OUT, "it takes too long");
    }
    return failedPreview(om::OM_ERROR_INTERNAL,
                         killed ? "decoding ended by signal " + std::to_string(WTERMSIG(status)) : "decoding failed");
}

} // namespace

PreviewPool::PreviewPool(platform::EventLoop& loop)
    : m_loop(loop)
    , m_slots(countCores())
{
}

PreviewPool::~PreviewPool()
{
    m_loop.cancelTimer(m_wake);
    m_loop.cancelTimer(m_patience);
    m_loop.cancelTimer(m_refusal);
    for (Running const& job : m_running)
    {
        m_loop.cancelTimer(job.deadline);
    }
    if (m_link.isOpen())
    {
        m_loop.unwatch(m_link.descriptor());
    }
}

void PreviewPool::prepare()
{
    openLink();
}

std::uint32_t PreviewPool::add(PreviewJob job)
{
    if (m_waiting.size() >= kMostWaiting || waiting(job.owner) >= kMostWaitingOfOne)
    {
        return 0;
    }
    m_last = m_last == UINT32_MAX ? 1 : m_last + 1;
    m_waiting.emplace(m_last, std::move(job));
    schedule();
    return m_last;
}

void PreviewPool::cancel(std::uint32_t number)
{
    m_waiting.erase(number);
    Running dropped;
    if (drop(number, dropped))
    {
        kill(dropped);
        schedule();
    }
}

std::size_t PreviewPool::waiting(int owner) const
{
    return static_cast<std::size_t>(std::count_if(m_waiting.begin(), m_waiting.end(),
                                                  [owner](auto const& job) { return job.second.owner == owner; }));
}

std::size_t PreviewPool::running(int owner) const
{
    return static_cast<std::size_t>(
        std::count_if(m_running.begin(), m_running.end(), [owner](Running const& job) { return job.owner == owner; }));
}

/// Not from where somebody is still at work on the lists.
void PreviewPool::schedule()
{
    if (m_wake == 0)
    {
        m_wake = m_loop.addTimer(std::chrono::milliseconds(0),
                                 [this]
                                 {
                                     m_wake = 0;
                                     startMore();
                                 });
    }
}

void PreviewPool::startMore()
{
    for (auto found = next(); found != m_waiting.end() && hasRoom(); found = next())
    {
        std::uint32_t const number = found->first;
        PreviewJob job = std::move(found->second);
        m_waiting.erase(found);
        start(number, std::move(job));
    }
    bool const isStuck = !m_waiting.empty() && m_ending.size() >= 2 * m_slots;
    if (isStuck && m_refusal == 0)
    {
        m_refusal = m_loop.addTimer(kEndPatience, [this] { refuseAll(); });
    }
    else if (!isStuck)
    {
        m_loop.cancelTimer(std::exchange(m_refusal, 0));
    }
}

/// Whoever waits has no deadline of its own.
void PreviewPool::refuseAll()
{
    ORVANE_LOG_ERROR("the workers of previews do not end");
    m_refusal = 0;
    Waiting refused;
    refused.swap(m_waiting);
    for (auto const& entry : refused)
    {
        entry.second.done(failedPreview(om::OM_ERROR_LIMIT, "earlier previews do not end"));
    }
}

/// @return the end when nothing may start now
PreviewPool::Waiting::iterator PreviewPool::next()
{
    if (m_ending.size() >= 2 * m_slots)
    {
        return m_waiting.end();
    }
    auto const rank = [this](Waiting::value_type const& job)
    {
        auto const turn = m_turns.find(job.second.owner);
        return std::make_pair(running(job.second.owner), turn == m_turns.end() ? 0 : turn->second);
    };
    auto const first = std::min_element(m_waiting.begin(), m_waiting.end(),
                                        [&](auto const& a, auto const& b) { return rank(a) < rank(b); });
    bool const isFree = m_running.size() < m_slots;
    bool const mayCrowd = m_running.size() < 2 * m_slots;
    bool const starts = first != m_waiting.end() && (isFree || (mayCrowd && running(first->second.owner) == 0));
    return starts ? first : m_waiting.end();
}

void PreviewPool::leave(int owner)
{
    m_turns.erase(owner);
}

void PreviewPool::start(std::uint32_t number, PreviewJob job)
{
    m_turns[job.owner] = ++m_lastTurn;
    bool const isOurs = job.task.picture && job.places.output.empty();
    int const opened = isOurs ? job.openPicture() : -1;
    Descriptor const picture(opened);
    if (isOurs && opened < 0)
    {
        job.done(failedPreview(outputError(-opened), std::string("output: ") + std::strerror(-opened)));
        return;
    }
    Descriptor result;
    if (openLink())
    {
        result = m_link.start(number, job.task, job.places, picture.get());
    }
    if (!result)
    {
        job.done(failedPreview(om::OM_ERROR_INTERNAL, "the process for previews does not start"));
        return;
    }
    m_running.push_back(
        {number, job.owner, std::move(job.done), std::move(result), std::chrono::milliseconds(job.task.timeout)});
    onOrder();
}

bool PreviewPool::openLink()
{
    if (m_link.isOpen())
    {
        return true;
    }
    if (int const result = m_link.open(); result < 0)
    {
        ORVANE_LOG_ERROR("no process for previews, %s", std::strerror(-result));
        return false;
    }
    m_loop.watch(m_link.descriptor(), EPOLLIN,
                 [this](std::uint32_t events)
                 {
                     if ((events & EPOLLOUT) != 0)
                     {
                         onRoom();
                     }
                     readLink();
                 });
    return true;
}

/// Orders can come faster than they are carried out.
bool PreviewPool::hasRoom()
{
    if (!m_link.isOpen() || m_link.hasRoom())
    {
        return true;
    }
    awaitRoom();
    return false;
}

void PreviewPool::awaitRoom()
{
    m_loop.change(m_link.descriptor(), EPOLLIN | EPOLLOUT);
}

void PreviewPool::onRoom()
{
    if (m_link.sendKept())
    {
        m_loop.change(m_link.descriptor(), EPOLLIN);
        schedule();
    }
}

void PreviewPool::readLink()
{
    while (m_link.isOpen())
    {
        auto const [report, alive] = m_link.take();
        if (report && report->kind == PreviewReport::Kind::obeyed)
        {
            onObeyed(report->number);
        }
        else if (report)
        {
            onEnd(*report);
        }
        else if (!alive)
        {
            onGone();
        }
        else
        {
            return;
        }
    }
}

void PreviewPool::onOrder()
{
    ++m_unanswered;
    if (m_patience == 0)
    {
        awaitAnswer();
    }
}

/// From now on.
void PreviewPool::awaitAnswer()
{
    m_loop.cancelTimer(std::exchange(m_patience, 0));
    if (m_unanswered > 0)
    {
        m_patience = m_loop.addTimer(kPatience, [this] { onStuck(); });
    }
}

void PreviewPool::onObeyed(std::uint32_t number)
{
    --m_unanswered;
    awaitAnswer();
    auto const job = find(number);
    if (job != m_running.end())
    {
        job->deadline = m_loop.addTimer(job->timeout, [this, number] { expire(number); });
    }
}

void PreviewPool::onEnd(PreviewReport const& end)
{
    Running job;
    if (m_ending.erase(end.number) > 0)
    {
        schedule();
    }
    if (drop(end.number, job))
    {
        schedule();
        job.done(resultOf(end.status, job.result.get()));
    }
}

/// The process that has the workers answers no more.
void PreviewPool::onStuck()
{
    ORVANE_LOG_ERROR("the process for previews does not answer");
    onGone();
}

/// Whoever ended it: what it had started ends with it, and the next preview starts it anew.
void PreviewPool::onGone()
{
    ORVANE_LOG_WARNING("the process for previews is gone");
    m_loop.unwatch(m_link.descriptor());
    m_link.close();
    m_ending.clear();
    m_unanswered = 0;
    awaitAnswer();
    std::list<Running> lost;
    lost.swap(m_running);
    schedule();
    for (Running const& job : lost)
    {
        m_loop.cancelTimer(job.deadline);
        job.done(failedPreview(om::OM_ERROR_INTERNAL, "the process for previews is gone"));
    }
}

void PreviewPool::expire(std::uint32_t number)
{
    Running job;
    if (drop(number, job))
    {
        kill(job);
        job.result = Descriptor(); // so that nothing is published any more
        schedule();
        job.done(failedPreview(om::OM_ERROR_TIMED_OUT, "it takes too long"));
    }
}

void PreviewPool::kill(Running const& job)
{
    m_ending.insert(job.number);
    if (!m_link.kill(job.number))
    {
        awaitRoom();
    }
    onOrder();
}

std::list<PreviewPool::Running>::iterator PreviewPool::find(std::uint32_t number)
{
    return std::find_if(m_running.begin(), m_running.end(),
                        [number](Running const& running) { return running.number == number; });
}

bool PreviewPool::drop(std::uint32_t number, Running& dropped)
{
    auto const job = find(number);
    if (job == m_running.end())
    {
        return false;
    }
    m_loop.cancelTimer(job->deadline);
    dropped = std::move(*job);
    m_running.erase(job);
    return true;
}

} // namespace tz::orvane::service
