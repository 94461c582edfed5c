// SPDX-License-Identifier: Apache-2.0
// Protected films: what is decrypted is the clear film, and it plays when there are keys.
#include "support/drm_user.h"
#include "support/protected_film.h"
#include "support/tool_process.h"
#include "support/wait.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <sstream>

namespace tz::orvane::test
{
namespace
{

using testing::AllOf;
using testing::Ge;
using testing::HasSubstr;
using testing::Le;

class DrmPlayback : public WithService
{
protected:
    std::string m_film = protectedFilm();
};

void save(std::string const& path, std::string const& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

/// The third buffer of openEsMedia with one property.
std::string optionImage(std::string const& key, std::string const& value)
{
    om::OmPropertyGroup options;
    options.add(key, value);
    char* image = nullptr;
    int size = 0;
    options.getData(&image, &size);
    return {image, static_cast<std::size_t>(size)};
}

/// Digests of all packets, or of all pictures and sounds, as another program sees them.
std::string digests(std::string const& path, std::vector<std::string> const& input,
                    std::vector<std::string> const& output)
{
    std::vector<std::string> command{"/usr/bin/env", "ffmpeg", "-hide_banner", "-loglevel", "error", "-nostdin"};
    command.insert(command.end(), input.begin(), input.end());
    command.insert(command.end(), {"-i", path, "-map", "0"});
    command.insert(command.end(), output.begin(), output.end());
    command.insert(command.end(), {"-f", "framemd5", "-"});
    ToolProcess tool(command);
    EXPECT_EQ(tool.wait(), 0) << tool.err();
    EXPECT_EQ(tool.err(), "");
    std::istringstream lines(tool.out());
    std::string result;
    for (std::string line; std::getline(lines, line);)
    {
        result += line.substr(0, line.find(", S=")) + "\n"; // without what a packet says beside its bytes
    }
    return result;
}

/// The beginning of a film with its first fragment: of more, ffmpeg confuses what they are encrypted with.
std::string firstFragment(std::string const& film)
{
    return film.substr(0, film.find("moof", film.find("moof") + 4) - 4);
}

TEST_F(DrmPlayback, theFilmOfTheseTestsIsAProtectedFilmToOthersAsWell)
{
    std::string const path = m_directory.path() + "/film.mp4";
    std::string const clearPath = m_directory.path() + "/clear.mp4";
    save(path, firstFragment(m_film));
    save(clearPath, firstFragment(fileContent(media("vfrag.mp4"))));
    std::string const found = digests(path, {"-decryption_key", kFilmKey}, {"-c", "copy"});
    EXPECT_THAT(found, HasSubstr("\n0,")); // pictures
    EXPECT_EQ(found, digests(clearPath, {}, {"-c", "copy"}));
}

TEST_F(DrmPlayback, everyAccessUnitIsDecryptedToThatOfTheClearFilm)
{
    Viewer viewer;
    DrmUser user(viewer);
    ASSERT_EQ(user.license(user.openSession(), kFilmLicense), 0);
    auto const film = example::readFragments(m_film);
    std::string const clearFile = fileContent(media("vfrag.mp4"));
    auto const clear = example::readFragments(clearFile);
    ASSERT_TRUE(film && clear);
    ASSERT_EQ(film->samples.size(), clear->samples.size());
    EXPECT_GE(film->samples.size(), 700u);
    std::string decrypted = clearFile;
    std::size_t changed = 0;
    for (std::size_t at = 0; at < film->samples.size(); ++at)
    {
        example::Sample const& sample = film->samples[at];
        std::string const bytes = m_film.substr(sample.offset, sample.size);
        std::string const expected = clearFile.substr(clear->samples[at].offset, clear->samples[at].size);
        ASSERT_EQ(user.call(&om::OmIDrmAgent::decrypt, cryptoBuffer(film->tracks[sample.track], sample, 0) + bytes), 0);
        ASSERT_TRUE(user.answer() == expected) << "unit " << at;
        EXPECT_EQ(sample.unit.pts, clear->samples[at].unit.pts);
        changed += bytes == expected ? 0 : 1;
        decrypted.replace(clear->samples[at].offset, sample.size, user.answer());
    }
    EXPECT_EQ(changed, film->samples.size()) << "all units were protected";

    // And picture by picture, as a decoder sees them.
    std::string const path = m_directory.path() + "/decrypted.mp4";
    save(path, decrypted);
    EXPECT_EQ(digests(path, {}, {}), digests(media("vfrag.mp4"), {}, {}));
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
        EXPECT_FALSE(note.kind == Note::Kind::event && note.code == om::OM_EVENT_KEY_NEEDED);
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
    DrmUser user(viewer);
    std::uint32_t const session = user.openSession();
    FilmFeeder feeder(viewer, m_film, user.agent().getAgentID());
    feeder.open(om::OM_STREAM_TYPE_VIDEO, optionImage(om::OM_PREPARE_KEY_TIMEOUT, "4000"));
    auto const needed = viewer.recorder().takeEvent(om::OM_EVENT_KEY_NEEDED);
    ASSERT_TRUE(needed);
    EXPECT_EQ(needed->number(om::OM_KEY_STREAM), om::OM_STREAM_TYPE_VIDEO);
    EXPECT_EQ(needed->number(om::OM_KEY_AGENT), user.agent().getAgentID());
    EXPECT_EQ(needed->properties.at(om::OM_KEY_KEY_ID), kFilmKeyId);

    // More time than an opening may take.
    auto const since = std::chrono::steady_clock::now();
    EXPECT_TRUE(eventually([&] { return std::chrono::steady_clock::now() - since > std::chrono::seconds(5); }));
    EXPECT_EQ(viewer.state(), om::OM_STATE_READY);

    ASSERT_EQ(user.license(session, kFilmLicense), 0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    viewer.player().start(0);
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
    int told = 0;
    for (Note const& note : viewer.recorder().notes())
    {
        told += note.kind == Note::Kind::event && note.code == om::OM_EVENT_KEY_NEEDED ? 1 : 0;
    }
    EXPECT_EQ(told, 1);
}

TEST_F(DrmPlayback, aKeyThatIsMissingInTheMiddleHoldsThePlayingUntilItComes)
{
    Viewer viewer;
    DrmUser user(viewer);
    std::uint32_t const session = user.openSession();
    ASSERT_EQ(user.license(session, kFilmLicense), 0);
    // From the fourth second on the key has another id.
    auto const otherKey = [](example::Sample const& sample, std::string& crypto)
    {
        if (sample.unit.dts >= 4'000'000)
        {
            crypto.replace(offsetof(om::om_drm_crypto_t, key_id), 16, 16, 'k');
        }
    };
    FilmFeeder feeder(viewer, m_film, user.agent().getAgentID(), otherKey);
    feeder.open();
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED));
    viewer.player().start(0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    auto const needed = viewer.recorder().takeEvent(om::OM_EVENT_KEY_NEEDED);
    ASSERT_TRUE(needed);
    EXPECT_EQ(needed->properties.at(om::OM_KEY_KEY_ID), "6b6b6b6b6b6b6b6b6b6b6b6b6b6b6b6b");
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED, om::OM_ACT_BUFFERING));
    ASSERT_EQ(user.license(session,
                           R"({"keys":[{"kty":"oct","k":"dqbGXF6nYgRr10mi5jLMuw","kid":"a2tra2tra2tra2tra2traw"}]})"),
              0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    auto const end = viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM);
    ASSERT_TRUE(end);
    EXPECT_THAT(end->number(om::OM_KEY_POSITION), AllOf(Ge(9'900), Le(10'200)));
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

} // namespace
} // namespace tz::orvane::test
