// SPDX-License-Identifier: Apache-2.0
// Everything that is measured between the two processes.
#include "bench/figures.h"

namespace tz::orvane::bench
{

namespace
{

constexpr std::size_t kKiB = 1024;
constexpr std::size_t kMiB = 1024 * kKiB;

constexpr char kPackets[] = "packets";
constexpr char kStream[] = "stream";

struct BulkFigure
{
    char const* name;
    Block block;
    double goal; ///< with one thread
};

constexpr BulkFigure kBulkFigures[] = {
    {"push 64 KiB", {64 * kKiB, false}, 0},
    {"push 1 MiB", {kMiB, false}, 0.5},
    {"push 4 MiB", {4 * kMiB, false}, 0},
    {"push 1 MiB, looked at", {kMiB, true}, 0},
};

/// An operation of a link as one side of a figure.
template <class Link> Side sideOf(Link const& link, double (Link::*operation)(int) const)
{
    return {[&link, operation](int thread) { return (link.*operation)(thread); }, {}};
}

/// The same beside somebody who pushes blocks without a pause.
template <class Link> Side besidePushes(Link const& link, double (Link::*operation)(int) const)
{
    Side side = sideOf(link, operation);
    side.background = [&link](std::atomic<bool> const& stop) { link.pushUntil(stop, {kMiB, false}); };
    return side;
}

// The better of the two simple ways is the floor.
Figure bulkFigure(BulkFigure const& figure, MessengerLink const& ours, RawLink const& raw, int threads)
{
    constexpr Effort kShort{5, 30};
    Block const block = figure.block;
    Side const push{[&ours, block](int thread) { return ours.push(thread, block); }, {}};
    Side const packets{[&raw, block](int thread) { return raw.push(thread, block, RawLink::Bulk::packets); }, {}};
    Side const stream{[&raw, block](int thread) { return raw.push(thread, block, RawLink::Bulk::stream); }, {}};
    bool const arePacketsFaster = measure({"", threads, packets, stream, "", 0}, kShort).ratio < 1;
    return {figure.name,
            threads,
            push,
            arePacketsFaster ? packets : stream,
            arePacketsFaster ? kPackets : kStream,
            threads == 1 ? figure.goal : 0};
}

} // namespace

std::vector<Figure> figuresOf(MessengerLink const& ours, RawLink const& raw, std::string const& filter)
{
    Side const query = sideOf(ours, &MessengerLink::query);
    Side const queryBeside = besidePushes(ours, &MessengerLink::query);
    std::vector<Figure> figures;
    auto const add = [&](Figure const& figure)
    {
        if (figure.name.find(filter) != std::string::npos)
        {
            figures.push_back(figure);
        }
    };
    for (int threads : {1, 2, 4})
    {
        add({"query", threads, query, sideOf(raw, &RawLink::query), kPackets, threads == 1 ? 1.15 : 0});
        add({"one-way post", threads, sideOf(ours, &MessengerLink::post), sideOf(raw, &RawLink::post), kPackets, 0});
        add({"event delivery", threads, sideOf(ours, &MessengerLink::events), sideOf(raw, &RawLink::events), kPackets,
             0});
        add({"event latency", threads, sideOf(ours, &MessengerLink::eventLatency), sideOf(raw, &RawLink::eventLatency),
             kPackets, 0});
        for (BulkFigure const& figure : kBulkFigures)
        {
            if (std::string(figure.name).find(filter) != std::string::npos)
            {
                figures.push_back(bulkFigure(figure, ours, raw, threads));
            }
        }
    }
    add({"query beside pushes", 1, queryBeside, query, "an idle query", 2.0});
    add({"query beside pushes", 1, queryBeside, besidePushes(raw, &RawLink::query), kPackets, 0});
    return figures;
}

} // namespace tz::orvane::bench
