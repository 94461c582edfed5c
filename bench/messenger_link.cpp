// SPDX-License-Identifier: Apache-2.0
// What is measured: the messenger between this process and a service in a child.
#include "bench/messenger_link.h"

#include "bench/bench_service.h"
#include "bench/stopwatch.h"
#include "om_protocol.h"
#include "orvane/platform/mdtc_messenger.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <semaphore.h>
#include <unistd.h>

namespace tz::orvane::bench
{

namespace
{

constexpr int kFirstPlayer = static_cast<int>(protocol::kPlayerIds.first);

/// Where a thread waits for its events.
struct alignas(64) Waiter
{
    Waiter() { sem_init(&allCame, 0, 0); }

    std::atomic<unsigned int> missing{0};
    std::int64_t latency = 0;
    sem_t allCame{};
};

// The messenger's callback knows nothing but the message.
Waiter s_waiters[kThreads];

int takeEvent(void* data)
{
    std::int64_t const came = now();
    auto& event = *static_cast<mdt::MsgData*>(data);
    int const thread = event.readUid() - kFirstPlayer;
    long long sent = 0;
    if (thread < 0 || thread >= kThreads || event.readSInt64(sent) != 0)
    {
        return -1;
    }
    Waiter& waiter = s_waiters[thread];
    waiter.latency = came - sent;
    if (waiter.missing.fetch_sub(1) == 1)
    {
        sem_post(&waiter.allCame);
    }
    return 0;
}

// A figure of a connection that does not work would be worth nothing.
void require(int result, char const* what)
{
    if (result < 0)
    {
        std::fprintf(stderr, "orvane-bench: %s: %s\n", what, std::strerror(-result));
        std::exit(1);
    }
}

mdt::MdtcMessenger& messenger()
{
    static mdt::MdtcMessenger& instance = mdt::MdtcMessenger::GetInstance();
    return instance;
}

void postOneWay(mdt::MsgData const& msg)
{
    require(messenger().postMsg(msg, protocol::kPostTimeout), "post");
}

} // namespace

MessengerLink::MessengerLink(std::function<void()> const& prepare)
    : m_block(new char[kLargestBlock])
{
    std::memset(m_block.get(), 'b', kLargestBlock);
    int ready[2] = {-1, -1};
    require(::pipe(ready) == 0 ? 0 : -errno, "pipe");
    m_service = std::make_unique<ChildProcess>(
        [&]
        {
            prepare();
            ::close(ready[0]);
            return BenchService().run(ready[1]);
        });
    ::close(ready[1]);
    char listening = 0;
    require(::read(ready[0], &listening, 1) == 1 ? 0 : -ECONNREFUSED, "service");
    ::close(ready[0]);
}

MessengerLink::~MessengerLink()
{
    messenger().disConnect(m_cnid);
}

void MessengerLink::connect()
{
    mdt::_MdtInitParCfg_t cfg{};
    cfg.callback = &takeEvent;
    cfg.name = "orvane-bench";
    require(messenger().init(protocol::kServiceName, mdt::MDT_TYPE_DEFAULT), "init");
    require(messenger().connect(cfg, m_cnid), "connect");
}

double MessengerLink::query(int thread) const
{
    return timed(1,
                 [&]
                 {
                     mdt::MsgData const msg(m_cnid, kFirstPlayer + thread, protocol::kCmdIsSeekable,
                                            protocol::kTypeQuery);
                     mdt::MsgData reply;
                     unsigned int value = 0;
                     require(messenger().postMsg(msg, reply, protocol::kPostTimeout), "query");
                     require(reply.readUInt32(value), "reply");
                 });
}

double MessengerLink::post(int thread) const
{
    return timed(kBurst,
                 [&]
                 {
                     for (int i = 0; i < kBurst; ++i)
                     {
                         postPlain(thread);
                     }
                     query(thread);
                 });
}

void MessengerLink::postPlain(int thread) const
{
    mdt::MsgData msg(m_cnid, kFirstPlayer + thread, protocol::kCmdSeek, protocol::kTypeCommand);
    msg.writeSInt64(1'000'000);
    postOneWay(msg);
}

void MessengerLink::awaitEvents(int thread, unsigned int count) const
{
    Waiter& waiter = s_waiters[thread];
    waiter.missing = count;
    mdt::MsgData msg(m_cnid, kFirstPlayer + thread, protocol::kCmdPlayerExtendCommand, protocol::kTypeCommand);
    msg.writeUInt32(count);
    postOneWay(msg);
    while (sem_wait(&waiter.allCame) != 0)
    {
    }
}

double MessengerLink::events(int thread) const
{
    return timed(kBurst, [&] { awaitEvents(thread, kBurst); });
}

double MessengerLink::eventLatency(int thread) const
{
    awaitEvents(thread, 1);
    return static_cast<double>(s_waiters[thread].latency) / 1000.0;
}

double MessengerLink::push(int thread, Block const& block) const
{
    int const count = blocksPerBurst(block);
    return timed(count,
                 [&]
                 {
                     for (int i = 0; i < count; ++i)
                     {
                         postBlock(thread, block);
                     }
                     query(thread);
                 });
}

void MessengerLink::postBlock(int thread, Block const& block) const
{
    int const code = block.looksAtIt ? protocol::kCmdPushEsData : protocol::kCmdPushData;
    mdt::MsgData msg(m_cnid, kFirstPlayer + thread, code, protocol::kTypePush);
    msg.writeBlockData(m_block.get(), static_cast<int>(block.bytes));
    postOneWay(msg);
}

void MessengerLink::pushUntil(std::atomic<bool> const& stop, Block const& block) const
{
    while (!stop)
    {
        postBlock(0, block);
    }
}

} // namespace tz::orvane::bench
