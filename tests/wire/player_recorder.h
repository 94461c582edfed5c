// SPDX-License-Identifier: Apache-2.0
// A listener that writes down what it hears of a player.
#pragma once

#include "orvane/omc_listeners.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace tz::orvane::test
{

/// The request that every message of these tests is about.
inline constexpr unsigned int kReqId = 0x00AB;

/// Writes down every call as a line of text.
class PlayerRecorder final : public omc::OmcIMediaPlayerListener
{
public:
    explicit PlayerRecorder(om::OmIMediaPlayer const& player)
        : m_player(player)
    {
    }

    void onStateChanged(om::OmIMediaPlayer* player, unsigned int reqId, om::om_state_e state, int actFlags,
                        om::OmPropertyGroup const& props) override
    {
        note("onStateChanged", player, reqId, std::to_string(state) + " " + std::to_string(actFlags), props);
    }
    void onError(om::OmIMediaPlayer* player, unsigned int reqId, unsigned int errCode,
                 om::OmPropertyGroup const& props) override
    {
        note("onError", player, reqId, std::to_string(errCode), props);
    }
    void onEvent(om::OmIMediaPlayer* player, unsigned int reqId, unsigned int evt,
                 om::OmPropertyGroup const& props) override
    {
        note("onEvent", player, reqId, std::to_string(evt), props);
    }
    void onReply(om::OmIMediaPlayer* player, unsigned int reqId, unsigned int evt, int result,
                 om::OmPropertyGroup const& props) override
    {
        note("onReply", player, reqId, std::to_string(evt) + " " + std::to_string(result), props);
    }
    void onMetaInfoUpdated(om::OmIMediaPlayer* player, unsigned int reqId, om::om_media_info_t* info,
                           om::OmPropertyGroup const& props) override
    {
        note("onMetaInfoUpdated", player, reqId, shown(info, sizeof *info), props);
    }
    void onContainerInfoUpdated(om::OmIMediaPlayer* player, unsigned int reqId, om::om_container_info_t* info,
                                om::OmPropertyGroup const& props) override
    {
        note("onContainerInfoUpdated", player, reqId, shown(info, sizeof *info), props);
    }
    void onExifInfoUpdated(om::OmIMediaPlayer* player, unsigned int reqId, om::om_exif_info_t* info,
                           om::OmPropertyGroup const& props) override
    {
        note("onExifInfoUpdated", player, reqId, shown(info, sizeof *info), props);
    }
    void onTrackChanged(om::OmIMediaPlayer* player, unsigned int reqId, om::om_track_detail_t* track,
                        om::OmPropertyGroup const& props) override
    {
        note("onTrackChanged", player, reqId, shown(track, sizeof *track), props);
    }
    void onPlayTimeUpdated(om::OmIMediaPlayer* player, unsigned int reqId, long long const& currPos,
                           om::OmPropertyGroup const& props) override
    {
        note("onPlayTimeUpdated", player, reqId, std::to_string(currPos), props);
    }
    void onFrameInfoUpdated(om::OmIMediaPlayer* player, unsigned int reqId, void* data, int size,
                            om::OmPropertyGroup const& props) override
    {
        note("onFrameInfoUpdated", player, reqId, shown(data, static_cast<std::size_t>(size)), props);
    }

    std::vector<std::string> taken()
    {
        std::vector<std::string> calls;
        calls.swap(m_calls);
        return calls;
    }

    void const* record = nullptr; ///< the address that the last call with bytes got
    std::function<void()> act;

private:
    /// Size, bytes that are 'r' and zero bytes behind them.
    std::string shown(void const* data, std::size_t size)
    {
        record = data;
        std::string const bytes(static_cast<char const*>(data), size);
        std::size_t const filled = std::min(bytes.find_first_not_of('r'), size);
        std::size_t const other = bytes.find_first_not_of('\0', filled);
        return std::to_string(size) + " bytes, " + std::to_string(filled) + " sent" +
               (other == std::string::npos ? "" : ", dirty");
    }

    void note(char const* method, om::OmIMediaPlayer const* player, unsigned int reqId, std::string const& arguments,
              om::OmPropertyGroup const& props)
    {
        EXPECT_EQ(player, &m_player);
        EXPECT_EQ(reqId, kReqId);
        m_calls.push_back(std::string(method) + "(" + arguments + ") " + std::to_string(props.count()) + " props" +
                          (props.count() > 0 ? ", k=" + props.get("k") : ""));
        if (act)
        {
            act();
        }
    }

    om::OmIMediaPlayer const& m_player;
    std::vector<std::string> m_calls;
};

} // namespace tz::orvane::test
