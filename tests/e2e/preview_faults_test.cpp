// SPDX-License-Identifier: Apache-2.0
// Previews of what is broken, huge or endless, and those that are stopped or lose their process.
#include "support/preview_service.h"
#include "support/temp_dir.h"
#include "support/tool_process.h"
#include "support/wait.h"

#include "platform/src/unique_fd.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tz::orvane::test
{
namespace
{

using std::chrono::steady_clock;

class PreviewFaults : public WithPreviews
{
};

TEST_F(PreviewFaults, brokenFilesGiveTheirErrorAndNoFile)
{
    Previewer previewer;
    std::map<std::string, om::om_error_e> const cases = {
        {"garbage.mp4", om::OM_ERROR_UNSUPPORTED_FORMAT}, {"empty.mp4", om::OM_ERROR_UNSUPPORTED_FORMAT},
        {"text.txt", om::OM_ERROR_UNSUPPORTED_FORMAT},    {"no_index.mp4", om::OM_ERROR_BROKEN_FILE},
        {"missing.mp4", om::OM_ERROR_NOT_FOUND},          {"badcodec_only.mp4", om::OM_ERROR_UNSUPPORTED_CODEC},
    };
    for (auto const& [name, code] : cases)
    {
        PreviewReply const reply = previewer.get(media(name));
        EXPECT_EQ(reply.code, code) << name << ": " << reply.at("text");
        EXPECT_EQ(reply.path, "");
    }
    EXPECT_EQ(ownFiles(), 0);
}

TEST_F(PreviewFaults, aFileOfWhichNobodyReadsAnyMoreIsNotWaitedFor)
{
    TempDir const folder;
    std::string const path = folder.path() + "/begun.ogg";
    std::ofstream(path, std::ios::binary) << fileContent(media("a.ogg")).substr(0, 64);
    Previewer previewer;
    for (int i = 0; i < 20; ++i) // the fault comes too early now and then
    {
        PreviewReply const reply = previewer.get(path, 0, 0, {{"timeout-ms", "30000"}});
        ASSERT_EQ(reply.code, om::OM_ERROR_BROKEN_FILE) << reply.at("text");
    }
}

TEST_F(PreviewFaults, whatIsNoFileIsRefusedAtOnce)
{
    TempDir const folder;
    std::string const fifo = folder.path() + "/fifo.mp4";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    Previewer previewer;
    for (std::string const& path : {fifo, std::string("/dev/zero"), folder.path()})
    {
        EXPECT_EQ(previewer.get(path).code, om::OM_ERROR_UNSUPPORTED_FORMAT) << path;
    }
}

TEST_F(PreviewFaults, alsoTheLongestNameArrivesWhole)
{
    TempDir const folder;
    Previewer previewer;
    std::string const longest = "/" + std::string(8191, ' '); // each blank takes three bytes in a URI
    PreviewReply const reply = previewer.get(longest, 0, 0, {{"output-path", folder.path() + "/picture.jpg"}});
    EXPECT_EQ(reply.code, om::OM_ERROR_BROKEN_FILE);
    EXPECT_EQ(reply.at("text"), std::strerror(ENAMETOOLONG));
}

TEST_F(PreviewFaults, aServerThatStaysSilentCostsItsTimeOnly)
{
    Previewer previewer;
    auto const begin = steady_clock::now();
    PreviewReply const reply = previewer.get(m_server.uri("hang/v.mp4"), 0, 0, {{"timeout-ms", "700"}});
    EXPECT_EQ(reply.code, om::OM_ERROR_TIMED_OUT);
    EXPECT_GE(steady_clock::now() - begin, std::chrono::milliseconds(700));
    EXPECT_LT(steady_clock::now() - begin, std::chrono::seconds(10));
    EXPECT_TRUE(eventually([this] { return workers().empty(); }));
}

TEST_F(PreviewFaults, filesOfAServerGivePreviewsToo)
{
    Previewer previewer;
    PreviewReply const reply = previewer.get(m_server.uri("plain/v.mp4"), 5000);
    EXPECT_EQ(reply.code, om::OM_ERROR_NONE) << reply.at("text");
    EXPECT_EQ(reply.at("position"), "5000");
    EXPECT_EQ(previewer.get(m_server.uri("plain/none.mp4")).code, om::OM_ERROR_NOT_FOUND);
    EXPECT_EQ(previewer.get(HttpServer::refusedUri()).code, om::OM_ERROR_CONNECT_FAILED);
}

std::ptrdiff_t descriptorsOf(pid_t process)
{
    std::filesystem::directory_iterator const list("/proc/" + std::to_string(process) + "/fd");
    return std::distance(list, std::filesystem::directory_iterator());
}

std::string playlist(std::string const& segment)
{
    return "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:10\n#EXT-X-MEDIA-SEQUENCE:0\n#EXTINF:10.0,\n" + segment +
           "\n#EXT-X-ENDLIST\n";
}

TEST_F(PreviewFaults, aFileThatNamesOtherMediaLeadsNowhere)
{
    TempDir const folder;
    std::string const film = m_server.uri("plain/v.ts");
    std::map<std::string, std::string> const files = {
        {"list.m3u8", playlist(film)},
        {"local.m3u8", playlist("file://" + media("v.ts"))},
        {"variants.m3u8",
         "#EXTM3U\n#EXT-X-STREAM-INF:PROGRAM-ID=1,BANDWIDTH=100000\n" + m_server.uri("plain/x.m3u8") + "\n"},
        {"list.mpd",
         "<?xml version=\"1.0\"?>\n<MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" type=\"static\" "
         "mediaPresentationDuration=\"PT10S\"><Period><AdaptationSet mimeType=\"video/mp2t\"><Representation "
         "id=\"1\" bandwidth=\"100000\"><BaseURL>" +
             film + "</BaseURL></Representation></AdaptationSet></Period></MPD>\n"},
        {"list.sdp", "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\nm=video 5004 RTP/AVP 96\n"
                     "a=rtpmap:96 H264/90000\n"},
    };
    Previewer previewer;
    for (auto const& [name, content] : files)
    {
        std::string const path = folder.path() + "/" + name;
        std::ofstream(path) << content;
        PreviewReply const reply = previewer.get(path);
        EXPECT_EQ(reply.code, om::OM_ERROR_UNSUPPORTED_FORMAT) << name << ": " << reply.at("text");
        EXPECT_EQ(reply.at("text"), "a list of other media") << name;
    }
    EXPECT_EQ(m_server.requests(), 0);
}

/// Tells whether anybody opens a file.
class Lookout
{
public:
    explicit Lookout(std::string const& file)
        : m_fd(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        EXPECT_GE(inotify_add_watch(m_fd.get(), file.c_str(), IN_OPEN), 0);
    }

    /// @return whether it was opened since the last call
    bool hasSeen()
    {
        std::array<char, 4096> events{};
        return read(m_fd.get(), events.data(), events.size()) > 0;
    }

private:
    platform::UniqueFd m_fd;
};

TEST_F(PreviewFaults, aListOfAServerLeadsToServersOnly)
{
    TempDir const served;
    TempDir const local;
    std::string const film = local.path() + "/v.ts";
    HttpServer const server(served.path());
    std::filesystem::copy_file(media("v.ts"), served.path() + "/v.ts");
    std::filesystem::copy_file(media("v.ts"), film);
    std::ofstream(served.path() + "/good.m3u8") << playlist("v.ts");
    Previewer previewer;
    PreviewReply const good = previewer.get(server.uri("plain/good.m3u8"), 0, 0, {{"timeout-ms", "50000"}});
    EXPECT_EQ(good.code, om::OM_ERROR_NONE) << good.at("text");
    EXPECT_EQ(good.at("picture-size"), "320x180");

    Lookout lookout(film);
    EXPECT_EQ(previewer.get(film).code, om::OM_ERROR_NONE);
    EXPECT_TRUE(lookout.hasSeen());
    constexpr std::array<char const*, 3> kSchemes{"file", "multifile", "splitfile"};
    for (std::string const scheme : kSchemes)
    {
        std::ofstream(served.path() + "/" + scheme + ".m3u8") << playlist(scheme + "://" + film);
        previewer.ask(server.uri("plain/" + scheme + ".m3u8"), 0, 0, {{"timeout-ms", "50000"}});
    }
    for (std::size_t i = 0; i < kSchemes.size(); ++i)
    {
        PreviewReply const bad = previewer.take();
        EXPECT_EQ(bad.code, om::OM_ERROR_NOT_FOUND) << bad.at("text"); // and not for want of time
        EXPECT_EQ(bad.path, "");
    }
    EXPECT_FALSE(lookout.hasSeen());
}

std::string bigEndian(std::uint32_t value)
{
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
    {
        bytes += static_cast<char>(value >> static_cast<unsigned int>(shift));
    }
    return bytes;
}

std::string pngChunk(std::string const& type, std::string const& content)
{
    std::uint32_t sum = 0xFFFFFFFF;
    for (char const byte : type + content)
    {
        sum ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
        {
            sum = (sum >> 1u) ^ ((sum & 1u) != 0 ? 0xEDB88320u : 0u);
        }
    }
    return bigEndian(static_cast<std::uint32_t>(content.size())) + type + content + bigEndian(~sum);
}

TEST_F(PreviewFaults, aPictureThatClaimsToBeHugeTakesNothingDown)
{
    TempDir const folder;
    std::string const path = folder.path() + "/huge.png";
    std::string const header = bigEndian(60'000) + bigEndian(60'000) + std::string("\x08\x06\x00\x00\x00", 5);
    std::ofstream(path, std::ios::binary)
        << "\x89PNG\r\n\x1a\n"
        << pngChunk("IHDR", header) << pngChunk("IDAT", std::string("\x78\x9c\x63\x00\x00\x00\x01\x00\x01", 9));
    Previewer previewer;
    EXPECT_NE(previewer.get(path).code, om::OM_ERROR_NONE);
    EXPECT_EQ(previewer.get(media("v.mp4")).code, om::OM_ERROR_NONE);
}

TEST_F(PreviewFaults, aKilledWorkerEndsItsRequestOnly)
{
    Previewer previewer;
    pid_t const worker = hang(previewer, m_server.uri("hang/v.mp4"));
    ASSERT_GT(worker, 0);
    kill(worker, SIGKILL);
    EXPECT_EQ(previewer.take().code, om::OM_ERROR_INTERNAL);
    pid_t const before = nursery();
    EXPECT_EQ(previewer.get(media("v.mp4")).code, om::OM_ERROR_NONE);
    EXPECT_EQ(nursery(), before);
}

TEST_F(PreviewFaults, theProcessBehindAllWorkersIsStartedAnewWhenItIsKilled)
{
    Previewer previewer;
    ASSERT_GT(hang(previewer, m_server.uri("hang/v.mp4")), 0);
    pid_t const before = nursery();
    EXPECT_EQ(std::filesystem::hard_link_count("/proc/" + std::to_string(before) + "/task"), 3u); // one thread
    kill(before, SIGKILL);
    EXPECT_EQ(previewer.take().code, om::OM_ERROR_INTERNAL);
    EXPECT_EQ(previewer.get(media("v.mp4")).code, om::OM_ERROR_NONE);
    EXPECT_NE(nursery(), before);
    EXPECT_EQ(ownFiles(), 1);
}

TEST_F(PreviewFaults, requestsForOneUriAreStoppedWhereverTheyStand)
{
    Previewer previewer;
    std::string const first = m_server.uri("hang/a.mp4");
    std::string const second = m_server.uri("hang/b.mp4");
    ASSERT_GT(hang(previewer, first), 0);
    for (int i = 0; i < 10; ++i)
    {
        previewer.ask(i % 2 == 0 ? first : second, 0, 0, {{"timeout-ms", "60000"}});
    }
    EXPECT_EQ(previewer.tool().stopPreview(first), 0);
    for (int i = 0; i < 6; ++i)
    {
        EXPECT_EQ(previewer.take().code, om::OM_ERROR_STOPPED);
    }
    auto const left = [&]
    { return previewer.status(om::OM_PREVIEW_KEY_WAITING) + previewer.status(om::OM_PREVIEW_KEY_RUNNING); };
    EXPECT_TRUE(eventually([&] { return left() == 5; })) << "one that starts between the questions counts twice";

    om::OmPropertyGroup none;
    EXPECT_EQ(previewer.tool().stopPreviewAll(none), 0);
    for (int i = 0; i < 5; ++i)
    {
        EXPECT_EQ(previewer.take().code, om::OM_ERROR_STOPPED);
    }
    EXPECT_TRUE(eventually([this] { return workers().empty(); }));
    EXPECT_EQ(previewer.status(om::OM_PREVIEW_KEY_RUNNING), 0);
    EXPECT_EQ(previewer.get(media("v.mp4")).code, om::OM_ERROR_NONE);
}

TEST_F(PreviewFaults, aFileIsStoppedByItsPathAndByItsUri)
{
    TempDir const folder;
    Previewer previewer;
    ASSERT_GT(hang(previewer, m_server.uri("hang/a.mp4")), 0);
    ASSERT_GT(hang(previewer, m_server.uri("hang/b.mp4")), 0);
    for (int i = previewer.status(om::OM_PREVIEW_KEY_SLOTS); i > 0; --i)
    {
        previewer.ask(m_server.uri("hang/c.mp4"), 0, 0, {{"timeout-ms", "60000"}});
    }
    unsigned int const waiting = previewer.ask(media("v.mp4"));
    EXPECT_EQ(previewer.tool().stopPreview("file://" + media("v.mp4")), 0);
    PreviewReply const reply = previewer.take();
    EXPECT_EQ(reply.id, waiting);
    EXPECT_EQ(reply.code, om::OM_ERROR_STOPPED);
}

TEST_F(PreviewFaults, whatRunsEndsWithItsConnection)
{
    {
        Previewer previewer;
        ASSERT_GT(hang(previewer, m_server.uri("hang/v.mp4")), 0);
    }
    EXPECT_TRUE(eventually([this] { return workers().empty() && ownFiles() == 0; }));
}

TEST_F(PreviewFaults, aConnectionThatFloodsDoesNotKeepAnotherWaiting)
{
    Previewer flooder;
    constexpr int kFlood = 60;
    for (int i = 0; i < kFlood; ++i)
    {
        flooder.ask(m_server.uri("hang/v.mp4"), 0, 0, {{"timeout-ms", "1000"}});
    }
    Previewer other;
    EXPECT_EQ(other.get(media("v.mp4")).code, om::OM_ERROR_NONE);
    EXPECT_GT(flooder.status(om::OM_PREVIEW_KEY_WAITING), kFlood / 3);
    om::OmPropertyGroup none;
    flooder.tool().stopPreviewAll(none);
    for (int i = 0; i < kFlood; ++i)
    {
        flooder.take();
    }
}

TEST_F(PreviewFaults, moreThanMayWaitIsRefused)
{
    Previewer previewer;
    for (int i = 0; i < 1100; ++i)
    {
        previewer.askPlainly(m_server.uri("hang/v.mp4"), {{"timeout-ms", "60000"}});
    }
    EXPECT_EQ(previewer.take().code, om::OM_ERROR_LIMIT);
}

TEST_F(PreviewFaults, aPlayerPlaysOnBesideThem)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media("v.mp4")));
    viewer.player().start(6000);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    Previewer previewer;
    constexpr int kMany = 40;
    for (int i = 0; i < kMany; ++i)
    {
        previewer.ask(media(i % 4 == 0 ? "no_index.mp4" : "v.mkv"), 250LL * i, om::OM_PREVIEW_EXACT);
    }
    for (int i = 0; i < kMany; ++i)
    {
        previewer.take();
    }
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
    auto const notes = viewer.recorder().notes();
    EXPECT_TRUE(
        std::none_of(notes.begin(), notes.end(), [](Note const& note) { return note.kind == Note::Kind::error; }));
}

TEST_F(PreviewFaults, ofTwoHundredGoodAndBrokenFilesNothingIsLostAndNothingLeft)
{
    struct Kind
    {
        char const* name;
        bool good;
    };
    constexpr std::array<Kind, 10> kKinds{{{"v.mp4", true},
                                           {"garbage.mp4", false},
                                           {"a.mp3", true},
                                           {"exif.jpg", true},
                                           {"no_index.mp4", false},
                                           {"v.webm", true},
                                           {"missing.mp4", false},
                                           {"a.m4a", true},
                                           {"badcodec_only.mp4", false},
                                           {"v.ts", true}}};
    constexpr std::size_t kFiles = 200;
    std::ptrdiff_t const before = descriptorsOf(m_service.pid());
    {
        Previewer previewer;
        std::map<unsigned int, Kind> asked;
        for (std::size_t i = 0; i < kFiles; ++i)
        {
            Kind const& kind = kKinds[i % kKinds.size()];
            asked[previewer.ask(media(kind.name), 1000)] = kind;
        }
        for (std::size_t i = 0; i < kFiles; ++i)
        {
            PreviewReply const reply = previewer.take();
            auto const found = asked.find(reply.id);
            ASSERT_NE(found, asked.end());
            EXPECT_EQ(reply.code == om::OM_ERROR_NONE, found->second.good) << found->second.name << reply.at("text");
            asked.erase(found);
        }
        EXPECT_TRUE(asked.empty());
        EXPECT_EQ(ownFiles(), 100);
    }
    EXPECT_TRUE(eventually([this] { return ownFiles() == 0 && workers().empty(); }));
    constexpr std::ptrdiff_t kNurseries = 1; // one socket to the process that makes previews
    EXPECT_TRUE(eventually([&] { return descriptorsOf(m_service.pid()) <= before + kNurseries; }));
}

} // namespace
} // namespace tz::orvane::test
