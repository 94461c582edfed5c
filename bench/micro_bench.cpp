// SPDX-License-Identifier: Apache-2.0
// What costs nanoseconds: messages, log calls, property groups.
#include "bench/micro_bench.h"

#include "om_protocol.h"
#include "orvane/om_property_group.h"
#include "orvane/platform/mdt_msg_data.h"
#include "orvane/platform/om_debug.h"
#include "platform/src/frame_reader.h"
#include "platform/src/frame_writer.h"

#include <atomic>
#include <benchmark/benchmark.h>

namespace tz::orvane::bench
{

namespace
{

constexpr char kLogFile[] = "micro_bench";
constexpr char kLogClass[] = "Micro";

mdt::MsgData& writePrepare(mdt::MsgData& msg)
{
    static std::string const uri = "/media/clip.mp4";
    msg.writeString(uri);
    msg.writeUInt32(1);
    msg.writeSInt64(1'000'000);
    return msg;
}

void fillGroup(om::OmPropertyGroup& group)
{
    group.add("codec", "h264").add("width", "1920").add("height", "1080");
}

void messageEmpty(benchmark::State& state)
{
    for (auto _ : state)
    {
        mdt::MsgData msg(0x1001, 0x2001, protocol::kCmdIsSeekable, protocol::kTypeQuery);
        benchmark::DoNotOptimize(&msg);
    }
}
BENCHMARK(messageEmpty)->Name("message, no arguments");

void messageBuild(benchmark::State& state)
{
    for (auto _ : state)
    {
        mdt::MsgData msg(0x1001, 0x2001, protocol::kCmdPrepare, protocol::kTypeCommand);
        benchmark::DoNotOptimize(&writePrepare(msg));
    }
}
BENCHMARK(messageBuild)->Name("message, text and two numbers");

void messageRead(benchmark::State& state)
{
    mdt::MsgData msg(0x1001, 0x2001, protocol::kCmdPrepare, protocol::kTypeCommand);
    writePrepare(msg);
    for (auto _ : state)
    {
        long long position = 0;
        benchmark::DoNotOptimize(msg.read(0));
        benchmark::DoNotOptimize(msg.read(1));
        benchmark::DoNotOptimize(msg.readSInt64(position));
    }
}
BENCHMARK(messageRead)->Name("message, reading them back");

void frameCheck(benchmark::State& state)
{
    mdt::MsgData msg(0x1001, 0x2001, protocol::kCmdPrepare, protocol::kTypeCommand);
    mdt::FrameWriter writer(mdt::FrameKind::command, writePrepare(msg));
    writer.plan();
    std::vector<unsigned char> const frame = writer.flatten();
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(mdt::checkFrame(frame.data(), frame.size(), 0));
    }
}
BENCHMARK(frameCheck)->Name("frame, checking it");

void logOff(benchmark::State& state)
{
    platform::setDebugLevel(platform::DebugLevel::off);
    for (auto _ : state)
    {
        ORVANE_LOG_DEBUG("never put out %d", 1);
    }
}
BENCHMARK(logOff)->Name("log call, level off");

void loadAndBranch(benchmark::State& state)
{
    std::atomic<int> level{0};
    benchmark::DoNotOptimize(&level);
    int taken = 0;
    for (auto _ : state)
    {
        if (level.load(std::memory_order_relaxed) >= static_cast<int>(platform::DebugLevel::debug))
        {
            benchmark::DoNotOptimize(++taken);
        }
        benchmark::ClobberMemory();
    }
}
BENCHMARK(loadAndBranch)->Name("log call, floor: a load and a branch");

void groupBuild(benchmark::State& state)
{
    for (auto _ : state)
    {
        om::OmPropertyGroup group;
        fillGroup(group);
        benchmark::DoNotOptimize(&group);
    }
}
BENCHMARK(groupBuild)->Name("property group, three entries");

void groupParse(benchmark::State& state)
{
    om::OmPropertyGroup group;
    fillGroup(group);
    char* image = nullptr;
    int length = 0;
    group.getData(&image, &length);
    for (auto _ : state)
    {
        om::OmPropertyGroup const received(image, length);
        benchmark::DoNotOptimize(&received);
    }
}
BENCHMARK(groupParse)->Name("property group, from its image");

void groupLookup(benchmark::State& state)
{
    om::OmPropertyGroup group;
    fillGroup(group);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(group.get("height"));
    }
}
BENCHMARK(groupLookup)->Name("property group, lookup");

/// Keeps the figures and says nothing.
class Collector final : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(Context const&) override { return true; }

    void ReportRuns(std::vector<Run> const& runs) override
    {
        for (Run const& run : runs)
        {
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
            {
                figures.push_back({run.run_name.function_name, run.GetAdjustedCPUTime()});
            }
        }
    }

    std::vector<MicroFigure> figures;
};

} // namespace

std::vector<MicroFigure> measureMicro(bool quick)
{
    std::string program = "orvane-bench";
    std::string time = quick ? "--benchmark_min_time=0.01" : "--benchmark_min_time=0.1";
    std::string repetitions = quick ? "--benchmark_repetitions=5" : "--benchmark_repetitions=15";
    char* arguments[] = {program.data(), time.data(), repetitions.data()};
    int count = 3;
    benchmark::Initialize(&count, arguments);
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    return collector.figures;
}

} // namespace tz::orvane::bench
