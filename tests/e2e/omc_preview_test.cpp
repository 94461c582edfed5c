// SPDX-License-Identifier: Apache-2.0
// The preview tool as a user and a script meet it.
#include "support/http_server.h"
#include "support/place.h"
#include "support/preview_service.h"
#include "support/previewer.h"
#include "support/scripted_service.h"
#include "support/tool_process.h"
#include "support/wait.h"

#include "protocol/om_protocol.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <system_error>
#include <vector>

namespace tz::orvane::test
{
namespace
{

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr char kTool[] = ORVANE_E2E_BINARIES "/tools/omc-preview";

class OmcPreview : public testing::Test
{
protected:
    OmcPreview()
    {
        ::unsetenv("ORVANE_SERVICE");
        ::unsetenv("DISPLAY");
    }

    static std::vector<std::string> command(std::vector<std::string> const& arguments)
    {
        std::vector<std::string> whole{kTool};
        whole.insert(whole.end(), arguments.begin(), arguments.end());
        return whole;
    }

    std::string inFolder(std::string const& name) const { return m_folder.path() + "/" + name; }

    /// Expects whole pictures in the folder, and nothing else.
    void expectPicturesOnly() const
    {
        for (std::string const& name : m_folder.names())
        {
            EXPECT_THAT(name, EndsWith(".jpg"));
            EXPECT_THAT(fileContent(inFolder(name)), EndsWith("\xFF\xD9")) << name;
        }
    }

    /// Files of the service's own.
    int picturesOfTheService() const { return previewFiles(m_place.path()); }

    std::uintmax_t bytesOfTheService() const
    {
        std::uintmax_t bytes = 0;
        for (auto const& entry : std::filesystem::directory_iterator(m_place.path()))
        {
            std::error_code gone;
            bool const isPicture = entry.path().filename().string().rfind("preview-", 0) == 0;
            std::uintmax_t const size = isPicture ? std::filesystem::file_size(entry.path(), gone) : 0;
            bytes += gone ? 0 : size;
        }
        return bytes;
    }

    /// @return whether the service makes no picture now
    bool isServiceIdle() const
    {
        for (pid_t const service : m_place.services())
        {
            for (pid_t const nursery : childrenOf(service))
            {
                if (!childrenOf(nursery).empty())
                {
                    return false;
                }
            }
        }
        return true;
    }

    Place m_place;
    TempDir m_folder;
};

TEST_F(OmcPreview, startsAServiceAndTellsWhatAFileIs)
{
    ToolProcess tool(command({media("a.mp3")}));
    EXPECT_EQ(tool.wait(), 0) << tool.err();
    EXPECT_THAT(tool.out(), StartsWith("File:        " + media("a.mp3") + "\nType:        audio\nTitle:       Tone\n"));
    EXPECT_THAT(tool.out(), HasSubstr("\nDuration:    0:03\n"));
    EXPECT_THAT(tool.out(), Not(HasSubstr("\x1b")));
    EXPECT_EQ(tool.err(), "");
    EXPECT_EQ(m_place.services().size(), 1u);
}

TEST_F(OmcPreview, writesAFrameAndReplacesAnOldPicture)
{
    std::string const picture = inFolder("still.png");
    std::ofstream(picture) << "old";
    ToolProcess tool(command({media("v.mp4"), "--at", "0:03.52", "--exact", "--size", "160x160", "-o", picture}));
    EXPECT_EQ(tool.wait(), 0) << tool.err();
    EXPECT_THAT(tool.out(), HasSubstr("\nPicture:     " + picture + " (160x90, at 0:03)\n"));
    Pixels const pixels = decoded(picture);
    EXPECT_EQ(pixels.width, 160);
    EXPECT_NEAR(barPosition(pixels), 105, 3);
    EXPECT_EQ(m_folder.names(), std::vector<std::string>{"still.png"});
}

TEST_F(OmcPreview, writesToStandardOutput)
{
    ToolProcess tool(command({media("v.mp4"), "-o", "-", "--format", "png"}));
    EXPECT_EQ(tool.wait(), 0) << tool.err();
    EXPECT_THAT(tool.out(), StartsWith("\x89PNG"));
}

TEST_F(OmcPreview, namesPicturesInAFolderAfterTheirMediaEachOnce)
{
    ToolProcess tool(command({media("v.mp4"), media("v.mkv"), media("p.png"), "-o", m_folder.path() + "/made/"}));
    EXPECT_EQ(tool.wait(), 0) << tool.err();
    for (char const* const name : {"v.jpg", "v-2.jpg", "p.jpg"})
    {
        EXPECT_EQ(decoded(inFolder("made/") + name).width, 320) << name;
    }
}

TEST_F(OmcPreview, aContactSheetShowsSoManyFrames)
{
    std::string const picture = inFolder("sheet.jpg");
    ToolProcess tool(command({media("v.mp4"), "--contact-sheet", "6", "--size", "80x80", "-o", picture}));
    EXPECT_EQ(tool.wait(), 0) << tool.err();
    Pixels const sheet = decoded(picture);
    EXPECT_EQ(sheet.width, 3 * 84 + 4);
    EXPECT_EQ(sheet.height, 2 * 49 + 4);
}

TEST_F(OmcPreview, aContactSheetMayHaveAHundredFrames)
{
    std::string const picture = inFolder("sheet.png");
    ToolProcess tool(command({media("v.mp4"), "--contact-sheet", "100", "--size", "16x16", "-o", picture}));
    EXPECT_EQ(tool.wait(), 0) << tool.err();
    EXPECT_EQ(decoded(picture).width, 10 * 20 + 4);
}

TEST_F(OmcPreview, printsALineOfJsonForEachMedium)
{
    ToolProcess tool(command({"--json", media("a.mp3"), media("garbage.mp4")}));
    EXPECT_EQ(tool.wait(), 1);
    std::string const lines = tool.out();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 2);
    EXPECT_THAT(lines, StartsWith("{\"uri\":\"" + media("a.mp3") + "\",\"ok\":true,\"type\":\"audio\""));
    EXPECT_THAT(lines, HasSubstr("\"title\":\"Tone\""));
    EXPECT_THAT(lines, HasSubstr("\n{\"uri\":\"" + media("garbage.mp4") + "\",\"ok\":false,\"error\":{\"code\":9,"));
}

TEST_F(OmcPreview, goesOnBehindWhatFailsAndSaysSo)
{
    ToolProcess tool(command({media("missing.mp4"), media("v.mp4"), media("garbage.mp4"), "-o", m_folder.path()}));
    EXPECT_EQ(tool.wait(), 1);
    EXPECT_THAT(tool.err(), HasSubstr("omc-preview: missing.mp4: "));
    EXPECT_THAT(tool.err(), HasSubstr("omc-preview: garbage.mp4: "));
    EXPECT_EQ(m_folder.names(), std::vector<std::string>{"v.jpg"});
}

TEST_F(OmcPreview, saysWhenThereIsNoPicture)
{
    ToolProcess tool(command({media("a.wav"), "-o", inFolder("a.jpg")}));
    EXPECT_EQ(tool.wait(), 1);
    EXPECT_THAT(tool.err(), HasSubstr("a.wav: "));
    EXPECT_THAT(tool.err(), HasSubstr("no picture"));
    EXPECT_TRUE(m_folder.names().empty());
}

TEST_F(OmcPreview, wrongUsageIsToldAtOnce)
{
    std::vector<std::vector<std::string>> const cases = {
        {},
        {"x.mp4", "--at", "noon"},
        {"x.mp4", "--at", "130%"},
        {"x.mp4", "--size", "10"},
        {"x.mp4", "--size", "0x0"},
        {""},
        {"x.mp4", "-o", ""},
        {"x.mp4", "--timeout", "0"},
        {"x.mp4", "--contact-sheet", "4"},
        {"x.mp4", "--contact-sheet", "0", "-o", "x.jpg"},
        {"x.mp4", "--contact-sheet", "1000", "-o", "x.jpg"},
        {"x.mp4", "-o", "x.gif"},
        {"x.mp4", "y.mp4", "-o", "x.jpg"},
        {"x.mp4", "y.mp4", "-o", "-"},
        {"x.mp4", "--json", "-o", "-"},
    };
    for (auto const& arguments : cases)
    {
        ToolProcess tool(command(arguments));
        EXPECT_EQ(tool.wait(), 2) << testing::PrintToString(arguments);
        EXPECT_NE(tool.err(), "");
        EXPECT_EQ(tool.out(), "");
    }
    EXPECT_TRUE(m_place.services().empty());
    ToolProcess help(command({"--help"}));
    EXPECT_EQ(help.wait(), 0);
    EXPECT_THAT(help.out(), HasSubstr("Examples:"));
}

TEST_F(OmcPreview, saysWhenNoServiceCanBeStarted)
{
    std::string const service = ORVANE_E2E_BINARIES "/service/nothing";
    ::setenv("ORVANE_SERVICE", service.c_str(), 1);
    ToolProcess tool(command({media("v.mp4")}));
    EXPECT_EQ(tool.wait(), 3);
    EXPECT_THAT(tool.err(), HasSubstr("omc-preview: "));
}

TEST_F(OmcPreview, endsWhenItsServiceDies)
{
    std::vector<std::string> arguments(300, media("v.mkv"));
    arguments.insert(arguments.end(), {"--exact", "--timeout", "120", "-o", m_folder.path()});
    ToolProcess tool(command(arguments));
    ASSERT_TRUE(eventually([this] { return m_folder.names().size() > 3; }));
    m_place.killServices();
    EXPECT_EQ(tool.wait(), 3);
    EXPECT_THAT(tool.err(), EndsWith("omc-preview: the media service is gone\n"));
    expectPicturesOnly();
}

TEST_F(OmcPreview, theServiceNeverHasManyPicturesOfARun)
{
    std::vector<std::string> arguments(80, media("red3x1.png"));
    arguments.insert(arguments.end(), {"--timeout", "120", "-o", m_folder.path()});
    ToolProcess tool(command(arguments));
    for (std::size_t const count : {16, 32, 48, 64}) // a sanitizer makes them slow
    {
        ASSERT_TRUE(eventually([this, count] { return m_folder.names().size() > count; }));
    }
    tool.signal(SIGSTOP);
    EXPECT_LT(picturesOfTheService(), 32);
    tool.signal(SIGCONT);
    EXPECT_EQ(tool.wait(), 0) << tool.err();
    EXPECT_EQ(m_folder.names().size(), 80u);
}

TEST_F(OmcPreview, worksAtAMediumForAsLongAsItWasTold)
{
    HttpServer server(ORVANE_E2E_MEDIA);
    auto const begin = std::chrono::steady_clock::now();
    ToolProcess tool(command({server.uri("hang/v.mp4"), "--timeout", "1"}));
    EXPECT_EQ(tool.wait(), 1);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(9)) << "as a rule it takes longer";
    EXPECT_THAT(tool.err(), HasSubstr("it takes too long"));
}

TEST_F(OmcPreview, getsMorePicturesThanTheServiceHasRoomFor)
{
    makeNoise(inFolder("noise.jpg"));
    std::vector<std::string> arguments(8, inFolder("noise.jpg"));
    arguments.insert(arguments.end(),
                     {"--size", "2048x2048", "--format", "png", "--timeout", "120", "-o", inFolder("made/")});
    ToolProcess tool(command(arguments));
    ASSERT_TRUE(eventually([this] { return bytesOfTheService() > 0; })); // it has long asked for all of them
    tool.signal(SIGSTOP);                                                // and takes none of them away
    for (int const count : {3, 5})                                       // each takes its time
    {
        ASSERT_TRUE(eventually([this, count] { return picturesOfTheService() >= count; }));
    }
    ASSERT_TRUE(eventually([this] { return isServiceIdle(); }));
    tool.signal(SIGCONT);
    EXPECT_EQ(tool.wait(), 0) << tool.err();
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(inFolder("made")), {}), 8);
}

TEST_F(OmcPreview, asksOnceMoreForEachThatIsRefusedForWantOfRoom)
{
    ScriptedService service;
    constexpr std::size_t kMedia = 10;
    std::vector<std::string> arguments;
    for (std::size_t i = 0; i < kMedia; ++i)
    {
        arguments.push_back("/film" + std::to_string(i) + ".mp4");
    }
    ToolProcess tool(command(arguments));
    service.waitForCode(protocol::kCmdRequestPreviewInfo, kMedia);
    std::map<std::string, int> asked;
    for (std::size_t i = 1; i <= 2 * kMedia; ++i)
    {
        RecordedMessage const request = service.waitForCode(protocol::kCmdRequestPreviewInfo, i);
        ++asked[request.arguments.at(0).asText()];
        if (i > kMedia)
        {
            EXPECT_EQ(service.count(protocol::kCmdRequestPreviewInfo), i) << "each is the only one";
        }
        auto const id = static_cast<unsigned int>(i); // they are given out in order
        service.postEvent(service.lastPeer().cnid, request.uid, protocol::kMsgPreviewInfo,
                          [&](mdt::MsgData& event)
                          {
                              event.writeUInt32(static_cast<unsigned int>(request.uid));
                              event.writeUInt32(id);
                              event.writeSInt32(om::OM_ERROR_LIMIT);
                              event.writeString("");
                              std::string const group = groupImage();
                              event.writeData(group.data(), static_cast<unsigned short>(group.size()));
                          });
    }
    EXPECT_EQ(tool.wait(), 1);
    EXPECT_EQ(service.count(protocol::kCmdRequestPreviewInfo), 2 * kMedia);
    EXPECT_EQ(asked.size(), kMedia);
    for (auto const& [uri, times] : asked)
    {
        EXPECT_EQ(times, 2) << uri;
    }
}

TEST_F(OmcPreview, replacesNoneOfItsMedia)
{
    std::filesystem::copy_file(media("p.png"), inFolder("p.png"));
    std::filesystem::copy_file(media("v.mp4"), inFolder("p.mp4"));
    std::string const before = fileContent(inFolder("p.png"));
    ToolProcess one(command({"file://" + inFolder("%70.png"), "-o", inFolder("p.png")}));
    EXPECT_EQ(one.wait(), 1);
    EXPECT_THAT(one.err(), HasSubstr("would replace a medium, " + inFolder("p.png")));
    ToolProcess two(command({inFolder("p.mp4"), inFolder("p.png"), "--format", "png", "-o", m_folder.path()}));
    EXPECT_EQ(two.wait(), 1);
    EXPECT_THAT(two.err(), HasSubstr("omc-preview: p.mp4: its picture would replace a medium, " + inFolder("p.png")));
    EXPECT_EQ(fileContent(inFolder("p.png")), before);
    EXPECT_EQ(m_folder.names(), (std::vector<std::string>{"p-2.png", "p.mp4", "p.png"}));
}

TEST_F(OmcPreview, aFolderThatCannotBeMadeEndsItAtOnce)
{
    ToolProcess tool(command({media("v.mp4"), media("p.png"), "-o", "/proc/missing/"}));
    EXPECT_EQ(tool.wait(), 1);
    EXPECT_EQ(tool.err(), "omc-preview: /proc/missing/ cannot be made: No such file or directory\n");
}

TEST_F(OmcPreview, saysWhenStandardOutputCannotBeWritten)
{
    for (std::string const tail : {"", " -o - --format png"})
    {
        ToolProcess tool({"/bin/sh", "-c", kTool + (" " + media("v.mp4")) + tail + " > /dev/full"});
        EXPECT_EQ(tool.wait(), 1);
        EXPECT_THAT(tool.err(), HasSubstr("standard output cannot be written: No space left on device\n"));
    }
}

TEST_F(OmcPreview, endsWithItsReader)
{
    // A pipe whose reader has gone.
    ToolProcess tool({"/bin/sh", "-c",
                      "mkfifo " + inFolder("pipe") + " && exec 3<>" + inFolder("pipe") + " 4>" + inFolder("pipe") +
                          " 3<&- && exec " + kTool + " " + media("a.mp3") + " >&4 4>&-"});
    EXPECT_EQ(tool.wait(), 128 + SIGPIPE);
    EXPECT_EQ(tool.err(), "");
}

TEST_F(OmcPreview, manyFilesShowABarOnATerminal)
{
    std::vector<std::string> arguments;
    for (int i = 0; i < 40; ++i)
    {
        arguments.push_back(media(i % 2 == 0 ? "v.mp4" : "exif.jpg"));
    }
    arguments.insert(arguments.end(), {"--timeout", "120", "-o", m_folder.path()});
    ToolProcess tool(command(arguments), ToolProcess::Output::terminal);
    EXPECT_TRUE(tool.waitFor("/40 ")) << tool.out();
    EXPECT_EQ(tool.wait(), 0);
    EXPECT_EQ(m_folder.names().size(), 40u);
}

TEST_F(OmcPreview, anInterruptionLeavesNoFileBehind)
{
    std::vector<std::string> arguments(300, media("v.mkv"));
    arguments.insert(arguments.end(), {"--exact", "--timeout", "120", "-o", m_folder.path()});
    ToolProcess tool(command(arguments));
    ASSERT_TRUE(eventually([this] { return m_folder.names().size() > 3; }));
    tool.signal(SIGINT);
    EXPECT_EQ(tool.wait(), 128 + SIGINT);
    expectPicturesOnly();
    EXPECT_TRUE(eventually([this] { return picturesOfTheService() == 0; }));
}

} // namespace
} // namespace tz::orvane::test
