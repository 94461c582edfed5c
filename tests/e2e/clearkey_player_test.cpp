// SPDX-License-Identifier: Apache-2.0
// The example that plays protected films, as a process beside the service.
#include "support/picture.h"
#include "support/protected_film.h"
#include "support/tool_process.h"
#include "support/wait.h"
#ifdef ORVANE_E2E_CBCS
#include "support/cbcs_film.h"
#endif

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <fstream>

namespace tz::orvane::test
{
namespace
{

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr char kRequest[] = R"(license request: {"kids":["p-YcNz4hkDPCEJH6YHvzuA"],"type":"temporary"})"
                            "\n";

/// The program with its service.
class ClearKeyPlayer : public testing::Test
{
protected:
    ClearKeyPlayer()
        : m_service(serviceCommand())
    {
    }

    void SetUp() override { ASSERT_TRUE(m_service.waitUntilReady()); }

    std::string save(std::string const& bytes) const
    {
        std::string const path = m_directory.path() + "/film.mp4";
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }

    static std::vector<std::string> command(std::string const& path, std::string const& license = kFilmLicense)
    {
        return {ORVANE_E2E_BINARIES "/examples/clearkey_player", path, license};
    }

    /// Expects a failure that is told in one line.
    static void expectFailure(ToolProcess& player, std::string const& text)
    {
        EXPECT_EQ(player.wait(), 1);
        EXPECT_THAT(player.err(), EndsWith("\n"));
        std::string const err = player.err();
        std::string const last = err.substr(err.rfind("clearkey_player: "));
        EXPECT_THAT(last, HasSubstr(text));
        EXPECT_EQ(std::count(last.begin(), last.end(), '\n'), 1) << err;
        EXPECT_THAT(player.out(), Not(HasSubstr("played")));
    }

    SocketDir m_directory;
    ServiceProcess m_service;
};

/// The bar of these films moves to the right: it is not where they begin.
bool showsTheFilm(Picture const& picture)
{
    bool hasMoved = false;
    for (int x = 45; x < 300; x += 3)
    {
        hasMoved = hasMoved || picture.at(x, 90) == kYellow;
    }
    return hasMoved && picture.at(80, 40) == kRed && picture.at(240, 140) == kWhite;
}

/// Looks at the screen until the film is seen there. @return false when it ends before
bool isSeenPlaying(ToolProcess& player)
{
    Viewer viewer;
    while (player.err().empty() && player.out().find("played") == std::string::npos)
    {
        if (showsTheFilm(screenshot(viewer)))
        {
            return true;
        }
    }
    return false;
}

TEST_F(ClearKeyPlayer, getsTheKeyWhenItIsNeededAndShowsTheFilm)
{
    ToolProcess player(command(save(protectedFilm())));
    EXPECT_TRUE(isSeenPlaying(player));
    EXPECT_EQ(player.wait(), 0) << player.err();
    EXPECT_THAT(player.out(), EndsWith(std::string(kRequest) + "played\n"));
    EXPECT_THAT(player.err(), Not(HasSubstr("clearkey_player"))); // the library may log events that come too late
}

TEST_F(ClearKeyPlayer, endsWithAnErrorWhenTheKeyIsWrong)
{
    ToolProcess player(command(save(protectedFilm()), kWrongLicense));
    expectFailure(player, "makes no sense");
    EXPECT_THAT(player.out(), EndsWith(kRequest));
}

TEST_F(ClearKeyPlayer, endsWithAnErrorWhenTheLicenseHasAnotherKeyOrIsNone)
{
    std::string const path = save(protectedFilm());
    ToolProcess other(
        command(path, R"({"keys":[{"kty":"oct","k":"dqbGXF6nYgRr10mi5jLMuw","kid":"a2tra2tra2tra2tra2traw"}]})"));
    expectFailure(other, "the license has no key for the film");
    ToolProcess none(command(path, "no license"));
    expectFailure(none, "Invalid argument");
}

TEST_F(ClearKeyPlayer, endsWithAnErrorWhenTheServiceDies)
{
    ToolProcess player(command(save(protectedFilm())));
    ASSERT_TRUE(isSeenPlaying(player));
    m_service.signal(SIGKILL);
    m_service.wait();
    EXPECT_TRUE(eventually([&] { return player.err().find("the media service is gone") != std::string::npos; }));
    expectFailure(player, "the media service is gone");
}

TEST_F(ClearKeyPlayer, endsWithAnErrorWhenNoServiceListens)
{
    m_service.signal(SIGTERM);
    ASSERT_EQ(m_service.wait(), 0);
    ToolProcess player(command(save(protectedFilm())));
    expectFailure(player, "no media service runs");
}

TEST_F(ClearKeyPlayer, endsWithAnErrorWhenThereIsNoSuchFilm)
{
    ToolProcess missing(command(m_directory.path() + "/missing.mp4"));
    expectFailure(missing, "missing.mp4 cannot be read");
    ToolProcess cut(command(save(protectedFilm().substr(0, 20'000))));
    expectFailure(cut, "is damaged");
    ToolProcess without({ORVANE_E2E_BINARIES "/examples/clearkey_player"});
    expectFailure(without, "usage: clearkey_player FILE LICENSE");
}

TEST_F(ClearKeyPlayer, endsWithAnErrorWhenTheFilmCannotBeDecoded)
{
    // A film whose key and protection are right, and whose pictures are not.
    std::string film = protectedFilm();
    auto const at = film.find("avcC");
    ASSERT_NE(at, std::string::npos);
    film.replace(at + 4, 16, 16, '\xff');
    ToolProcess player(command(save(film)));
    expectFailure(player, "error ");
}

#ifdef ORVANE_E2E_CBCS
TEST_F(ClearKeyPlayer, playsTheOtherKindOfProtectionAsWell)
{
    ToolProcess player(command(save(cbcsFilm(fileContent(media("busy.mp4"))))));
    EXPECT_EQ(player.wait(), 0) << player.err();
    EXPECT_THAT(player.out(), EndsWith(std::string(kRequest) + "played\n"));
}
#endif

} // namespace
} // namespace tz::orvane::test
