// SPDX-License-Identifier: Apache-2.0
// An application of a test: one connection and one player, and the service that it talks to.
#pragma once

#include "support/recorder.h"
#include "support/service_process.h"
#include "support/temp_dir.h"

#include "orvane/om_iconnection.h"
#include "orvane/om_imediaplayer.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace tz::orvane::test
{

/// @return the path of a medium of the tests
std::string media(std::string const& name);

/// @return what starts the service, pictures and sound going nowhere
std::vector<std::string> serviceCommand(std::vector<std::string> const& more = {});

/// Connects, makes a player and listens to it; destroys the connection at the end.
class Viewer
{
public:
    using Options = std::vector<std::pair<std::string, std::string>>;

    explicit Viewer(std::string const& name = "viewer");
    Viewer(Viewer const&) = delete;
    Viewer& operator=(Viewer const&) = delete;
    ~Viewer();

    bool connected() const { return m_connection != nullptr && m_player != nullptr; }
    om::OmIConnection& connection() { return *m_connection; }
    om::OmIMediaPlayer& player() { return *m_player; }
    Recorder& recorder() { return m_recorder; }

    /// Opening may take longer than as a rule, unless it is pushed or an option says for how long it may.
    void prepare(std::string const& uri, unsigned int flags = om::OM_PREPARE_DEFAULT, Options const& options = {});

    /// Prepares and waits. @return whether it is open
    bool open(std::string const& uri, unsigned int flags = om::OM_PREPARE_DEFAULT, Options const& options = {});

    /// @return milliseconds, -1 when there is no answer
    long long position();
    om::om_state_e state();

    /// @return what doExtendCommand gives
    int command(std::string const& name, Options const& options = {});

private:
    Recorder m_recorder;
    om::OmIConnection* m_connection;
    om::OmIMediaPlayer* m_player = nullptr;
};

/// A service of its own for each test, ended in order at the end.
class WithService : public testing::Test
{
protected:
    WithService();
    void SetUp() override;
    void TearDown() override;

    SocketDir m_directory;
    ServiceProcess m_service;
};

} // namespace tz::orvane::test
