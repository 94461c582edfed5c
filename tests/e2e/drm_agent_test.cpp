// SPDX-License-Identifier: Apache-2.0
// DRM agents against the service: sessions, licenses, events, and what is refused.
#include "support/drm_user.h"
#include "support/log_capture.h"
#include "support/protected_film.h"
#include "support/tool_process.h"
#include "support/wait.h"

#include "orvane/omc_access.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

namespace tz::orvane::test
{
namespace
{

using testing::HasSubstr;
using testing::Not;

// The examples of the W3C recommendation.
constexpr char kKeyIds[] = R"({"kids":["LwVHf8JLtPrv2GUXFW2v_A","0DdtU9od-Bh5L3xbv0Xf_A"]})";
constexpr char kRequest[] = R"({"kids":["LwVHf8JLtPrv2GUXFW2v_A","0DdtU9od-Bh5L3xbv0Xf_A"],"type":"temporary"})";
constexpr char kLicense[] =
    R"({"keys":[{"kty":"oct","k":"tQ0bJVWb6b0KPL6KtZIy_A","kid":"LwVHf8JLtPrv2GUXFW2v_A"}],"type":"temporary"})";
constexpr char kRest[] = R"({"kids":["0DdtU9od-Bh5L3xbv0Xf_A"],"type":"temporary"})";

class DrmAgents : public WithService
{
};

std::vector<om::om_drm_key_status_t> statusesOf(std::string const& bytes)
{
    std::vector<om::om_drm_key_status_t> statuses(bytes.size() / sizeof(om::om_drm_key_status_t));
    EXPECT_EQ(bytes.size() % sizeof(om::om_drm_key_status_t), 0u);
    if (!statuses.empty())
    {
        std::memcpy(statuses.data(), bytes.data(), bytes.size());
    }
    return statuses;
}

std::string sessionBytes(std::uint32_t session)
{
    return bytesOf(om::om_drm_session_t{session});
}

TEST_F(DrmAgents, aSessionAsksForKeysAndGetsThem)
{
    Viewer viewer;
    DrmUser user(viewer);
    std::uint32_t const session = user.openSession();
    EXPECT_NE(session, user.openSession());

    ASSERT_EQ(user.request(session, om::OM_DRM_INIT_DATA_KEYIDS, kKeyIds), 0);
    EXPECT_EQ(user.answer(), kRequest);
    auto const message = user.take();
    ASSERT_TRUE(message);
    EXPECT_EQ(message->type, om::OM_DRM_EVENT_MESSAGE);
    EXPECT_EQ(message->subType, om::OM_DRM_MESSAGE_LICENSE_REQUEST);
    EXPECT_EQ(message->session, session);
    EXPECT_EQ(message->payload, kRequest);

    ASSERT_EQ(user.license(session, kLicense), 0);
    EXPECT_EQ(user.answer(), "");
    auto const changed = user.take();
    ASSERT_TRUE(changed);
    EXPECT_EQ(changed->type, om::OM_DRM_EVENT_KEY_STATUS);
    EXPECT_EQ(changed->session, session);
    EXPECT_EQ(changed->count, 2u);
    ASSERT_EQ(user.call(&om::OmIDrmAgent::getKeyStatuses, sessionBytes(session)), 0);
    EXPECT_EQ(user.answer(), changed->payload);
    auto const statuses = statusesOf(user.answer());
    ASSERT_EQ(statuses.size(), 2u);
    EXPECT_EQ(statuses[0].status, om::OM_DRM_KEY_USABLE);
    EXPECT_EQ(statuses[0].key_id[0], 0x2f);
    EXPECT_EQ(statuses[1].status, om::OM_DRM_KEY_PENDING);
    EXPECT_EQ(statuses[1].key_id[0], 0xd0);

    om::om_drm_license_t license{};
    ASSERT_EQ(user.call(&om::OmIDrmAgent::licenseQuery, sessionBytes(session)), 0);
    ASSERT_EQ(user.answer().size(), sizeof license);
    std::memcpy(&license, user.answer().data(), sizeof license);
    EXPECT_EQ(license.session, session);
    EXPECT_EQ(license.usable, 1u);
    EXPECT_EQ(license.pending, 1u);

    om::OmPropertyGroup properties;
    properties.add(om::OM_KEY_SESSION, std::to_string(session));
    EXPECT_GE(user.agent().doExtendCommand(om::OM_DRM_COMMAND_RENEW, properties), 0);
    auto const renewal = user.take();
    ASSERT_TRUE(renewal);
    EXPECT_EQ(renewal->subType, om::OM_DRM_MESSAGE_LICENSE_RENEWAL);
    EXPECT_EQ(renewal->payload, kRest);

    ASSERT_EQ(user.call(&om::OmIDrmAgent::closeSession, sessionBytes(session)), 0);
    auto const closed = user.take();
    ASSERT_TRUE(closed);
    EXPECT_EQ(closed->type, om::OM_DRM_EVENT_KEY_STATUS);
    EXPECT_EQ(closed->count, 0u);
    EXPECT_EQ(closed->payload, "");
    EXPECT_EQ(user.call(&om::OmIDrmAgent::getKeyStatuses, sessionBytes(session)), -ENOENT);
}

/// Eight bytes that are encrypted with the key of the film.
std::string protectedBytes()
{
    om::om_drm_crypto_t crypto{};
    crypto.scheme = om::OM_DRM_SCHEME_CENC;
    crypto.iv_size = 16;
    constexpr std::uint8_t kId[] = {0xa7, 0xe6, 0x1c, 0x37, 0x3e, 0x21, 0x90, 0x33,
                                    0xc2, 0x10, 0x91, 0xfa, 0x60, 0x7b, 0xf3, 0xb8};
    std::memcpy(crypto.key_id, kId, sizeof kId);
    return bytesOf(crypto) + std::string("\0\1\2\3\4\5\6\7", 8);
}

TEST_F(DrmAgents, keysGoWithTheirSessionAndTheirAgent)
{
    Viewer viewer;
    DrmUser user(viewer);
    DrmUser other(viewer);
    EXPECT_EQ(user.call(&om::OmIDrmAgent::decrypt, protectedBytes()), -ENOKEY);
    std::uint32_t const session = user.openSession();
    ASSERT_EQ(user.license(session, kFilmLicense), 0);
    EXPECT_EQ(user.call(&om::OmIDrmAgent::decrypt, protectedBytes()), 0);
    EXPECT_EQ(user.answer().size(), 8u);
    EXPECT_EQ(other.call(&om::OmIDrmAgent::decrypt, protectedBytes()), -ENOKEY);
    ASSERT_EQ(user.call(&om::OmIDrmAgent::closeSession, sessionBytes(session)), 0);
    EXPECT_EQ(user.call(&om::OmIDrmAgent::decrypt, protectedBytes()), -ENOKEY);

    ASSERT_EQ(user.license(user.openSession(), kFilmLicense), 0);
    EXPECT_EQ(user.call(&om::OmIDrmAgent::decrypt, protectedBytes()), 0);
    EXPECT_GE(user.agent().cleanup(), 0);
    EXPECT_EQ(user.call(&om::OmIDrmAgent::decrypt, protectedBytes()), -EBADFD);
    EXPECT_GE(user.agent().initialize(), 0);
    EXPECT_EQ(user.call(&om::OmIDrmAgent::decrypt, protectedBytes()), -ENOKEY);
}

TEST_F(DrmAgents, aLargeBufferIsDecryptedWhole)
{
    Viewer viewer;
    DrmUser user(viewer);
    ASSERT_EQ(user.license(user.openSession(), kFilmLicense), 0);
    std::string const input = protectedBytes() + std::string(65535 - protectedBytes().size(), 'x');
    ASSERT_EQ(user.call(&om::OmIDrmAgent::decrypt, input), 0);
    EXPECT_EQ(user.answer().size(), input.size() - sizeof(om::om_drm_crypto_t));
    // Counting encrypts and decrypts alike.
    std::string const there = user.answer();
    ASSERT_EQ(user.call(&om::OmIDrmAgent::decrypt, input.substr(0, sizeof(om::om_drm_crypto_t)) + there), 0);
    EXPECT_EQ(user.answer(), input.substr(sizeof(om::om_drm_crypto_t)));
}

TEST_F(DrmAgents, anAgentHasToBeMadeReadyFirst)
{
    Viewer viewer;
    DrmUser user(viewer, false);
    EXPECT_EQ(user.agent().initialize(), -EBADFD);
    EXPECT_EQ(user.call(&om::OmIDrmAgent::openSession), -EBADFD);
    EXPECT_GE(user.agent().drmPluginCreate(), 0);
    EXPECT_EQ(user.call(&om::OmIDrmAgent::openSession), -EBADFD);
    EXPECT_GE(user.agent().initialize(), 0);
    EXPECT_EQ(user.call(&om::OmIDrmAgent::openSession), 0);
}

TEST_F(DrmAgents, whatMakesNoSenseIsRefusedAndChangesNothing)
{
    Viewer viewer;
    DrmUser user(viewer);
    std::uint32_t const session = user.openSession();
    std::string const good = sessionBytes(session);
    std::string const none = sessionBytes(session + 1);
    struct Row
    {
        DrmUser::Operation operation;
        std::string in;
        int result;
    };
    om::om_drm_key_request_t const unknownKind{session, static_cast<om::om_drm_init_data_e>(4)};
    std::string const cut = protectedBytes().substr(0, sizeof(om::om_drm_crypto_t) - 1);
    Row const rows[] = {
        {&om::OmIDrmAgent::openSession, std::string("\1\0\0\0", 4), -EOPNOTSUPP},
        {&om::OmIDrmAgent::openSession, "abc", -EINVAL},
        {&om::OmIDrmAgent::openSession, std::string(5, '\0'), -EINVAL},
        {&om::OmIDrmAgent::generateKeyRequest, good, -EINVAL},
        {&om::OmIDrmAgent::generateKeyRequest, none + std::string(4, '\1'), -ENOENT},
        {&om::OmIDrmAgent::generateKeyRequest, bytesOf(unknownKind), -EOPNOTSUPP},
        {&om::OmIDrmAgent::updateSession, "", -EINVAL},
        {&om::OmIDrmAgent::updateSession, good, -EINVAL},
        {&om::OmIDrmAgent::updateSession, good + "{}", -EINVAL},
        {&om::OmIDrmAgent::updateSession, none + kLicense, -ENOENT},
        {&om::OmIDrmAgent::closeSession, "", -EINVAL},
        {&om::OmIDrmAgent::closeSession, good + "x", -EINVAL},
        {&om::OmIDrmAgent::closeSession, none, -ENOENT},
        {&om::OmIDrmAgent::getKeyStatuses, "", -EINVAL},
        {&om::OmIDrmAgent::getKeyStatuses, none, -ENOENT},
        {&om::OmIDrmAgent::licenseQuery, good + "x", -EINVAL},
        {&om::OmIDrmAgent::licenseQuery, none, -ENOENT},
        {&om::OmIDrmAgent::getMetrics, "x", -EINVAL},
        {&om::OmIDrmAgent::decrypt, "", -EINVAL},
        {&om::OmIDrmAgent::decrypt, cut, -EINVAL},
        {&om::OmIDrmAgent::setServerCertificate, "certificate", -EOPNOTSUPP},
        {&om::OmIDrmAgent::getCertificateRequest, "", -EOPNOTSUPP},
        {&om::OmIDrmAgent::parseAndLoadServiceCertificateResponse, "response", -EOPNOTSUPP},
    };
    for (Row const& row : rows)
    {
        EXPECT_EQ(user.call(row.operation, row.in), row.result) << &row - rows;
        EXPECT_EQ(user.answer(), "");
    }
    ASSERT_EQ(user.call(&om::OmIDrmAgent::getKeyStatuses, good), 0);
    EXPECT_EQ(user.answer(), "");
}

TEST_F(DrmAgents, theirNumberAndThatOfTheirSessionsIsBounded)
{
    Viewer viewer;
    EXPECT_EQ(viewer.connection().createDrmAgent(0), nullptr);
    EXPECT_EQ(viewer.connection().createDrmAgent(2), nullptr);
    std::vector<std::shared_ptr<om::OmIDrmAgent>> agents;
    for (int count = 0; count < 15; ++count)
    {
        agents.push_back(viewer.connection().createDrmAgent(om::OM_DRM_TYPE_CLEARKEY));
        ASSERT_NE(agents.back(), nullptr);
    }
    DrmUser user(viewer);
    EXPECT_EQ(viewer.connection().createDrmAgent(om::OM_DRM_TYPE_CLEARKEY), nullptr);
    viewer.connection().destroyDrmAgent(agents[0]);
    viewer.connection().destroyDrmAgent(agents[1]->getAgentID());
    EXPECT_EQ(agents[0]->initialize(), -ENOENT) << "the service forgot it";
    EXPECT_NE(viewer.connection().createDrmAgent(om::OM_DRM_TYPE_CLEARKEY), nullptr);
    EXPECT_NE(viewer.connection().createDrmAgent(om::OM_DRM_TYPE_CLEARKEY), nullptr);
    EXPECT_EQ(viewer.connection().createDrmAgent(om::OM_DRM_TYPE_CLEARKEY), nullptr);

    std::uint32_t first = 0;
    for (int count = 0; count < 16; ++count)
    {
        std::uint32_t const session = user.openSession();
        first = first == 0 ? session : first;
    }
    EXPECT_EQ(user.call(&om::OmIDrmAgent::openSession), -EDQUOT);
    EXPECT_EQ(user.call(&om::OmIDrmAgent::closeSession, sessionBytes(first)), 0);
    EXPECT_NE(user.openSession(), first) << "ids are not given out again at once";
}

class Refusals final : public omc::OmcIConnectionListener
{
public:
    std::string take()
    {
        EXPECT_TRUE(eventually([this] { return count() > m_taken; }));
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_taken < m_texts.size() ? m_texts[m_taken++] : "";
    }

private:
    std::size_t count()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_texts.size();
    }
    void onConnectionChanged(om::OmIConnection*, int) override {}
    void onEvent(om::OmIConnection*, int event, om::OmPropertyGroup& props) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_texts.push_back(std::to_string(event) + " " + props.get(om::OM_KEY_CODE) + " " +
                          props.get(om::OM_KEY_COMMAND));
    }

    std::mutex m_mutex;
    std::vector<std::string> m_texts;
    std::size_t m_taken = 0;
};

TEST_F(DrmAgents, namedCommandsThatFailAreToldToTheConnection)
{
    Viewer viewer;
    DrmUser user(viewer);
    std::uint32_t const session = user.openSession();
    Refusals refusals;
    viewer.connection().addListener(&refusals);
    om::OmPropertyGroup properties;
    user.agent().doExtendCommand("no such thing", properties);
    EXPECT_EQ(refusals.take(), "1 13 doExtendCommand");
    user.agent().doExtendCommand(om::OM_DRM_COMMAND_RENEW, properties);
    EXPECT_EQ(refusals.take(), "1 15 doExtendCommand");
    properties.add(om::OM_KEY_SESSION, std::to_string(session + 1));
    user.agent().doExtendCommand(om::OM_DRM_COMMAND_RENEW, properties);
    EXPECT_EQ(refusals.take(), "1 15 doExtendCommand");
    viewer.connection().removeListener(&refusals);
}

TEST_F(DrmAgents, manyThreadsMakeUseAndDestroyAgentsWhileTheirEventsArrive)
{
    Viewer viewer;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
    {
        threads.emplace_back(
            [&]
            {
                for (int round = 0; round < 10; ++round)
                {
                    DrmUser user(viewer);
                    std::uint32_t const session = user.openSession();
                    EXPECT_EQ(user.request(session, om::OM_DRM_INIT_DATA_KEYIDS, kKeyIds), 0);
                    EXPECT_EQ(user.license(session, kLicense), 0);
                    if (round % 3 == 0)
                    {
                        EXPECT_TRUE(user.take());
                    }
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

TEST(DrmSecrets, noLogOfEitherSideHoldsAKey)
{
    SocketDir const directory;
    ::setenv("ORVANE_DEBUG", "trace", 1);
    ToolProcess service(serviceCommand());
    LogCapture const log(platform::DebugLevel::trace);
    {
        ASSERT_TRUE(eventually([] { return Viewer().connected(); }));
        Viewer viewer;
        DrmUser user(viewer);
        std::uint32_t const session = user.openSession();
        ASSERT_EQ(user.license(session, kFilmLicense), 0);
        ASSERT_EQ(user.license(session, std::string(kFilmLicense) + "x"), -EINVAL);
        ASSERT_EQ(user.call(&om::OmIDrmAgent::decrypt, protectedBytes()), 0);
    }
    service.signal(SIGTERM);
    EXPECT_EQ(service.wait(), 0);
    std::string said = service.out() + service.err();
    EXPECT_THAT(said, HasSubstr("updateSession")) << "it logs at all";
    for (auto const& line : log.lines())
    {
        said += line.text + "\n";
    }
    for (char const* const secret : {"dqbGXF6nYgRr10mi5jLMuw", "dqbGXF6n", kFilmKey, "76a6c65c", "76 a6 c6 5c"})
    {
        EXPECT_THAT(said, Not(HasSubstr(secret)));
    }
}

} // namespace
} // namespace tz::orvane::test
