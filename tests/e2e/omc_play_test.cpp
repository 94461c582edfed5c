// SPDX-License-Identifier: Apache-2.0
// The player for the terminal, as a user and a script meet it.
#include "support/http_server.h"
#include "support/place.h"
#include "support/temp_dir.h"
#include "support/tool_process.h"
#include "support/wait.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace tz::orvane::test
{
namespace
{

using testing::HasSubstr;
using testing::Not;

constexpr char kPlayer[] = ORVANE_E2E_BINARIES "/tools/omc-play";
constexpr char kHideCursor[] = "\x1b[?25l";
constexpr char kShowCursor[] = "\x1b[?25h";
constexpr char kRight[] = "\x1b[C";
constexpr char kSuspend[] = "\x1a";

std::string media(std::string const& name)
{
    return ORVANE_E2E_MEDIA "/" + name;
}

class OmcPlay : public testing::Test
{
protected:
    OmcPlay() { ::unsetenv("ORVANE_SERVICE"); }

    static std::vector<std::string> command(std::vector<std::string> const& arguments)
    {
        std::vector<std::string> whole{kPlayer, "--audio", "fake", "--video", "none", "--timeout", "50"};
        whole.insert(whole.end(), arguments.begin(), arguments.end());
        return whole;
    }

    Place m_place;
};

/// The same on a terminal, playing.
class OmcPlayOnATerminal : public OmcPlay
{
protected:
    bool hasLineEditing() const { return (m_player.terminalSettings().c_lflag & (ICANON | ECHO)) == (ICANON | ECHO); }

    explicit OmcPlayOnATerminal(std::string const& medium = "v.mp4")
        : m_player(command({media(medium)}), ToolProcess::Output::terminal)
    {
        EXPECT_TRUE(m_player.waitFor("playing")) << m_player.out();
    }

    /// Presses a key and waits for what it brings about.
    void expect(char const* key, char const* shown)
    {
        m_player.type(key);
        EXPECT_TRUE(m_player.waitFor(shown)) << m_player.out();
    }

    ToolProcess m_player;
};

/// With two tracks of sound and two of subtitles.
class OmcPlayWithTracks : public OmcPlayOnATerminal
{
protected:
    OmcPlayWithTracks()
        : OmcPlayOnATerminal("chapters.mkv")
    {
    }
};

TEST_F(OmcPlay, playsAFileToItsEndAndPrintsPlainLines)
{
    ToolProcess player(command({"--start", "8.5", media("v.mp4")}));
    EXPECT_EQ(player.wait(), 0) << player.err();
    EXPECT_THAT(player.out(), HasSubstr("opening " + media("v.mp4") + "\n"));
    EXPECT_THAT(player.out(), HasSubstr("H.264 320x180 25 fps, AAC 48000 Hz stereo\n"));
    EXPECT_THAT(player.out(), HasSubstr("\nplaying\n"));
    EXPECT_THAT(player.out(), HasSubstr("\n0:09 / 0:10\n"));
    EXPECT_THAT(player.out(), HasSubstr("\nfinished\n"));
    EXPECT_THAT(player.out(), Not(HasSubstr("\x1b")));
    EXPECT_EQ(player.err(), "");
}

TEST_F(OmcPlay, showsTheTitleWhereThereIsOne)
{
    ToolProcess player(command({media("a.mp3")}));
    EXPECT_TRUE(player.waitFor("opening " + media("a.mp3") + "\nTone\nMP3 44100 Hz mono\n")) << player.out();
}

TEST_F(OmcPlay, takesARelativePathFromItsOwnFolder)
{
    std::filesystem::current_path(ORVANE_E2E_MEDIA);
    ToolProcess player(command({"--info", "v.mp4"}));
    EXPECT_EQ(player.wait(), 0) << player.err();
}

TEST_F(OmcPlay, tellsAboutAFileWithoutPlayingIt)
{
    ToolProcess player(command({"--info", media("v.mp4")}));
    EXPECT_EQ(player.wait(), 0) << player.err();
    EXPECT_THAT(player.out(), HasSubstr("File:          " + media("v.mp4") + "\nType:          video\n"));
    EXPECT_THAT(player.out(), HasSubstr("\nDuration:      0:10.0"));
    EXPECT_THAT(player.out(), HasSubstr("\nResolution:    320x180\nFrame rate:    25 fps\n"));
    EXPECT_THAT(player.out(), HasSubstr("\nVideo:         H.264 320x180 25 fps\n"));
    EXPECT_THAT(player.out(), HasSubstr("\nAudio track 1: AAC 48000 Hz stereo"));
}

TEST_F(OmcPlay, tellsChaptersAndTracks)
{
    ToolProcess player(command({"--info", media("chapters.mkv")}));
    EXPECT_EQ(player.wait(), 0) << player.err();
    EXPECT_THAT(player.out(), HasSubstr("\nAudio track 2: MP3 44100 Hz mono, deu, audio/mpeg\n"));
    EXPECT_THAT(player.out(), HasSubstr("\nSubtitles 1:   eng, application/x-subrip\n"));
    EXPECT_THAT(player.out(), HasSubstr("\nChapter 2:     0:03.000 - 0:07.000, Middle\n"));
}

TEST_F(OmcPlay, tellsWhatAPhotoKnowsOfItself)
{
    ToolProcess player(command({"--info", media("exif.jpg")}));
    EXPECT_EQ(player.wait(), 0) << player.err();
    EXPECT_THAT(player.out(),
                HasSubstr("\nCamera:        Test Maker Model 1000\nTaken:         2024-02-03 04:05:06\n"));
    EXPECT_THAT(player.out(), HasSubstr("\nOrientation:   90 degrees\nLocation:      37.5665, 126.978, 38 m\n"));
}

TEST_F(OmcPlay, tellsItToProgramsToo)
{
    ToolProcess player(command({"--info", "--json", media("chapters.mkv"), media("none.mp4"), media("exif.jpg")}));
    EXPECT_EQ(player.wait(), 1);
    EXPECT_THAT(player.err(), HasSubstr("none.mp4: not found"));
    std::istringstream lines(player.out());
    std::string line;
    ASSERT_TRUE(std::getline(lines, line));
    auto const film = nlohmann::json::parse(line);
    EXPECT_EQ(film["uri"], media("chapters.mkv"));
    EXPECT_EQ(film["audio_tracks"][1]["language"], "deu");
    EXPECT_EQ(film["chapters"][2]["title"], "End");
    ASSERT_TRUE(std::getline(lines, line));
    auto const photo = nlohmann::json::parse(line);
    EXPECT_EQ(photo["type"], "photo");
    EXPECT_NEAR(photo["exif"]["latitude"], 37.5665, 0.0001);
    EXPECT_FALSE(std::getline(lines, line));
}

TEST_F(OmcPlay, wantsInfoForJson)
{
    ToolProcess player(command({"--json", media("v.mp4")}));
    EXPECT_EQ(player.wait(), 2);
}

TEST_F(OmcPlay, saysWhichFileIsMissing)
{
    ToolProcess player(command({"/no/such/file.mp4"}));
    EXPECT_EQ(player.wait(), 1);
    EXPECT_THAT(player.err(), HasSubstr("omc-play: file.mp4: not found"));
}

TEST_F(OmcPlay, saysThatNothingPlaysAScheme)
{
    ToolProcess player(command({"nothing://of/this"}));
    EXPECT_EQ(player.wait(), 1);
    EXPECT_THAT(player.err(), HasSubstr("omc-play: this: nothing plays addresses of this kind"));
}

TEST_F(OmcPlay, saysWhatIsNoMedium)
{
    TempDir const folder;
    std::string const file = folder.path() + "/notes.mp4";
    std::ofstream(file) << "This is no film.\n";
    ToolProcess player(command({file}));
    EXPECT_EQ(player.wait(), 1);
    EXPECT_THAT(player.err(), HasSubstr("omc-play: notes.mp4: not a medium that can be played"));
}

TEST_F(OmcPlay, playsTheNextFileWhenOneIsMissing)
{
    ToolProcess player(command({"--start", "9.5", "/no/such/file.mp4", media("v.mp4")}));
    EXPECT_EQ(player.wait(), 1);
    EXPECT_THAT(player.err(), HasSubstr("omc-play: file.mp4: not found"));
    EXPECT_THAT(player.out(), HasSubstr("finished\n"));
}

TEST_F(OmcPlay, waitsForAMediumAsLongAsItWasTold)
{
    HttpServer server(ORVANE_E2E_MEDIA);
    auto const begin = std::chrono::steady_clock::now();
    ToolProcess player({kPlayer, "--audio", "fake", "--video", "none", "--timeout", "1", server.uri("hang/v.mp4")});
    EXPECT_EQ(player.wait(), 1);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(9)) << "as a rule it takes longer";
    EXPECT_THAT(player.err(), HasSubstr("omc-play: v.mp4: "));
}

TEST_F(OmcPlay, refusesWrongUsage)
{
    ToolProcess withoutMedia(command({}));
    EXPECT_EQ(withoutMedia.wait(), 2);
    ToolProcess tooLoud(command({"--volume", "101", media("v.mp4")}));
    EXPECT_EQ(tooLoud.wait(), 2);
    EXPECT_EQ(tooLoud.out(), "");
}

TEST_F(OmcPlay, saysThatNoServiceCanBeStarted)
{
    ::setenv("ORVANE_SERVICE", "/no/such/service", 1);
    ToolProcess player(command({media("v.mp4")}));
    EXPECT_EQ(player.wait(), 3);
    EXPECT_EQ(player.err(), "omc-play: /no/such/service cannot be started: No such file or directory\n");
}

TEST_F(OmcPlay, saysThatAStartedServiceEndedAtOnce)
{
    ::setenv("ORVANE_SERVICE", "/bin/false", 1);
    ToolProcess player(command({media("v.mp4")}));
    EXPECT_EQ(player.wait(), 3);
    EXPECT_EQ(player.err(), "omc-play: the media service ended with status 1\n");
}

TEST_F(OmcPlay, saysWhatTheServiceMisses)
{
    TempDir const nothing;
    ::setenv("GST_PLUGIN_SYSTEM_PATH_1_0", nothing.path().c_str(), 1);
    ::setenv("GST_REGISTRY_1_0", (nothing.path() + "/registry").c_str(), 1);
    ToolProcess player(command({media("v.mp4")}));
    EXPECT_EQ(player.wait(), 3);
    EXPECT_EQ(player.err(),
              "omc-play: the media service ended with status 1: orvane-media-service: GStreamer's element "
              "playbin is not installed\n");
}

TEST_F(OmcPlay, saysThatTheSocketDirectoryIsOfNoUse)
{
    ::setenv("ORVANE_SOCKET_DIR", "/no/such/place", 1);
    ToolProcess player(command({media("v.mp4")}));
    EXPECT_EQ(player.wait(), 3);
    EXPECT_THAT(player.err(), HasSubstr("/no/such/place (from ORVANE_SOCKET_DIR) is not usable"));
}

TEST_F(OmcPlay, noticesTheDeathOfTheService)
{
    ToolProcess player(command({media("v.mp4")}));
    ASSERT_TRUE(player.waitFor("playing")) << player.err();
    m_place.killServices();
    EXPECT_EQ(player.wait(), 3);
    EXPECT_EQ(player.err(), "omc-play: the media service is gone\n");
    EXPECT_THAT(player.out(), Not(HasSubstr("finished")));
}

TEST_F(OmcPlay, sharesOneServiceWithAnotherThatStartsAtTheSameTime)
{
    ToolProcess one(command({"--start", "8", media("v.mp4")}));
    ToolProcess other(command({"--start", "8", media("v.mp4")}));
    ASSERT_TRUE(one.waitFor("playing")) << one.err();
    ASSERT_TRUE(other.waitFor("playing")) << other.err();
    EXPECT_TRUE(eventually([this] { return m_place.services().size() == 1; }));
    EXPECT_EQ(one.wait(), 0) << one.err();
    EXPECT_EQ(other.wait(), 0) << other.err();
}

TEST_F(OmcPlay, endsWithTheSignalThatInterruptsIt)
{
    for (int const signal : {SIGINT, SIGTERM})
    {
        ToolProcess player(command({media("v.mp4")}));
        ASSERT_TRUE(player.waitFor("playing")) << player.err();
        player.signal(signal);
        EXPECT_EQ(player.wait(), 128 + signal);
    }
}

TEST_F(OmcPlayOnATerminal, showsABarAndObeysKeys)
{
    EXPECT_TRUE(m_player.waitFor("[="));
    m_player.type(" ");
    EXPECT_TRUE(m_player.waitFor("paused ")) << m_player.out();
    m_player.type(".");
    m_player.type(" ");
    EXPECT_TRUE(m_player.waitFor("playing ")) << m_player.out();
    expect("]", " 2x ");
    m_player.type("q");
    EXPECT_EQ(m_player.wait(), 0);
}

TEST_F(OmcPlayOnATerminal, changesSoundAndPicture)
{
    m_player.type(" "); // the clip must not end meanwhile
    expect("m", "muted");
    expect("m", "vol 100");
    expect("r", "rotated 90");
    expect("z", "filled");
    expect("+", "zoom 150%");
    expect("-", "zoom 100%");
    expect("a", "no other sound");
    expect("s", "no subtitles");
    m_player.type("q");
    EXPECT_EQ(m_player.wait(), 0);
    EXPECT_THAT(m_player.out(), Not(HasSubstr("omc-play: "))) << "something was refused";
}

TEST_F(OmcPlayOnATerminal, playsBackwards)
{
    expect(" ", "paused "); // the clip must not end meanwhile
    m_player.type("...");
    expect("[", " 0.5x ");
    expect("[", " -1x ");
    m_player.type("q");
    EXPECT_EQ(m_player.wait(), 0);
    EXPECT_THAT(m_player.out(), Not(HasSubstr("omc-play: "))) << "something was refused";
}

TEST_F(OmcPlayWithTracks, goesThroughSoundAndSubtitles)
{
    expect("a", "audio 2/2, deu");
    expect("s", "subtitles 1/2, eng");
    expect("s", "subtitles 2/2, deu");
    expect("s", "subtitles off");
    m_player.type("q");
    EXPECT_EQ(m_player.wait(), 0);
    EXPECT_THAT(m_player.out(), Not(HasSubstr("omc-play: "))) << "something was refused";
}

TEST_F(OmcPlayOnATerminal, skipsToTheEndWithTheRightArrow)
{
    m_player.type(kRight);
    EXPECT_TRUE(m_player.waitFor("0:10 / 0:10")) << m_player.out();
    EXPECT_EQ(m_player.wait(), 0);
    EXPECT_THAT(m_player.out(), HasSubstr("finished"));
}

TEST_F(OmcPlayOnATerminal, givesTheTerminalBackWhenTheUserQuits)
{
    EXPECT_FALSE(hasLineEditing());
    m_player.type("\x1b");
    EXPECT_EQ(m_player.wait(), 0);
    EXPECT_TRUE(hasLineEditing());
    EXPECT_THAT(m_player.out(), HasSubstr(kShowCursor));
}

TEST_F(OmcPlayOnATerminal, givesTheTerminalBackWhenItIsInterrupted)
{
    m_player.type("\x03");
    EXPECT_EQ(m_player.wait(), 128 + SIGINT);
    EXPECT_TRUE(hasLineEditing());
    EXPECT_THAT(m_player.out(), HasSubstr(kShowCursor));
}

TEST_F(OmcPlayOnATerminal, givesTheTerminalBackWhenItCrashes)
{
    m_player.signal(SIGSEGV);
    EXPECT_NE(m_player.wait(), 0);
    EXPECT_TRUE(hasLineEditing());
}

TEST_F(OmcPlayOnATerminal, lendsTheTerminalWhileItIsStopped)
{
    m_player.type(kSuspend);
    ASSERT_TRUE(m_player.waitUntilStopped());
    EXPECT_TRUE(hasLineEditing());
    m_player.signal(SIGCONT);
    EXPECT_TRUE(m_player.waitFor(kHideCursor));
    EXPECT_TRUE(m_player.waitFor("playing")) << m_player.out();
    EXPECT_FALSE(hasLineEditing());
    m_player.type("q");
    EXPECT_EQ(m_player.wait(), 0);
}

TEST_F(OmcPlayOnATerminal, saysThatTheServiceDied)
{
    m_place.killServices();
    EXPECT_EQ(m_player.wait(), 3);
    EXPECT_THAT(m_player.out(), HasSubstr("omc-play: the media service is gone"));
    EXPECT_TRUE(hasLineEditing());
}

} // namespace
} // namespace tz::orvane::test
