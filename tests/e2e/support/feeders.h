// SPDX-License-Identifier: Apache-2.0
// Applications that bring their data themselves.
#pragma once

#include "support/elementary_streams.h"
#include "support/viewer.h"

#include "orvane/omc_listeners.h"

#include <string>
#include <vector>

namespace tz::orvane::test
{

/// Pushes a container as the service asks for it, from inside the listener.
class ContainerFeeder final : public omc::OmcIMediaPlayerListener
{
public:
    ContainerFeeder(Viewer& viewer, std::string const& file, bool tellsSize);
    ContainerFeeder(ContainerFeeder const&) = delete;
    ContainerFeeder& operator=(ContainerFeeder const&) = delete;
    ~ContainerFeeder();

    void prepare();

private:
    void onEvent(om::OmIMediaPlayer* player, unsigned int reqId, unsigned int evt,
                 om::OmPropertyGroup const& props) override;

    Viewer& m_viewer;
    std::string m_bytes;
    bool m_tellsSize;
    std::size_t m_at = 0;
};

/// Pushes elementary streams as the service asks for them, from inside the listener.
class StreamFeeder final : public omc::OmcIMediaPlayerListener
{
public:
    explicit StreamFeeder(Viewer& viewer);
    StreamFeeder(StreamFeeder const&) = delete;
    StreamFeeder& operator=(StreamFeeder const&) = delete;
    ~StreamFeeder();

    void open();
    std::size_t pictures() const { return m_video.units.size(); }

private:
    struct Stream
    {
        std::vector<AccessUnit> units;
        std::size_t next = 0;
        bool restarted = false;
    };

    void onEvent(om::OmIMediaPlayer* player, unsigned int reqId, unsigned int evt,
                 om::OmPropertyGroup const& props) override;
    static long long timeOf(Stream const& stream);
    void onNeed(Stream& stream, long long microseconds);
    void push(Stream& stream);

    Viewer& m_viewer;
    Stream m_video;
    Stream m_audio;
};

} // namespace tz::orvane::test
