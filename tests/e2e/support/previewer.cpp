// SPDX-License-Identifier: Apache-2.0
// An application of a test that asks for previews.
#include "support/previewer.h"

#include "orvane/omc_access.h"
#include "support/temp_dir.h"
#include "support/tool_process.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace tz::orvane::test
{

namespace
{

constexpr std::chrono::seconds kPatience{60};
constexpr std::size_t kParts = 3;
constexpr int kOriginalWidth = 320;

void fill(om::OmPropertyGroup& group, Previewer::Properties const& properties)
{
    group.add(om::OM_PREVIEW_KEY_TIMEOUT, "50000"); // a busy machine takes its time; what the test says counts
    for (auto const& [key, value] : properties)
    {
        group.add(key, value);
    }
}

} // namespace

Previewer::Previewer()
    : m_connection(omc::OmcClientAccess::getApp(0)->createConnection("previewer"))
{
    m_tool = m_connection == nullptr ? nullptr : m_connection->createPreviewTool(nullptr);
    if (m_tool == nullptr)
    {
        ADD_FAILURE() << "no preview tool";
        std::abort();
    }
    m_tool->setListener(this);
}

Previewer::~Previewer()
{
    omc::OmcClientAccess::getApp(0)->destroyConnection(m_connection);
}

unsigned int Previewer::ask(std::string const& uri, long long position, int flags, Properties const& properties,
                            om::om_location_mode_e mode)
{
    unsigned int const id = m_tool->getRequestID();
    om::OmPropertyGroup group;
    fill(group, properties);
    EXPECT_EQ(m_tool->requestPreviewInfo(uri, mode, position, flags, group), 0);
    return id;
}

void Previewer::askPlainly(std::string const& uri, Properties const& properties)
{
    om::OmPropertyGroup group;
    fill(group, properties);
    EXPECT_EQ(m_tool->requestPreviewInfo(uri, om::OM_LOCATION_MODE_TIME, 0, 0, group), 0);
}

PreviewReply Previewer::take()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_came.wait_for(lock, kPatience, [this] { return m_next < m_replies.size(); }))
    {
        ADD_FAILURE() << "no reply comes";
        return {};
    }
    return m_replies[m_next++];
}

PreviewReply Previewer::get(std::string const& uri, long long position, int flags, Properties const& properties,
                            om::om_location_mode_e mode)
{
    unsigned int const id = ask(uri, position, flags, properties, mode);
    PreviewReply reply = take();
    EXPECT_EQ(reply.id, id);
    return reply;
}

int Previewer::status(std::string const& key)
{
    om::OmPropertyGroup group;
    return m_tool->doExtendCommand(om::OM_PREVIEW_COMMAND_STATUS, group) < 0 ? -1 : std::atoi(group.get(key).c_str());
}

void Previewer::onPreviewInfoReply(om::OmIPreviewTool*, unsigned int reqId, int res, om::OmString const& output_path,
                                   om::OmPropertyGroup const& props)
{
    PreviewReply reply{reqId, res, output_path, {}};
    for (int i = 0; i < props.count(); ++i)
    {
        reply.properties[props.keyAt(i)] = props.valueAt(i);
    }
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_replies.push_back(std::move(reply));
    m_came.notify_all();
}

unsigned int Pixels::at(int x, int y) const
{
    std::size_t const begin =
        kParts * (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x));
    return begin + kParts <= bytes.size() ? bytes[begin] << 16u | bytes[begin + 1] << 8u | bytes[begin + 2] : 0x808080;
}

Pixels decoded(std::vector<std::string> const& input)
{
    TempDir const folder;
    std::string const file = folder.path() + "/picture.ppm";
    std::vector<std::string> command{"/usr/bin/env", "ffmpeg", "-loglevel", "error", "-nostdin"};
    command.insert(command.end(), input.begin(), input.end());
    command.insert(command.end(), {"-pix_fmt", "rgb24", "-frames:v", "1", file});
    ToolProcess decoder(command);
    EXPECT_EQ(decoder.wait(), 0) << decoder.err();
    std::string const content = fileContent(file);
    Pixels pixels;
    int begin = 0;
    if (std::sscanf(content.c_str(), "P6 %d %d 255%n", &pixels.width, &pixels.height, &begin) == 2)
    {
        pixels.bytes.assign(content.begin() + begin + 1, content.end());
    }
    return pixels;
}

Pixels decoded(std::string const& file)
{
    return decoded(std::vector<std::string>{"-i", file});
}

double difference(Pixels const& a, Pixels const& b)
{
    if (a.bytes.empty() || a.width != b.width || a.height != b.height)
    {
        return 255;
    }
    double sum = 0;
    for (std::size_t i = 0; i < a.bytes.size(); ++i)
    {
        sum += std::abs(a.bytes[i] - b.bytes[i]);
    }
    return sum / static_cast<double>(a.bytes.size());
}

char colorName(unsigned int color)
{
    struct Name
    {
        char name;
        std::array<int, kParts> parts;
    };
    constexpr std::array<Name, 6> kNames{Name{'r', {255, 0, 0}}, {'g', {0, 128, 0}},   {'b', {0, 0, 255}},
                                         {'w', {255, 255, 255}}, {'y', {255, 255, 0}}, {'k', {0, 0, 0}}};
    constexpr int kTolerance = 60;
    for (Name const& candidate : kNames)
    {
        bool const like = std::abs(static_cast<int>(color >> 16u) - candidate.parts[0]) < kTolerance &&
                          std::abs(static_cast<int>(color >> 8u & 0xFFu) - candidate.parts[1]) < kTolerance &&
                          std::abs(static_cast<int>(color & 0xFFu) - candidate.parts[2]) < kTolerance;
        if (like)
        {
            return candidate.name;
        }
    }
    return '?';
}

std::string corners(Pixels const& pixels)
{
    std::string names;
    for (int const y : {pixels.height / 4, pixels.height * 3 / 4})
    {
        for (int const x : {pixels.width / 4, pixels.width * 3 / 4})
        {
            names += colorName(pixels.at(x, y));
        }
    }
    return names;
}

int barPosition(Pixels const& pixels)
{
    for (int x = 0; x < pixels.width; ++x)
    {
        if (colorName(pixels.at(x, pixels.height / 2)) == 'y')
        {
            return x * kOriginalWidth / pixels.width;
        }
    }
    return -1;
}

} // namespace tz::orvane::test
