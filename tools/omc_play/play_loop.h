// SPDX-License-Identifier: Apache-2.0
// Plays all media, and listens to keys, signals and the service meanwhile.
#pragma once

#include "common/signals.h"
#include "omc_play/options.h"
#include "omc_play/playback.h"
#include "omc_play/terminal.h"
#include "omc_play/view.h"
#include "presentation/key_decoder.h"

namespace tz::orvane::tools
{

/// The main thread's loop. Waits for everything at one place; nothing here waits for the receive thread.
class PlayLoop
{
public:
    /// @param terminal null when there is none
    PlayLoop(om::OmIConnection& connection, Options& options, Signals& signals, View& view, Terminal* terminal);
    PlayLoop(PlayLoop const&) = delete;
    PlayLoop& operator=(PlayLoop const&) = delete;
    ~PlayLoop();

    /// @return the program's exit status
    int run();

private:
    void play(Playback& playback);
    int timeoutOf(Playback const& playback) const;
    void readKeys(Playback& playback);
    void readSignals(Playback& playback);
    void readEvents(Playback& playback);
    void stop(Playback& playback);

    om::OmIConnection& m_connection;
    Options& m_options;
    Signals& m_signals;
    View& m_view;
    Terminal* m_terminal;
    EventQueue m_queue;
    ConnectionListener m_listener;
    KeyDecoder m_decoder;
    bool m_hasInput; ///< standard input is a keyboard that is still there
    int m_endSignal = 0;
};

} // namespace tz::orvane::tools
