// SPDX-License-Identifier: Apache-2.0
// Previews as an application gets them: pictures and what is told of a medium.
#include "support/preview_service.h"
#include "support/temp_dir.h"
#include "support/tool_process.h"
#include "support/wait.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace tz::orvane::test
{
namespace
{

class Preview : public WithPreviews
{
};

std::string at(int milliseconds)
{
    return std::to_string(milliseconds);
}

TEST_F(Preview, theExactFrameIsTheOneThatAnotherDecoderFinds)
{
    Previewer previewer;
    for (int const position : {0, 3520, 7000, 9960})
    {
        PreviewReply const reply = previewer.get(media("v.mp4"), position, om::OM_PREVIEW_EXACT, {{"format", "png"}});
        ASSERT_EQ(reply.code, om::OM_ERROR_NONE) << reply.at("text");
        EXPECT_EQ(reply.at("position"), at(position));
        EXPECT_EQ(reply.at("picture-size"), "320x180");
        Pixels const ours = decoded(reply.path);
        Pixels const theirs =
            decoded({"-ss", std::to_string(position / 1000.0), "-i", media("v.mp4"), "-vf", "scale=320:180"});
        EXPECT_LT(difference(ours, theirs), 3.0);
        EXPECT_NEAR(barPosition(ours), 0.03 * position, 2);
    }
}

TEST_F(Preview, withoutTheFlagItIsTheNearestKeyFrame)
{
    Previewer previewer;
    EXPECT_EQ(previewer.get(media("v.mp4"), 3400).at("position"), at(3000));
    EXPECT_EQ(previewer.get(media("v.mp4"), 3600).at("position"), at(4000));
    EXPECT_EQ(previewer.get(media("v.mp4"), 5000).at("position"), at(5000));
    PreviewReply const last = previewer.get(media("v.mkv"), 9900);
    EXPECT_NEAR(std::stoi(last.at("position")), 9000, 30); // its sound begins before its picture
    EXPECT_NEAR(barPosition(decoded(last.path)), 270, 2);
}

TEST_F(Preview, ofSeveralPicturesTheKeyFrameIsOneOfThatWhichIsShown)
{
    Previewer previewer;
    for (std::string const container : {".mp4", ".mkv"})
    {
        PreviewReply const rare = previewer.get(media("rare_often" + container), 4060);
        EXPECT_EQ(rare.at("picture-size"), "320x180") << rare.at("text");
        EXPECT_EQ(rare.at("position"), at(0)) << container;
        PreviewReply const exact = previewer.get(media("rare_often" + container), 4060, om::OM_PREVIEW_EXACT);
        EXPECT_EQ(exact.at("position"), at(4040)) << container;
        PreviewReply const often = previewer.get(media("often_rare" + container), 4060);
        EXPECT_EQ(often.at("picture-size"), "160x90") << often.at("text");
        EXPECT_EQ(often.at("position"), at(4000)) << container;
    }
}

TEST_F(Preview, aPositionMayBeAPartOfTheDuration)
{
    Previewer previewer;
    PreviewReply const reply =
        previewer.get(media("v.mkv"), 52, om::OM_PREVIEW_EXACT, {}, om::OM_LOCATION_MODE_PERCENT);
    EXPECT_NEAR(std::stoi(reply.at("position")), 5200, 40);
    EXPECT_NEAR(barPosition(decoded(reply.path)), 156, 3);
    PreviewReply const last =
        previewer.get(media("v.mp4"), 100, om::OM_PREVIEW_EXACT, {}, om::OM_LOCATION_MODE_PERCENT);
    EXPECT_EQ(last.at("position"), at(9960));
}

TEST_F(Preview, aPositionBehindTheEndIsTheLastFrame)
{
    Previewer previewer;
    PreviewReply const reply = previewer.get(media("v.mp4"), 60'000, om::OM_PREVIEW_EXACT);
    EXPECT_EQ(reply.code, om::OM_ERROR_NONE);
    EXPECT_EQ(reply.at("position"), at(9960));
}

TEST_F(Preview, behindTheEndOfThePictureItIsTheLastFrameTooAlsoWhileThereIsSound)
{
    Previewer previewer;
    Pixels const last = decoded({"-ss", "3.86", "-i", media("short_picture.mp4"), "-vf", "scale=320:180"});
    ASSERT_NEAR(barPosition(last), 116, 2);
    for (char const* const name : {"short_picture.mp4", "short_picture.mkv"})
    {
        for (int const position : {4300, 6000, 9900})
        {
            PreviewReply const reply = previewer.get(media(name), position, om::OM_PREVIEW_EXACT, {{"format", "png"}});
            ASSERT_EQ(reply.code, om::OM_ERROR_NONE) << reply.at("text");
            EXPECT_NEAR(std::stoi(reply.at("position")), 3880, 30) << name << position;
            EXPECT_LT(difference(decoded(reply.path), last), 3.0) << name << position;
        }
        PreviewReply const key = previewer.get(media(name), 6000);
        EXPECT_EQ(key.code, om::OM_ERROR_NONE) << key.at("text");
        EXPECT_NEAR(std::stoi(key.at("position")), 2000, 30) << name;
        PreviewReply const sheet = previewer.get(media(name), 0, om::OM_PREVIEW_EXACT, {{"frames", "4"}});
        EXPECT_EQ(sheet.at("picture-size"), "652x372") << name << ": " << sheet.at("text");
    }
}

TEST_F(Preview, itTellsWhatTheMediumIs)
{
    Previewer previewer;
    PreviewReply const video = previewer.get(media("multi.mp4"), 0, om::OM_PREVIEW_NO_PICTURE);
    EXPECT_EQ(video.code, om::OM_ERROR_NONE);
    EXPECT_EQ(video.path, "");
    EXPECT_EQ(video.at("media-type"), std::to_string(om::OM_MEDIA_TYPE_VIDEO));
    EXPECT_EQ(video.at("title"), "Test Title");
    EXPECT_EQ(video.at("artist"), "Test Artist");
    EXPECT_NEAR(std::stoi(video.at("duration")), 10'000, 100);
    EXPECT_EQ(video.at("file-size"), std::to_string(std::filesystem::file_size(media("multi.mp4"))));
    EXPECT_EQ(video.at("resolution"), "320x180");
    EXPECT_EQ(video.at("video-codec"), std::to_string(om::OM_VIDEO_CODEC_H264));
    EXPECT_EQ(video.at("audio-codec"), std::to_string(om::OM_AUDIO_CODEC_AAC_LC));
    EXPECT_EQ(video.at("mime-type"), "video/mp4");

    PreviewReply const sound = previewer.get(media("a.mp3"));
    EXPECT_EQ(sound.code, om::OM_ERROR_NONE);
    EXPECT_EQ(sound.path, "");
    EXPECT_EQ(sound.at("media-type"), std::to_string(om::OM_MEDIA_TYPE_AUDIO));
    EXPECT_EQ(sound.at("title"), "Tone");
    EXPECT_EQ(sound.at("artist"), "Nobody");
    EXPECT_EQ(sound.at("album"), "Album");
    EXPECT_EQ(sound.at("date").substr(0, 4), "2024");
    EXPECT_EQ(sound.at("audio-codec"), std::to_string(om::OM_AUDIO_CODEC_MPEG1_LAYER3));
    EXPECT_NEAR(std::stoi(sound.at("duration")), 3000, 100);
}

TEST_F(Preview, soundGivesItsCoverPicture)
{
    Previewer previewer;
    PreviewReply const reply = previewer.get(media("a.m4a"), 0, 0, {{"size", "32x32"}, {"format", "png"}});
    EXPECT_EQ(reply.code, om::OM_ERROR_NONE) << reply.at("text");
    EXPECT_EQ(reply.at("media-type"), std::to_string(om::OM_MEDIA_TYPE_AUDIO));
    EXPECT_EQ(reply.at("picture-size"), "32x32");
    Pixels const cover = decoded(reply.path);
    Pixels const original = decoded({"-i", media("cover.jpg"), "-vf", "scale=32:32"});
    EXPECT_LT(difference(cover, original), 3.0);
}

TEST_F(Preview, aPhotoStandsUpright)
{
    Previewer previewer;
    PreviewReply const plain = previewer.get(media("p.jpg"), 0, 0, {{"size", "160x160"}});
    EXPECT_EQ(plain.at("picture-size"), "160x90");
    EXPECT_EQ(corners(decoded(plain.path)), "rgbw");
    PreviewReply const png = previewer.get(media("p.png"), 50, 0, {}, om::OM_LOCATION_MODE_PERCENT);
    EXPECT_EQ(corners(decoded(png.path)), "rgbw");
    EXPECT_EQ(plain.at("media-type"), std::to_string(om::OM_MEDIA_TYPE_PHOTO));

    PreviewReply const turned = previewer.get(media("exif.jpg"), 0, 0, {{"size", "160x160"}});
    EXPECT_EQ(turned.at("picture-size"), "90x160");
    EXPECT_EQ(corners(decoded(turned.path)), "brwg");
    EXPECT_EQ(turned.at("rotation"), "90");
    EXPECT_EQ(turned.at("resolution"), "320x180");
    EXPECT_EQ(turned.at("date"), "2024-02-03T04:05:06");
}

TEST_F(Preview, aFilmThatWasTurnedStandsUprightAsAnotherDecoderShowsIt)
{
    Previewer previewer;
    PreviewReply const reply = previewer.get(media("rot90.mp4"), 0, 0, {{"size", "180x320"}, {"format", "png"}});
    EXPECT_EQ(reply.at("picture-size"), "180x320");
    EXPECT_EQ(corners(decoded(reply.path)), corners(decoded(media("rot90.mp4"))));
}

TEST_F(Preview, aPictureFitsIntoItsBoxAndKeepsItsShape)
{
    Previewer previewer;
    EXPECT_EQ(previewer.get(media("v.mp4"), 0, 0, {{"size", "100x100"}}).at("picture-size"), "100x56");
    EXPECT_EQ(previewer.get(media("v.mp4"), 0, 0, {{"size", "320x32"}}).at("picture-size"), "57x32");
    EXPECT_EQ(previewer.get(media("v.mp4"), 0, 0, {{"size", "4096x4096"}}).at("picture-size"), "320x180");
    PreviewReply const wide = previewer.get(media("sar.mp4"), 0, 0, {{"size", "128x128"}});
    EXPECT_EQ(wide.at("picture-size"), "128x70"); // 360x288 pixels that are 16:11
    EXPECT_EQ(wide.at("resolution"), "360x288");
}

TEST_F(Preview, theFormatIsTheOneAskedFor)
{
    Previewer previewer;
    auto const beginning = [](std::string const& path)
    {
        std::ifstream file(path);
        std::string bytes(4, '\0');
        file.read(bytes.data(), 4);
        return bytes;
    };
    EXPECT_EQ(beginning(previewer.get(media("v.mp4")).path).substr(0, 2), "\xff\xd8");
    EXPECT_EQ(beginning(previewer.get(media("v.mp4"), 0, 0, {{"format", "png"}}).path), "\x89PNG");
}

TEST_F(Preview, otherKindsOfFilmsGivePicturesToo)
{
    Previewer previewer;
    for (char const* const name : {"v.webm", "v.ts", "hdr.mp4", "chapters.mkv", "v_end.mp4"})
    {
        PreviewReply const reply = previewer.get(media(name), 1000, om::OM_PREVIEW_EXACT);
        EXPECT_EQ(reply.code, om::OM_ERROR_NONE) << name << ": " << reply.at("text");
        EXPECT_GT(decoded(reply.path).width, 0) << name;
    }
}

TEST_F(Preview, aSheetShowsFramesInTheirOrder)
{
    Previewer previewer;
    PreviewReply const reply = previewer.get(media("v.mp4"), 0, om::OM_PREVIEW_EXACT,
                                             {{"frames", "4"}, {"size", "160x160"}, {"format", "png"}});
    ASSERT_EQ(reply.code, om::OM_ERROR_NONE) << reply.at("text");
    EXPECT_EQ(reply.at("picture-size"), "332x192");
    Pixels const sheet = decoded(reply.path);
    auto const barIn = [&](int column, int row)
    {
        for (int x = 0; x < 160; ++x)
        {
            if (colorName(sheet.at(4 + column * 164 + x, 4 + row * 94 + 45)) == 'y')
            {
                return x * 2;
            }
        }
        return -1;
    };
    EXPECT_NEAR(barIn(0, 0), 37, 4);
    EXPECT_NEAR(barIn(1, 0), 112, 4);
    EXPECT_NEAR(barIn(0, 1), 187, 4);
    EXPECT_NEAR(barIn(1, 1), 262, 4);
}

TEST_F(Preview, whereNothingCanBeSoughtThereIsTheFirstFrameOnly)
{
    Previewer previewer;
    for (char const* const frames : {"1", "4"})
    {
        PreviewReply const reply = previewer.get(media("short.ts"), 2000, 0, {{"frames", frames}});
        EXPECT_EQ(reply.at("picture-size"), "320x180") << reply.at("text");
        EXPECT_EQ(barPosition(decoded(reply.path)), 0);
    }
}

TEST_F(Preview, idsAreGivenToRequestsInOrderAndOneMayBeNamed)
{
    Previewer previewer;
    unsigned int const first = previewer.tool().getRequestID();
    unsigned int const second = previewer.tool().getRequestID();
    unsigned int const third = previewer.tool().getRequestID();
    EXPECT_NE(first, 0u);
    previewer.askPlainly(media("v.mp4"), {{"request-id", std::to_string(second)}});
    EXPECT_EQ(previewer.take().id, second);
    previewer.askPlainly(media("v.mp4"));
    EXPECT_EQ(previewer.take().id, first);
    previewer.askPlainly(media("v.mp4"));
    EXPECT_EQ(previewer.take().id, third);
    previewer.askPlainly(media("v.mp4"));
    EXPECT_GT(previewer.take().id, third);

    previewer.askPlainly(media("v.mp4"), {{"request-id", std::to_string(second)}});
    PreviewReply const reply = previewer.take();
    EXPECT_EQ(reply.id, second);
    EXPECT_EQ(reply.code, om::OM_ERROR_BAD_ARGUMENT);
}

TEST_F(Preview, wrongRequestsAreAnswered)
{
    Previewer previewer;
    struct Case
    {
        long long position;
        int flags;
        Previewer::Properties properties;
        om::om_location_mode_e mode;
    };
    Case const cases[] = {
        {-1, 0, {}, om::OM_LOCATION_MODE_TIME},
        {101, 0, {}, om::OM_LOCATION_MODE_PERCENT},
        {0, 0, {}, static_cast<om::om_location_mode_e>(7)},
        {0, 64, {}, om::OM_LOCATION_MODE_TIME},
        {0, 0, {{"size", "0x0"}}, om::OM_LOCATION_MODE_TIME},
        {0, 0, {{"size", "100x"}}, om::OM_LOCATION_MODE_TIME},
        {0, 0, {{"size", "99999x99999"}}, om::OM_LOCATION_MODE_TIME},
        {0, 0, {{"format", "gif"}}, om::OM_LOCATION_MODE_TIME},
        {0, 0, {{"output-path", "relative.jpg"}}, om::OM_LOCATION_MODE_TIME},
        {0, 0, {{"frames", "101"}}, om::OM_LOCATION_MODE_TIME},
        {0, 0, {{"frames", "100"}, {"columns", "100"}}, om::OM_LOCATION_MODE_TIME},
        {0, 0, {{"timeout-ms", "1"}}, om::OM_LOCATION_MODE_TIME},
        {0, 0, {{"unheard-of", "1"}}, om::OM_LOCATION_MODE_TIME},
    };
    for (Case const& wrong : cases)
    {
        PreviewReply const reply =
            previewer.get(media("v.mp4"), wrong.position, wrong.flags, wrong.properties, wrong.mode);
        EXPECT_EQ(reply.code, om::OM_ERROR_BAD_ARGUMENT) << reply.at("text");
        EXPECT_EQ(reply.path, "");
    }
    EXPECT_EQ(previewer.get("v.mp4").code, om::OM_ERROR_BAD_ARGUMENT);
    EXPECT_EQ(previewer.get("gopher://host/v.mp4").code, om::OM_ERROR_UNKNOWN_SCHEME);
    om::OmPropertyGroup group;
    EXPECT_EQ(previewer.tool().doExtendCommand("unheard-of", group), -1);
    EXPECT_GE(previewer.status(om::OM_PREVIEW_KEY_SLOTS), 1);
    EXPECT_EQ(ownFiles(), 0);
}

TEST_F(Preview, thePictureMayGoToANamedFileThatDoesNotExist)
{
    TempDir folder;
    std::string const path = folder.path() + "/picture.jpg";
    {
        Previewer previewer;
        PreviewReply const reply = previewer.get(media("v.mp4"), 0, 0, {{"output-path", path}});
        EXPECT_EQ(reply.code, om::OM_ERROR_NONE) << reply.at("text");
        EXPECT_EQ(reply.path, path);
        EXPECT_EQ(decoded(path).width, 320);
        struct stat status
        {
        };
        ASSERT_EQ(stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777u, 0600u);

        auto const before = std::filesystem::last_write_time(path);
        EXPECT_EQ(previewer.get(media("v.mp4"), 0, 0, {{"output-path", path}}).code, om::OM_ERROR_FORBIDDEN);
        EXPECT_EQ(std::filesystem::last_write_time(path), before);

        std::string const link = folder.path() + "/link.jpg";
        std::filesystem::create_symlink(folder.path() + "/target.jpg", link);
        EXPECT_EQ(previewer.get(media("v.mp4"), 0, 0, {{"output-path", link}}).code, om::OM_ERROR_FORBIDDEN);
        EXPECT_FALSE(std::filesystem::exists(folder.path() + "/target.jpg"));

        std::string const nowhere = folder.path() + "/none/picture.jpg";
        EXPECT_EQ(previewer.get(media("v.mp4"), 0, 0, {{"output-path", nowhere}}).code, om::OM_ERROR_NOT_FOUND);

        std::string const broken = folder.path() + "/broken.jpg";
        EXPECT_NE(previewer.get(media("garbage.mp4"), 0, 0, {{"output-path", broken}}).code, om::OM_ERROR_NONE);
        EXPECT_FALSE(std::filesystem::exists(broken));
    }
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(Preview, aFileIsNotPutWhereTheServiceMayNotWrite)
{
    TempDir const folder;
    std::string place = folder.path();
    ASSERT_EQ(chmod(place.c_str(), 0500), 0);
    if (geteuid() == 0) // who may write everywhere but where nothing can be made
    {
        struct statfs system
        {
        };
        place = "/sys";
        if (statfs(place.c_str(), &system) != 0 || system.f_type != SYSFS_MAGIC)
        {
            GTEST_SKIP() << "there is no place where root may not write";
        }
    }
    Previewer previewer;
    EXPECT_EQ(previewer.get(media("v.mp4"), 0, 0, {{"output-path", place + "/picture.jpg"}}).code,
              om::OM_ERROR_FORBIDDEN);
}

TEST_F(Preview, aClientOfAnotherUserMayNotNameAFile)
{
    if (geteuid() != 0)
    {
        GTEST_SKIP() << "only root can play two users";
    }
    constexpr uid_t kOther = 65534;
    m_service.signal(SIGTERM);
    ASSERT_EQ(m_service.wait(), 0);
    ASSERT_EQ(chown(m_directory.path().c_str(), 0, kOther), 0);
    ASSERT_EQ(chmod(m_directory.path().c_str(), 02770), 0);
    ServiceProcess shared(serviceCommand()); // lets the group of its directory in
    ASSERT_TRUE(shared.waitUntilReady());

    TempDir const folder;
    ASSERT_EQ(chown(folder.path().c_str(), kOther, kOther), 0);
    ASSERT_EQ(setegid(kOther), 0);
    ASSERT_EQ(seteuid(kOther), 0);
    {
        Previewer previewer;
        PreviewReply const reply =
            previewer.get(media("v.mp4"), 0, 0, {{"output-path", folder.path() + "/picture.jpg"}});
        EXPECT_EQ(reply.code, om::OM_ERROR_FORBIDDEN);
        EXPECT_EQ(reply.at("text"), "the service runs as another user");
        EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
        EXPECT_EQ(previewer.get(media("v.mp4")).code, om::OM_ERROR_NONE);
    }
    ASSERT_EQ(seteuid(0), 0);
    ASSERT_EQ(setegid(0), 0);
}

TEST_F(Preview, theServiceKeepsOnlySoMuchUnlessItIsTakenAway)
{
    TempDir const folder;
    std::string const noise = folder.path() + "/noise.jpg";
    makeNoise(noise);
    Previewer previewer;
    auto const ask = [&](Previewer::Properties properties)
    {
        properties.emplace_back("size", "2048x2048");
        properties.emplace_back("format", "png");
        return previewer.get(noise, 0, 0, properties);
    };
    std::uintmax_t kept = 0;
    PreviewReply reply = ask({});
    std::string const first = reply.path;
    for (; reply.code == om::OM_ERROR_NONE; reply = ask({}))
    {
        kept += std::filesystem::file_size(reply.path);
        ASSERT_LE(kept, 64U << 20U);
    }
    EXPECT_EQ(reply.code, om::OM_ERROR_LIMIT);
    EXPECT_EQ(reply.at("text"), "too many pictures are kept for this tool");
    EXPECT_GT(kept, 48U << 20U);
    EXPECT_EQ(previewer.get(noise, 0, om::OM_PREVIEW_NO_PICTURE).code, om::OM_ERROR_NONE);
    EXPECT_EQ(ask({{"output-path", folder.path() + "/mine.png"}}).code, om::OM_ERROR_NONE);

    std::filesystem::copy(first, folder.path() + "/first.png");
    std::filesystem::remove(first);
    EXPECT_EQ(ask({}).code, om::OM_ERROR_NONE);
    EXPECT_EQ(ask({}).code, om::OM_ERROR_LIMIT);
}

TEST(KilledService, leavesPreviewsToBeRemovedByTheNextOne)
{
    SocketDir const directory;
    ServiceProcess service(serviceCommand());
    ASSERT_TRUE(service.waitUntilReady());
    Previewer previewer;
    EXPECT_NE(previewer.get(media("v.mp4")).path, "");
    service.signal(SIGKILL);
    EXPECT_EQ(service.wait(), 128 + SIGKILL);
    EXPECT_EQ(previewFiles(directory.path()), 1);
    ServiceProcess next(serviceCommand());
    ASSERT_TRUE(next.waitUntilReady());
    EXPECT_EQ(previewFiles(directory.path()), 0);
}

TEST_F(Preview, theServicesOwnFilesGoWithTheToolAndWithTheConnection)
{
    Previewer other;
    EXPECT_NE(other.get(media("v.mp4")).path, "");
    {
        Previewer previewer;
        PreviewReply const reply = previewer.get(media("v.mp4"));
        struct stat status
        {
        };
        ASSERT_EQ(stat(reply.path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777u, 0600u);
        EXPECT_EQ(ownFiles(), 2);
    }
    EXPECT_TRUE(eventually([this] { return ownFiles() == 1; }));
    other.connection().destroyPreviewTool();
    EXPECT_TRUE(eventually([this] { return ownFiles() == 0; }));
    EXPECT_NE(other.connection().createPreviewTool(nullptr), nullptr);
}

} // namespace
} // namespace tz::orvane::test
