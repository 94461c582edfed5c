// SPDX-License-Identifier: Apache-2.0
// Keeps the decoded pictures that a player hands over, and waits for what is to come.
#include "support/frame_keeper.h"

#include <gtest/gtest.h>

#include <utility>

namespace tz::orvane::test
{

namespace
{

constexpr std::chrono::seconds kPatience{60};

/// Pictures that nobody takes are not all kept.
constexpr std::size_t kMostFrames = 400;
constexpr std::size_t kMostBytes = 64u << 20;

constexpr int kDark = 70;
constexpr int kBright = 185;

} // namespace

int KeptFrame::byteAt(std::size_t offset) const
{
    return offset < bytes.size() ? static_cast<unsigned char>(bytes[offset]) : -1;
}

std::string KeptFrame::colorAt(int x, int y) const
{
    // The green of the test media is that of HTML, which is a dark one.
    static std::map<std::string, std::string> const kNames = {{"BDD", "red"},   {"DMD", "green"},  {"DDB", "blue"},
                                                              {"BBB", "white"}, {"BBD", "yellow"}, {"DDD", "black"}};
    std::size_t const pixelBytes = properties.at(om::OM_FRAME_KEY_FORMAT) == om::OM_FRAME_FORMAT_RGBA ? 4 : 3;
    std::size_t const at =
        static_cast<std::size_t>(y) * static_cast<std::size_t>(stride()) + static_cast<std::size_t>(x) * pixelBytes;
    std::string levels;
    std::string values;
    for (std::size_t part = 0; part < 3; ++part)
    {
        int const value = byteAt(at + part);
        levels += value <= kDark ? 'D' : value >= kBright ? 'B' : 'M';
        values += std::to_string(value) + " ";
    }
    auto const name = kNames.find(levels);
    return name == kNames.end() ? values : name->second;
}

int KeptFrame::barAt(int y) const
{
    for (int x = 0; x < width(); ++x)
    {
        if (colorAt(x, y) == "yellow")
        {
            return x;
        }
    }
    return -1;
}

void expectTestPicture(KeptFrame const& frame)
{
    int const width = frame.width();
    int const height = frame.height();
    EXPECT_EQ(frame.colorAt(width / 4, height / 5), "red");
    EXPECT_EQ(frame.colorAt(width * 3 / 4, height / 5), "green");
    EXPECT_EQ(frame.colorAt(width / 4, height * 4 / 5), "blue");
    EXPECT_EQ(frame.colorAt(width * 3 / 4, height * 4 / 5), "white");
    double const pixelsOfBar = 0.03 * frame.pts() * width / 320;
    EXPECT_NEAR(frame.barAt(height / 2), pixelsOfBar, 3.0 * width / 320) << "at " << frame.pts();
}

FrameKeeper::FrameKeeper(om::OmIMediaPlayer& player)
    : m_player(player)
{
    m_player.addListener(this);
}

FrameKeeper::~FrameKeeper()
{
    release();
    m_player.removeListener(this);
}

std::optional<KeptFrame> FrameKeeper::take(Wanted const& wanted)
{
    auto const deadline = std::chrono::steady_clock::now() + kPatience;
    std::unique_lock<std::mutex> lock(m_mutex);
    while (true)
    {
        while (!m_frames.empty())
        {
            KeptFrame frame = std::move(m_frames.front());
            m_frames.pop_front();
            if (wanted(frame))
            {
                return frame;
            }
        }
        if (m_changed.wait_until(lock, deadline) == std::cv_status::timeout && m_frames.empty())
        {
            return std::nullopt;
        }
    }
}

std::size_t FrameKeeper::count() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_count;
}

void FrameKeeper::hold()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_holding = true;
}

void FrameKeeper::release()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_holding = false;
    m_changed.notify_all();
}

bool FrameKeeper::waitUntilHeld()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, kPatience, [this] { return m_held; });
}

void FrameKeeper::onFrameInfoUpdated(om::OmIMediaPlayer*, unsigned int reqId, void* data, int size,
                                     om::OmPropertyGroup const& props)
{
    KeptFrame frame;
    frame.bytes.assign(static_cast<char const*>(data), static_cast<std::size_t>(size));
    frame.request = reqId;
    for (int index = 0; index < props.count(); ++index)
    {
        frame.properties.emplace(props.keyAt(index), props.valueAt(index));
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_frames.size() >= kMostFrames || m_frames.size() * frame.bytes.size() > kMostBytes)
    {
        m_frames.pop_front();
    }
    m_frames.push_back(std::move(frame));
    ++m_count;
    m_held = m_holding;
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return !m_holding; });
    m_held = false;
}

} // namespace tz::orvane::test
