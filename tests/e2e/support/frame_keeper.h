// SPDX-License-Identifier: Apache-2.0
// Keeps the decoded pictures that a player hands over, and waits for what is to come.
#pragma once

#include "support/viewer.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace tz::orvane::test
{

/// A picture as it came.
struct KeptFrame
{
    std::string bytes;
    std::map<std::string, std::string> properties;
    unsigned int request = 0;

    int number(std::string const& key) const { return std::stoi(properties.at(key)); }
    int width() const { return number(om::OM_FRAME_KEY_WIDTH); }
    int height() const { return number(om::OM_FRAME_KEY_HEIGHT); }
    int stride() const { return number(om::OM_FRAME_KEY_STRIDE); }
    int pts() const { return number(om::OM_FRAME_KEY_PTS); }
    int sequence() const { return number(om::OM_FRAME_KEY_SEQUENCE); }
    int dropped() const { return number(om::OM_FRAME_KEY_DROPPED); }

    /// @param offset of a plane @return 0 to 255, -1 beyond the end
    int byteAt(std::size_t offset) const;

    /// @return "red", "green", "blue", "white", "yellow", "black", else the three values; of RGB and RGBA
    std::string colorAt(int x, int y) const;

    /// @return the left edge of the yellow bar at this height, -1 when there is none
    int barAt(int y) const;
};

/// Checks the colours of the four quarters, and that the bar stands where the frame's time says.
void expectTestPicture(KeptFrame const& frame);

/// A listener of a player for as long as it lives.
class FrameKeeper final : public omc::OmcIMediaPlayerListener
{
public:
    using Wanted = std::function<bool(KeptFrame const&)>;

    explicit FrameKeeper(om::OmIMediaPlayer& player);
    FrameKeeper(FrameKeeper const&) = delete;
    FrameKeeper& operator=(FrameKeeper const&) = delete;
    ~FrameKeeper();

    /// Waits for a picture behind the last one that was taken. @return nothing when it does not come
    std::optional<KeptFrame> take(Wanted const& wanted = [](KeptFrame const&) { return true; });
    std::size_t count() const;

    /// The next picture's call does not return before release.
    void hold();
    void release();

    /// Waits until a call is being held. @return false when none comes
    bool waitUntilHeld();

private:
    void onFrameInfoUpdated(om::OmIMediaPlayer* player, unsigned int reqId, void* data, int size,
                            om::OmPropertyGroup const& props) override;

    om::OmIMediaPlayer& m_player;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<KeptFrame> m_frames;
    std::size_t m_count = 0;
    bool m_holding = false;
    bool m_held = false;
};

} // namespace tz::orvane::test
