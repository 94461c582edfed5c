// SPDX-License-Identifier: Apache-2.0
// Protected films, each kind of them: what is decrypted is the clear film.
#include "support/drm_user.h"
#include "support/film_kinds.h"
#include "support/protected_film.h"
#include "support/tool_process.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <fstream>
#include <sstream>

namespace tz::orvane::test
{
namespace
{

using testing::AllOf;
using testing::HasSubstr;

class DrmFilms : public WithService, public testing::WithParamInterface<FilmKind>
{
protected:
    std::string m_clear = fileContent(media(GetParam().clear));
    std::string m_film = GetParam().protect();
};

void save(std::string const& path, std::string const& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
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

TEST_P(DrmFilms, areProtectedFilmsToOthersAsWell)
{
    std::string const path = m_directory.path() + "/film.mp4";
    std::string const clearPath = m_directory.path() + "/clear.mp4";
    save(path, firstFragment(m_film));
    save(clearPath, firstFragment(m_clear));
    std::string const found = digests(path, {"-decryption_key", kFilmKey}, {"-c", "copy"});
    EXPECT_THAT(found, AllOf(HasSubstr("\n0,"), HasSubstr("\n1,"))); // pictures and sound
    EXPECT_EQ(found, digests(clearPath, {}, {"-c", "copy"}));
}

TEST_P(DrmFilms, areDecryptedUnitByUnitToTheClearFilm)
{
    Viewer viewer;
    DrmUser user(viewer);
    ASSERT_EQ(user.license(user.openSession(), kFilmLicense), 0);
    auto const film = example::readFragments(m_film);
    auto const clear = example::readFragments(m_clear);
    ASSERT_TRUE(film && clear);
    ASSERT_EQ(film->samples.size(), clear->samples.size());
    EXPECT_GE(film->samples.size(), GetParam().units);
    std::string decrypted = m_clear;
    std::size_t changed = 0;
    for (std::size_t at = 0; at < film->samples.size(); ++at)
    {
        example::Sample const& sample = film->samples[at];
        std::string const bytes = m_film.substr(sample.offset, sample.size);
        std::string const expected = m_clear.substr(clear->samples[at].offset, clear->samples[at].size);
        ASSERT_EQ(user.call(&om::OmIDrmAgent::decrypt, cryptoBuffer(film->tracks[sample.track], sample, 0) + bytes), 0);
        ASSERT_TRUE(user.answer() == expected) << "unit " << at;
        EXPECT_EQ(sample.unit.pts, clear->samples[at].unit.pts);
        changed += bytes == expected ? 0 : 1;
        decrypted.replace(clear->samples[at].offset, sample.size, user.answer());
    }
    EXPECT_EQ(changed, film->samples.size()) << "all units were protected";

    // And picture by picture, as a decoder sees them.
    std::string const path = m_directory.path() + "/decrypted.mp4";
    std::string const clearPath = m_directory.path() + "/clear.mp4";
    save(path, decrypted);
    save(clearPath, m_clear);
    EXPECT_EQ(digests(path, {}, {}), digests(clearPath, {}, {}));
}

INSTANTIATE_TEST_SUITE_P(Scheme, DrmFilms, testing::ValuesIn(filmKinds()));

} // namespace
} // namespace tz::orvane::test
