// SPDX-License-Identifier: Apache-2.0
// Puts the figures out, as a table and as JSON.
#include "bench/report.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace tz::orvane::bench
{

namespace
{

std::string processorName()
{
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);)
    {
        std::size_t const colon = line.find(": ");
        if (line.compare(0, 10, "model name") == 0 && colon != std::string::npos)
        {
            return line.substr(colon + 2);
        }
    }
    return "unknown processor";
}

std::string quoted(std::string const& text)
{
    std::string result = "\"";
    for (char const character : text)
    {
        if (character == '"' || character == '\\')
        {
            result += '\\';
        }
        result += character;
    }
    return result + '"';
}

template <class Items, class Write>
void writeArray(std::ofstream& out, char const* name, Items const& items, Write write)
{
    out << ",\n  " << quoted(name) << ": [";
    char const* separator = "\n    {";
    for (auto const& item : items)
    {
        out << separator;
        write(item);
        out << '}';
        separator = ",\n    {";
    }
    out << "\n  ]";
}

} // namespace

std::string machineText()
{
    double load = 0;
    getloadavg(&load, 1);
    char text[32];
    std::snprintf(text, sizeof text, ", load %.1f", load);
    return processorName() + text;
}

void printHead()
{
    std::printf("microseconds           threads   ours: median       p99   compared: median       p99   ratio\n");
}

void print(Result const& result)
{
    std::printf("%-22s %7d %14.2f %9.2f %18.2f %9.2f %7.2f  of %s", result.name.c_str(), result.threads,
                result.ours.median, result.ours.p99, result.reference.median, result.reference.p99, result.ratio,
                result.referenceName.c_str());
    if (result.goal > 0)
    {
        std::printf(", goal %.2f", result.goal);
    }
    std::printf("\n");
    std::fflush(stdout);
}

void print(std::vector<AllocationFigure> const& figures)
{
    std::printf("\nheap allocations of one      client   service\n");
    for (AllocationFigure const& figure : figures)
    {
        std::printf("%-26s %8.2f %9.2f\n", figure.name.c_str(), figure.client, figure.service);
    }
}

void print(std::vector<MicroFigure> const& figures)
{
    std::printf("\nnanoseconds of one                          median\n");
    for (MicroFigure const& figure : figures)
    {
        std::printf("%-41s %8.1f\n", figure.name.c_str(), figure.nanoseconds);
    }
}

bool writeJson(std::string const& file, std::string const& machine, std::vector<Result> const& results,
               std::vector<AllocationFigure> const& allocations, std::vector<MicroFigure> const& micro)
{
    std::ofstream out(file);
    auto const spread = [&](char const* name, Spread const& value)
    {
        out << ", " << quoted(name) << ": {\"median_us\": " << value.median << ", \"p99_us\": " << value.p99
            << ", \"samples\": " << value.samples << '}';
    };
    out << "{\n  \"machine\": " << quoted(machine);
    writeArray(out, "figures", results,
               [&](Result const& result)
               {
                   out << "\"name\": " << quoted(result.name) << ", \"threads\": " << result.threads;
                   spread("ours", result.ours);
                   spread("compared", result.reference);
                   out << ", \"compared_with\": " << quoted(result.referenceName) << ", \"ratio\": " << result.ratio
                       << ", \"goal\": " << result.goal;
               });
    writeArray(out, "allocations", allocations,
               [&](AllocationFigure const& figure)
               {
                   out << "\"name\": " << quoted(figure.name) << ", \"client\": " << figure.client
                       << ", \"service\": " << figure.service;
               });
    writeArray(out, "micro", micro,
               [&](MicroFigure const& figure)
               { out << "\"name\": " << quoted(figure.name) << ", \"median_ns\": " << figure.nanoseconds; });
    out << "\n}\n";
    return static_cast<bool>(out.flush());
}

} // namespace tz::orvane::bench
