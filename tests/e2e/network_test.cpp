// SPDX-License-Identifier: Apache-2.0
// Media that come from servers, good ones and bad ones.
#include "support/http_server.h"
#include "support/tool_process.h"
#include "support/viewer.h"

#include <gmock/gmock.h>

namespace tz::orvane::test
{
namespace
{

using testing::AllOf;
using testing::Ge;
using testing::Le;

class Network : public WithService
{
protected:
    HttpServer m_server{ORVANE_E2E_MEDIA};
};

TEST_F(Network, aFileOnAWebServerPlaysAndCanBeSought)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(m_server.uri("plain/v_end.mp4")));
    EXPECT_THAT(viewer.recorder().mediaInfo().duration, AllOf(Ge(10'000), Le(10'100)));
    EXPECT_GT(viewer.recorder().mediaInfo().file_size, 50'000u);
    EXPECT_EQ(viewer.player().isSeekable(), 1);
    viewer.player().seek(8'520, om::OM_SEEK_DEFAULT);
    auto const done = viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE);
    ASSERT_TRUE(done);
    EXPECT_THAT(done->number(om::OM_KEY_POSITION), AllOf(Ge(8'500), Le(8'560)));
    EXPECT_GT(m_server.rangeRequests(), 0);
    viewer.player().resume();
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
}

TEST_F(Network, aServerWithoutRangesPlaysButCannotBeSought)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(m_server.uri("norange/v.mp4")));
    EXPECT_EQ(viewer.player().isSeekable(), 0);
    viewer.player().seek(5'000, om::OM_SEEK_DEFAULT);
    auto const error = viewer.recorder().takeError();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, om::OM_ERROR_NOT_SUPPORTED);
    viewer.player().start(0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    ASSERT_TRUE(viewer.recorder().takePlayTime());
    viewer.player().start(0); // from the beginning is possible all the same
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY, om::OM_ACT_OPENING));
    EXPECT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
}

TEST_F(Network, eachFaultOfAServerHasACodeOfItsOwn)
{
    struct Case
    {
        std::string uri;
        om::om_error_e code;
    };
    Viewer viewer;
    for (Case const& each :
         {Case{m_server.uri("plain/none.mp4"), om::OM_ERROR_NOT_FOUND},
          Case{m_server.uri("403/v.mp4"), om::OM_ERROR_FORBIDDEN}, Case{m_server.uri("500/v.mp4"), om::OM_ERROR_SERVER},
          Case{HttpServer::refusedUri(), om::OM_ERROR_CONNECT_FAILED},
          Case{"http://" + std::string(64, 'x') + "/v.mp4", om::OM_ERROR_CONNECT_FAILED}, // too long for a name
          Case{m_server.uri("plain/text.txt"), om::OM_ERROR_UNSUPPORTED_FORMAT}})
    {
        SCOPED_TRACE(each.uri);
        viewer.prepare(each.uri);
        auto const error = viewer.recorder().takeError();
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, static_cast<int>(each.code)) << error->properties.at(om::OM_KEY_TEXT);
        EXPECT_TRUE(viewer.recorder().takeState(om::OM_STATE_NULL));
    }
}

TEST_F(Network, aServerThatStaysSilentIsGivenUpInTime)
{
    Viewer viewer;
    viewer.prepare(m_server.uri("hang/v.mp4"), om::OM_PREPARE_DEFAULT, {{om::OM_PREPARE_KEY_TIMEOUT, "700"}});
    auto const begin = viewer.recorder().takeState(om::OM_STATE_READY, om::OM_ACT_OPENING);
    auto const error = viewer.recorder().takeError();
    ASSERT_TRUE(begin && error);
    EXPECT_EQ(error->code, om::OM_ERROR_TIMED_OUT);
    EXPECT_LT(error->at - begin->at, std::chrono::seconds(9)) << "as a rule it takes longer";
    EXPECT_TRUE(viewer.open(media("v.mp4")));
}

TEST_F(Network, openingCanBeStoppedAtOnce)
{
    Viewer viewer;
    viewer.prepare(m_server.uri("hang/v.mp4"));
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY, om::OM_ACT_OPENING));
    viewer.player().stop();
    auto const stopped = viewer.recorder().takeState(om::OM_STATE_READY);
    ASSERT_TRUE(stopped);
    EXPECT_TRUE(viewer.open(media("v.mp4")));
}

TEST_F(Network, aConnectionThatIsCutIsLost)
{
    Viewer viewer;
    viewer.prepare(m_server.uri("cut/v.mp4"));
    auto const error = viewer.recorder().takeError();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, om::OM_ERROR_CONNECTION_LOST) << error->properties.at(om::OM_KEY_TEXT);
    EXPECT_TRUE(viewer.open(media("v.mp4")));
}

#ifdef ORVANE_E2E_RTSP_SERVER
TEST_F(Network, aLiveCameraPlays)
{
    ToolProcess camera({ORVANE_E2E_RTSP_SERVER});
    ASSERT_TRUE(camera.waitFor("\n"));
    std::string const host = "rtsp://127.0.0.1:" + std::to_string(std::stoi(camera.out()));
    Viewer viewer;
    viewer.prepare(host + "/none");
    auto const missing = viewer.recorder().takeError();
    ASSERT_TRUE(missing);
    EXPECT_EQ(missing->code, om::OM_ERROR_NOT_FOUND);
    ASSERT_TRUE(viewer.open(host + "/live"));
    viewer.player().start(0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING, om::OM_ACT_LIVE));
    EXPECT_EQ(viewer.recorder().mediaInfo().resolution.width, 160);
    EXPECT_EQ(viewer.recorder().mediaInfo().cap_flags, om::OM_CAP_LIVE);
    EXPECT_EQ(viewer.player().isSeekable(), 0);
    EXPECT_EQ(viewer.player().isSpeedable(), 0);
    auto const first = viewer.recorder().takePlayTime();
    ASSERT_TRUE(first);
    EXPECT_TRUE(viewer.recorder().take([&](Note const& note)
                                       { return note.kind == Note::Kind::playTime && note.value > first->value; }));
}
#endif

} // namespace
} // namespace tz::orvane::test
