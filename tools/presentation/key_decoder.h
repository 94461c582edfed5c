// SPDX-License-Identifier: Apache-2.0
// From the bytes that a terminal sends to the player's keys.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tz::orvane::tools
{

enum class Key
{
    togglePause,
    back,
    forward,
    stepBack,
    stepForward,
    louder,
    softer,
    faster,
    slower,
    home,
    mute,
    audioTrack,
    subtitle,
    rotate,
    zoomMode,
    zoomIn,
    zoomOut,
    next,
    quit,
};

/// Puts escape sequences together, also when they come in pieces.
class KeyDecoder
{
public:
    std::vector<Key> feed(std::string_view bytes);

    /// Whether an escape character waits for what may follow it; when nothing comes within kEscapeTimeout, call expire.
    bool isWaiting() const { return !m_sequence.empty(); }

    /// @return the key that the waiting bytes are by themselves
    std::vector<Key> expire();

    static constexpr int kEscapeTimeout = 50; ///< milliseconds

private:
    void take(char byte, std::vector<Key>& keys);

    std::string m_sequence;
};

} // namespace tz::orvane::tools
