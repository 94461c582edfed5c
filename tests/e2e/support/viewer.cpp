// SPDX-License-Identifier: Apache-2.0
// An application of a test: one connection and one player, and the service that it talks to.
#include "support/viewer.h"

#include "orvane/omc_access.h"

#include <algorithm>
#include <csignal>

namespace tz::orvane::test
{

namespace
{

constexpr char kService[] = ORVANE_E2E_BINARIES "/service/orvane-media-service";

void fill(om::OmPropertyGroup& group, Viewer::Options const& options)
{
    for (auto const& [key, value] : options)
    {
        group.add(key, value);
    }
}

} // namespace

std::string media(std::string const& name)
{
    return ORVANE_E2E_MEDIA "/" + name;
}

std::vector<std::string> serviceCommand(std::vector<std::string> const& more)
{
    std::vector<std::string> command{kService, "--video", "none", "--audio", "fake", "--screen", "320x180"};
    command.insert(command.end(), more.begin(), more.end());
    return command;
}

Viewer::Viewer(std::string const& name)
    : m_connection(omc::OmcClientAccess::getApp(0)->createConnection(name))
{
    m_player = m_connection == nullptr ? nullptr : m_connection->createPlayer(nullptr);
    if (m_player != nullptr)
    {
        m_player->addListener(&m_recorder);
    }
}

Viewer::~Viewer()
{
    if (m_connection != nullptr)
    {
        omc::OmcClientAccess::getApp(0)->destroyConnection(m_connection);
    }
}

void Viewer::prepare(std::string const& uri, unsigned int flags, Options const& options)
{
    om::OmPropertyGroup group;
    bool const isPushed = (flags & om::OM_PREPARE_PUSH) != 0;
    bool const hasTimeout = std::any_of(options.begin(), options.end(),
                                        [](auto const& option) { return option.first == om::OM_PREPARE_KEY_TIMEOUT; });
    if (!isPushed && !hasTimeout)
    {
        group.add(om::OM_PREPARE_KEY_TIMEOUT, "50000"); // a busy machine takes its time
    }
    fill(group, options);
    m_player->prepare(uri, group, flags);
}

bool Viewer::open(std::string const& uri, unsigned int flags, Options const& options)
{
    prepare(uri, flags, options);
    // What the medium before this one still reports comes in front of its opening.
    if (!m_recorder.takeState(om::OM_STATE_READY, om::OM_ACT_OPENING))
    {
        return false;
    }
    return m_recorder
        .take([](Note const& note) { return note.kind == Note::Kind::state && note.code >= om::OM_STATE_PAUSED; })
        .has_value();
}

long long Viewer::position()
{
    long long position = -1;
    m_player->getCurPosition(position);
    return position;
}

om::om_state_e Viewer::state()
{
    om::om_state_e state = om::OM_STATE_VOID;
    m_player->getState(state);
    return state;
}

int Viewer::command(std::string const& name, Options const& options)
{
    om::OmPropertyGroup group;
    fill(group, options);
    return m_player->doExtendCommand(name, group);
}

WithService::WithService()
    : m_service(serviceCommand())
{
}

void WithService::SetUp()
{
    ASSERT_TRUE(m_service.waitUntilReady());
}

void WithService::TearDown()
{
    m_service.signal(SIGTERM);
    EXPECT_EQ(m_service.wait(), 0);
}

} // namespace tz::orvane::test
