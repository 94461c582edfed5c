// SPDX-License-Identifier: Apache-2.0
// Files of every kind, from their opening to their end, and what is no file to be played.
#include "support/viewer.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace tz::orvane::test
{
namespace
{

using testing::AllOf;
using testing::Ge;
using testing::Le;

class Kinds : public WithService
{
};

class KindOf : public Kinds, public testing::WithParamInterface<char const*>
{
};

TEST_P(KindOf, opensPlaysAndEnds)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media(GetParam())));
    om::om_media_info_t const info = viewer.recorder().mediaInfo();
    viewer.player().start(info.duration - 1'900);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    auto const time = viewer.recorder().takePlayTime();
    ASSERT_TRUE(time);
    EXPECT_THAT(time->value, AllOf(Ge(info.duration - 2'000), Le(info.duration)));
    auto const end = viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM);
    ASSERT_TRUE(end);
    EXPECT_THAT(end->number(om::OM_KEY_POSITION), AllOf(Ge(info.duration - 100), Le(info.duration + 100)));
    EXPECT_TRUE(viewer.recorder().takeState(om::OM_STATE_PAUSED, om::OM_ACT_ENDED));
}

class PhotoOf : public Kinds, public testing::WithParamInterface<char const*>
{
};

TEST_P(PhotoOf, opensAndStays)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open(media(GetParam())));
    EXPECT_EQ(viewer.recorder().mediaInfo().media_type, om::OM_MEDIA_TYPE_PHOTO);
    EXPECT_EQ(viewer.player().isSeekable(), 0);
    viewer.player().start(0);
    ASSERT_TRUE(viewer.recorder().takeState(om::OM_STATE_PLAYING));
    for (int count = 0; count < 4; ++count)
    {
        ASSERT_TRUE(viewer.recorder().takePlayTime());
    }
    for (Note const& note : viewer.recorder().notes())
    {
        EXPECT_FALSE(note.kind == Note::Kind::event && note.code == om::OM_EVENT_END_OF_STREAM);
    }
    EXPECT_EQ(viewer.state(), om::OM_STATE_PLAYING);
}

std::string nameOf(testing::TestParamInfo<char const*> const& info)
{
    std::string name = info.param;
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(File, KindOf,
                         testing::Values("v.mp4", "v.mkv", "v.webm", "v.ts", "a.mp3", "chapters.mp3", "a.flac",
                                         "named.flac", "a.ogg", "a.wav", "a.m4a", "hdr.mp4", "sar.mp4"),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(File, PhotoOf, testing::Values("p.jpg", "p.png"), nameOf);

TEST_F(Kinds, aSchemeIsKnownInCapitalsToo)
{
    Viewer viewer;
    ASSERT_TRUE(viewer.open("FILE://" + media("multi.mp4")));
    om::om_chapter_info_t chapter{};
    EXPECT_EQ(viewer.player().getCharpterInfo(chapter), 0) << "it is known to be a local file";
    viewer.player().start(9'500);
    EXPECT_TRUE(viewer.recorder().takeEvent(om::OM_EVENT_END_OF_STREAM));
}

TEST_F(Kinds, whatIsNoRegularFileIsRefusedAtOnce)
{
    TempDir folder;
    std::string const fifo = folder.path() + "/fifo.mp4";
    std::string const link = folder.path() + "/link.mp4";
    std::string const socketPath = folder.path() + "/socket.mp4";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    ASSERT_EQ(symlink(fifo.c_str(), link.c_str()), 0);
    int const fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr const*>(&address), sizeof address), 0);

    Viewer viewer;
    for (std::string const& uri :
         {fifo, "file://" + fifo, link, folder.path(), socketPath, std::string("/dev/zero"), std::string("/dev/null")})
    {
        SCOPED_TRACE(uri);
        viewer.prepare(uri);
        auto const error = viewer.recorder().takeError();
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, static_cast<int>(om::OM_ERROR_UNSUPPORTED_FORMAT));
        EXPECT_TRUE(viewer.recorder().takeState(om::OM_STATE_NULL));
    }
    viewer.prepare(folder.path() + "/nothing.mp4");
    auto const error = viewer.recorder().takeError();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, static_cast<int>(om::OM_ERROR_NOT_FOUND));
    close(fd);
}

} // namespace
} // namespace tz::orvane::test
