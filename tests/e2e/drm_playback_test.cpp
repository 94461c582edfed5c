// SPDX-License-Identifier: Apache-2.0
// Protected films play when there are keys, and wait while there are none.
#include "support/drm_user.h"
#include "support/frame_keeper.h"
#include "support/protected_film.h"
#include "support/tool_process.h"
#include "support/wait.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

namespace tz::orvane::test
{
namespace
{

using testing::AllOf;
using testing::ElementsAre;
using testing::Ge;
using testing::HasSubstr;
using testing::Le;
using testing::Lt;

/// An option of opening.
std::pair<std::string, std::string> const kWithPictures{om::OM_PREPARE_KEY_FRAME_INFO, om::OM_FRAME_FORMAT_I420};

class DrmPlayback : public WithService
{
protected:
    std::string m_film = protectedFilm();
};

bool isEvent(Note const& note, om::om_event_e event)
{
    return note.kind == Note::Kind::event && note.code == static_cast<int>(event);
}

/// The streams of which was told that they wait for a key, in the order of their numbers.
std::vector<long long> streamsThatWaited(Viewer& viewer)
{
    std::vector<long long> streams;
    for (Note const& note : viewer.recorder().notes())
    {
        if (isEvent(note, om::OM_EVENT_KEY_NEEDED))
        {
            streams.push_back(note.number(om::OM_KEY_STREAM));
        }
    }
    std::sort(streams.begin(), streams.end());
    return streams;
}

/// Lets time pass in which something must not happen.
void letPass(std::chrono::milliseconds time)
{
    auto const since = std::chrono::steady_clock::now();
    EXPECT_TRUE(eventually([&] { return std::chrono::steady_clock::now() - since > time; }));
}

TEST_F(DrmPlayback, withTheKeysAFilmPlaysAndCanBeSought)
{
    Viewer viewer;
    DrmUser user(viewer);
    ASSERT_EQ(user.license(user.openSession(), kFilmLicense), 0);
    FilmFeeder feeder(viewer, m_film, user.agent().getAgentID());
    feeder.open();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    om::om_media_info_t const info = viewer.recorder().mediaInfo();
    EXPECT_EQ(info.resolution.width, 320);
    EXPECT_EQ(info.sample_rate, 48'000);
    viewer.player().start(0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    viewer.player().seek(8'000, om::OM_SEEK_DEFAULT);
    auto const done = viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE);
    ASSERT_TRUE(done);
    EXPECT_THAT(done->number(om::OM_KEY_POSITION), AllOf(Ge(7'900), Le(9'000)));
    auto const end = viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM);
    ASSERT_TRUE(end);
    EXPECT_THAT(end->number(om::OM_KEY_POSITION), AllOf(Ge(9'900), Le(10'200)));
    for (Note const& note : viewer.recorder().notes())
    {
        EXPECT_NE(note.kind, Note::Kind::error);
        EXPECT_FALSE(isEvent(note, om::OM_EVENT_KEY_NEEDED));
    }
    om::om_drm_metrics_t metrics{};
    ASSERT_EQ(user.call(&om::OmIDrmAgent::getMetrics), 0);
    std::memcpy(&metrics, user.answer().data(), sizeof metrics);
    EXPECT_GE(metrics.decrypted_units, 250u);
    EXPECT_EQ(metrics.missing_keys, 0u);
}

TEST_F(DrmPlayback, withoutKeysOpeningWaitsAsLongAsItTakes)
{
    Viewer viewer;
    FrameKeeper pictures(viewer.player());
    DrmUser user(viewer);
    std::uint32_t const session = user.openSession();
    FilmFeeder feeder(viewer, m_film, user.agent().getAgentID());
    feeder.open(om::OM_STREAM_TYPE_UNKNOWN, optionImage({{om::OM_PREPARE_KEY_TIMEOUT, "9000"}, kWithPictures}));
    for (int stream = 0; stream < 2; ++stream)
    {
        auto const needed = viewer.recorder().takeEvent(om::OM_EVENT_KEY_NEEDED);
        ASSERT_TRUE(needed);
        EXPECT_EQ(needed->number(om::OM_KEY_AGENT), user.agent().getAgentID());
        EXPECT_EQ(needed->properties.at(om::OM_KEY_KEY_ID), kFilmKeyId);
    }
    letPass(std::chrono::seconds(10)); // more than an opening may take
    EXPECT_EQ(viewer.state(), om::OM_STATE_READY);
    EXPECT_EQ(pictures.count(), 0u);

    ASSERT_EQ(user.license(session, kFilmLicense), 0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    viewer.player().start(0);
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
    EXPECT_GT(pictures.count(), 0u);
    EXPECT_THAT(streamsThatWaited(viewer), ElementsAre(om::OM_STREAM_TYPE_VIDEO, om::OM_STREAM_TYPE_AUDIO));
}

TEST_F(DrmPlayback, aKeyThatIsMissingInTheMiddleHoldsThePlayingUntilItComes)
{
    Viewer viewer;
    FrameKeeper pictures(viewer.player());
    DrmUser user(viewer);
    std::uint32_t const session = user.openSession();
    ASSERT_EQ(user.license(session, kFilmLicense), 0);
    // From the fourth second on the key has another id; there is a key frame.
    auto const otherKey = [](example::Sample const& sample, std::string& crypto)
    {
        if (sample.unit.dts >= 4'000'000)
        {
            crypto.replace(offsetof(om::om_drm_crypto_t, key_id), 16, 16, 'k');
        }
    };
    FilmFeeder feeder(viewer, m_film, user.agent().getAgentID(), otherKey);
    feeder.open(om::OM_STREAM_TYPE_UNKNOWN, optionImage({kWithPictures}));
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    viewer.player().start(0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    auto const needed = viewer.recorder().takeEvent(om::OM_EVENT_KEY_NEEDED);
    ASSERT_TRUE(needed);
    EXPECT_EQ(needed->properties.at(om::OM_KEY_KEY_ID), "6b6b6b6b6b6b6b6b6b6b6b6b6b6b6b6b");
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED, om::OM_ACT_BUFFERING));
    auto const isProtectedByIt = [](KeptFrame const& frame) { return frame.pts() >= 4'080; };
    long long position = -1;
    ASSERT_TRUE(eventually( // sound that was on its way is still heard
        [&]
        {
            long long const before = std::exchange(position, viewer.position());
            letPass(std::chrono::milliseconds(100));
            return position == before;
        }));
    EXPECT_THAT(position, AllOf(Ge(0), Le(5'000)));
    letPass(std::chrono::seconds(1));
    EXPECT_EQ(viewer.position(), position);
    for (std::size_t count = pictures.count(); count > 0; --count)
    {
        auto const picture = pictures.take();
        ASSERT_TRUE(picture);
        EXPECT_FALSE(isProtectedByIt(*picture)) << picture->pts();
    }

    ASSERT_EQ(user.license(session,
                           R"({"keys":[{"kty":"oct","k":"dqbGXF6nYgRr10mi5jLMuw","kid":"a2tra2tra2tra2tra2traw"}]})"),
              0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    EXPECT_TRUE(pictures.take(isProtectedByIt));
    auto const end = viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM);
    ASSERT_TRUE(end);
    EXPECT_THAT(end->number(om::OM_KEY_POSITION), AllOf(Ge(9'900), Le(10'200)));
    auto const waited = streamsThatWaited(viewer); // one may wait before the other gets there
    EXPECT_EQ(std::adjacent_find(waited.begin(), waited.end()), waited.end()) << "told twice";
}

TEST_F(DrmPlayback, closingTheSessionHoldsThePlayingUntilAnotherOneBringsTheKey)
{
    Viewer viewer;
    DrmUser user(viewer);
    std::uint32_t const session = user.openSession();
    ASSERT_EQ(user.license(session, kFilmLicense), 0);
    FilmFeeder feeder(viewer, m_film, user.agent().getAgentID()); // pushes four seconds at a time
    feeder.open();
    viewer.player().start(0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    ASSERT_TRUE(streamsThatWaited(viewer).empty());

    ASSERT_EQ(user.call(&om::OmIDrmAgent::closeSession, bytesOf(om::om_drm_session_t{session})), 0);
    auto const needed = viewer.recorder().takeEvent(om::OM_EVENT_KEY_NEEDED);
    ASSERT_TRUE(needed);
    EXPECT_EQ(needed->properties.at(om::OM_KEY_KEY_ID), kFilmKeyId);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED, om::OM_ACT_BUFFERING));
    EXPECT_THAT(viewer.position(), AllOf(Ge(1'000), Lt(9'900)));

    ASSERT_EQ(user.license(user.openSession(), kFilmLicense), 0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
}

TEST_F(DrmPlayback, wrongKeysAreAnError)
{
    for (om::om_stream_type_e const stream : {om::OM_STREAM_TYPE_VIDEO, om::OM_STREAM_TYPE_AUDIO})
    {
        SCOPED_TRACE(stream);
        Viewer viewer;
        DrmUser user(viewer);
        ASSERT_EQ(user.license(user.openSession(), kWrongLicense), 0);
        FilmFeeder feeder(viewer, m_film, user.agent().getAgentID());
        feeder.open(stream);
        auto const error = viewer.recorder().takeError();
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, om::OM_ERROR_WRONG_KEY);
        EXPECT_EQ(error->properties.count(om::OM_KEY_COMMAND), 0u);
        EXPECT_TRUE(viewer.recorder().takeState(om::OM_STATE_NULL));
        EXPECT_THAT(error->properties.at(om::OM_KEY_TEXT), testing::Not(HasSubstr("000000000001")));
    }
}

TEST_F(DrmPlayback, cryptoInformationIsCheckedBeforeAUnitIsTaken)
{
    Viewer viewer;
    Viewer other("other");
    DrmUser user(viewer);
    DrmUser stranger(other);
    DrmUser second(other);
    FilmFeeder feeder(viewer, m_film, user.agent().getAgentID());
    om::om_es_unit_t unit{};
    unit.stream_type = om::OM_STREAM_TYPE_VIDEO;
    om::om_drm_crypto_t good{};
    good.agent = user.agent().getAgentID();
    good.scheme = om::OM_DRM_SCHEME_CENC;
    good.iv_size = 8;
    auto const refusedWith = [&](std::string const& crypto, om::om_error_e code)
    {
        viewer.player().pushEsData("four", 4, &unit, sizeof unit, crypto.data(),
                                   static_cast<unsigned int>(crypto.size()), nullptr, 0);
        auto const error = viewer.recorder().takeError();
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, static_cast<int>(code));
        EXPECT_EQ(error->properties.at(om::OM_KEY_COMMAND), "pushEsData");
    };
    auto const with = [&](auto change)
    {
        om::om_drm_crypto_t changed = good;
        change(changed);
        return bytesOf(changed);
    };
    refusedWith(bytesOf(good), om::OM_ERROR_BAD_STATE); // nothing is open
    om::om_es_format_t format{};
    format.codec = om::OM_VIDEO_CODEC_H264;
    viewer.player().openEsMedia(&format, sizeof format, nullptr, 0, nullptr, 0);
    refusedWith("x", om::OM_ERROR_BAD_ARGUMENT);
    refusedWith(bytesOf(good).substr(1), om::OM_ERROR_BAD_ARGUMENT);
    refusedWith(bytesOf(good) + "x", om::OM_ERROR_BAD_ARGUMENT);
    refusedWith(with([](auto& crypto) { crypto.scheme = 3; }), om::OM_ERROR_NOT_SUPPORTED);
    refusedWith(with([](auto& crypto) { crypto.iv_size = 7; }), om::OM_ERROR_BAD_ARGUMENT);
    refusedWith(with([](auto& crypto) { crypto.subsamples = 1; }), om::OM_ERROR_BAD_ARGUMENT);
    refusedWith(with([](auto& crypto) { crypto.crypt_blocks = 1; }), om::OM_ERROR_BAD_ARGUMENT);
    refusedWith(with([](auto& crypto) { crypto.subsamples = 1; }) + bytesOf(om::om_drm_subsample_t{2, 3}),
                om::OM_ERROR_BAD_ARGUMENT);
    refusedWith(with([](auto& crypto) { crypto.subsamples = 1; }) + bytesOf(om::om_drm_subsample_t{5, UINT32_MAX}),
                om::OM_ERROR_BAD_ARGUMENT);
    refusedWith(with([](auto& crypto) { crypto.agent = 0; }), om::OM_ERROR_BAD_ARGUMENT);
    refusedWith(with([&](auto& crypto) { crypto.agent = second.agent().getAgentID(); }), om::OM_ERROR_BAD_ARGUMENT);
    viewer.player().pushEsData("four", 4, &unit, sizeof unit, &good, sizeof good, nullptr, 0);
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_KEY_NEEDED));
}

TEST_F(DrmPlayback, whatWaitsForAKeyIsBounded)
{
    Viewer viewer;
    DrmUser user(viewer);
    om::om_es_format_t format{};
    format.codec = om::OM_VIDEO_CODEC_H264;
    viewer.player().openEsMedia(&format, sizeof format, nullptr, 0, nullptr, 0);
    om::om_es_unit_t unit{};
    unit.stream_type = om::OM_STREAM_TYPE_VIDEO;
    om::om_drm_crypto_t crypto{};
    crypto.agent = user.agent().getAgentID();
    crypto.scheme = om::OM_DRM_SCHEME_CENC;
    crypto.iv_size = 8;
    std::string const block(8u << 20, 'x');
    for (int count = 0; count < 9; ++count)
    {
        viewer.player().pushEsData(block.data(), static_cast<unsigned int>(block.size()), &unit, sizeof unit, &crypto,
                                   sizeof crypto, nullptr, 0);
    }
    auto const error = viewer.recorder().takeError();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, om::OM_ERROR_LIMIT);
    viewer.player().stop(); // lets go of all that waits
    EXPECT_TRUE(viewer.recorder().takeState(om::OM_STATE_READY));
}

/// Sound that any bytes may be the beginning of.
class Noise
{
public:
    explicit Noise(Viewer& viewer)
        : m_viewer(viewer)
    {
        om::om_es_format_t format{};
        format.codec = om::OM_AUDIO_CODEC_MPEG1_LAYER3;
        format.sample_rate = 48'000;
        format.channels = 2;
        m_unit.stream_type = om::OM_STREAM_TYPE_AUDIO;
        m_unit.duration = 24'000;
        m_viewer.player().openEsMedia(nullptr, 0, &format, sizeof format, nullptr, 0);
    }

    void push(std::string const& data, std::string const& crypto = {}, unsigned int flags = 0)
    {
        m_unit.flags = flags;
        m_viewer.player().pushEsData(data.data(), static_cast<unsigned int>(data.size()), &m_unit, sizeof m_unit,
                                     crypto.data(), static_cast<unsigned int>(crypto.size()), nullptr, 0);
        m_unit.pts = m_unit.dts += m_unit.duration;
    }

    void pushSong(unsigned int flags = 0)
    {
        std::string const song = fileContent(media("a.mp3"));
        for (std::size_t at = 0; at < song.size(); at += kPiece)
        {
            push(song.substr(at, kPiece), {}, std::exchange(flags, 0));
        }
    }

private:
    static constexpr std::size_t kPiece = 384;

    Viewer& m_viewer;
    om::om_es_unit_t m_unit{};
};

TEST_F(DrmPlayback, keysThatComeAndGoDuringASeekAreFollowedOnce)
{
    Viewer viewer;
    DrmUser user(viewer);
    Noise sound(viewer);
    sound.pushSong();
    viewer.player().start(0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    viewer.player().seek(1'000, om::OM_SEEK_DEFAULT);
    auto const isSought = [](Note const& note)
    { return isEvent(note, om::OM_EVENT_NEED_DATA) && note.number(om::OM_KEY_POSITION) >= 0; };
    ASSERT_TRUE(viewer.recorder().take(isSought));
    sound.push("nothing", {}, om::OM_ES_DISCONTINUITY);
    om::om_drm_crypto_t crypto{};
    crypto.agent = user.agent().getAgentID();
    crypto.scheme = om::OM_DRM_SCHEME_CENC;
    crypto.iv_size = 8;
    constexpr int kTimes = 100;
    for (int time = 0; time < kTimes; ++time)
    {
        sound.push("noise", bytesOf(crypto));
        std::uint32_t const session = user.openSession();
        ASSERT_EQ(
            user.license(session,
                         R"({"keys":[{"kty":"oct","k":"AAAAAAAAAAAAAAAAAAAAAA","kid":"AAAAAAAAAAAAAAAAAAAAAA"}]})"),
            0);
        ASSERT_EQ(user.call(&om::OmIDrmAgent::closeSession, bytesOf(om::om_drm_session_t{session})), 0);
    }
    sound.pushSong();
    ASSERT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_SEEK_DONE));
    viewer.player().pause();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    auto const notes = viewer.recorder().notes();
    auto const isDone = [](Note const& note) { return isEvent(note, om::OM_EVENT_SEEK_DONE); };
    auto const done = std::find_if(notes.begin(), notes.end(), isDone);
    auto const isState = [](Note const& note) { return note.kind == Note::Kind::state; };
    EXPECT_LT(std::count_if(done, notes.end(), isState), kTimes / 10);
    auto const isNeeded = [](Note const& note) { return isEvent(note, om::OM_EVENT_KEY_NEEDED); };
    EXPECT_EQ(std::count_if(notes.begin(), notes.end(), isNeeded), kTimes);
}

} // namespace
} // namespace tz::orvane::test
