// SPDX-License-Identifier: Apache-2.0
// The examples read fragments, whatever these leave to the head of the file.
#include "examples/fragments.h"
#include "support/tool_process.h"
#include "support/viewer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace tz::orvane::test
{
namespace
{

/// Calls with the place behind each box of a type.
template <class Call> void forEach(std::string const& film, char const* type, Call call)
{
    int count = 0;
    for (auto at = film.find(type); at != std::string::npos; at = film.find(type, at + 4))
    {
        call(at + 4);
        ++count;
    }
    EXPECT_GT(count, 0) << type;
}

/// @return whether both hold the same samples at the same times
bool areTheSame(example::Film const& film, example::Film const& other)
{
    bool same = film.samples.size() == other.samples.size();
    for (std::size_t at = 0; same && at < film.samples.size(); ++at)
    {
        example::Sample const& left = film.samples[at];
        example::Sample const& right = other.samples[at];
        same = left.track == right.track && left.offset == right.offset && left.size == right.size &&
               std::memcmp(&left.unit, &right.unit, sizeof left.unit) == 0;
    }
    return same;
}

TEST(Fragments, leaveDefaultsToTheHeadOfTheFile)
{
    std::string const file = fileContent(media("vfrag.mp4"));
    auto const film = example::readFragments(file);
    ASSERT_TRUE(film);

    // What a fragment says by itself of both streams: number, duration, size and flags.
    std::string changed = file;
    std::string defaults[2];
    forEach(file, "tfhd",
            [&](std::size_t at)
            {
                ASSERT_EQ(file.substr(at, 4), std::string("\0\2\0\x38", 4));
                changed[at + 3] = 0;
                defaults[file[at + 7] - 1] = file.substr(at + 8, 12);
            });
    auto const without = example::readFragments(changed);
    EXPECT_FALSE(without && areTheSame(*film, *without));

    forEach(file, "trex", [&](std::size_t at) { changed.replace(at + 12, 12, defaults[file[at + 7] - 1]); });
    auto const with = example::readFragments(changed);
    ASSERT_TRUE(with);
    EXPECT_TRUE(areTheSame(*film, *with));
}

TEST(Fragments, goOnWhereTheLastOneEndedWhenTheyHaveNoTime)
{
    std::string file = fileContent(media("vfrag.mp4"));
    auto const film = example::readFragments(file);
    ASSERT_TRUE(film);
    forEach(std::string(file), "tfdt", [&](std::size_t at) { file.replace(at - 4, 4, "free"); });
    auto const without = example::readFragments(file);
    ASSERT_TRUE(without);
    EXPECT_TRUE(areTheSame(*film, *without));
}

} // namespace
} // namespace tz::orvane::test
