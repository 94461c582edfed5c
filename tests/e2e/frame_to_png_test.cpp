// SPDX-License-Identifier: Apache-2.0
// The example that takes one picture out of a film, against what another decoder finds there.
#include "support/tool_process.h"
#include "support/viewer.h"

#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>

namespace tz::orvane::test
{
namespace
{

using testing::HasSubstr;

#ifdef ORVANE_E2E_FRAME_TO_PNG
constexpr char kProgram[] = ORVANE_E2E_FRAME_TO_PNG;
#else
constexpr char kProgram[] = "";
#endif

struct Outcome
{
    int status;
    std::string out;
    std::string err;
};

Outcome run(std::vector<std::string> command)
{
    command.insert(command.begin(), kProgram);
    ToolProcess tool(command);
    int const status = tool.wait().value_or(-1);
    return {status, tool.out(), tool.err()};
}

class FrameToPng : public WithService
{
protected:
    void SetUp() override
    {
        WithService::SetUp();
        if (kProgram[0] == 0)
        {
            GTEST_SKIP() << "built without libpng";
        }
    }

    std::string png() const { return m_folder.path() + "/out.png"; }

    /// @return the pixels of a film's or photo's picture, three bytes each, as ffmpeg decodes them
    std::string decode(std::string const& file, std::string const& time = "0") const
    {
        std::string const raw = m_folder.path() + "/raw";
        ToolProcess tool({"/usr/bin/env", "ffmpeg", "-loglevel", "error", "-y", "-nostdin", "-ss", time, "-i", file,
                          "-frames:v", "1", "-pix_fmt", "rgb24", "-f", "rawvideo", raw});
        EXPECT_EQ(tool.wait(), 0) << tool.err();
        return fileContent(raw);
    }

    /// @return how far two pictures are from each other: the root of the mean square, of 255
    static double difference(std::string const& one, std::string const& other)
    {
        double sum = 0;
        for (std::size_t at = 0; at < one.size(); ++at)
        {
            double const step = static_cast<unsigned char>(one[at]) - static_cast<unsigned char>(other[at]);
            sum += step * step;
        }
        return std::sqrt(sum / static_cast<double>(one.size()));
    }

    TempDir m_folder;
};

TEST_F(FrameToPng, writesThePictureThatIsAtThatPlace)
{
    struct Case
    {
        char const* file;
        char const* milliseconds;
        char const* seconds;
        char const* line;
    };
    for (Case const& row :
         {Case{"v.mp4", "0", "0", "320 x 180 at 0 ms\n"}, Case{"v.mp4", "4480", "4.48", "320 x 180 at 4480 ms\n"},
          Case{"v.mp4", "9990", "9.96", "320 x 180 at 9990 ms\n"},
          Case{"v.webm", "1220", "1.2", "320 x 180 at 1220 ms\n"}})
    {
        Outcome const outcome = run({media(row.file), row.milliseconds, png()});
        ASSERT_EQ(outcome.status, 0) << row.file << ": " << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr(row.line));
        std::string const expected = decode(media(row.file), row.seconds);
        std::string const written = decode(png());
        ASSERT_EQ(expected.size(), 320u * 180 * 3);
        ASSERT_EQ(written.size(), expected.size());
        EXPECT_LT(difference(written, expected), 4.0) << row.file << " at " << row.milliseconds;

        // So close are only pictures of the same moment.
        std::string const another = decode(media(row.file), row.milliseconds == std::string("0") ? "2" : "0.4");
        EXPECT_GT(difference(another, expected), 2 * difference(written, expected)) << row.milliseconds;
    }
}

TEST_F(FrameToPng, writesAPhotoToo)
{
    Outcome const outcome = run({media("p.png"), "0", png()});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_LT(difference(decode(png()), decode(media("p.png"))), 1.0);
}

TEST_F(FrameToPng, saysWhatIsWrong)
{
    EXPECT_EQ(run({}).status, 1);
    EXPECT_EQ(run({media("v.mp4"), "soon", png()}).status, 1);
    EXPECT_EQ(run({media("v.mp4"), "-5", png()}).status, 1);
    Outcome const missing = run({media("missing.mp4"), "0", png()});
    EXPECT_EQ(missing.status, 2);
    EXPECT_THAT(missing.err, HasSubstr("missing.mp4: error 2"));
    Outcome const beyond = run({media("v.mp4"), "60000", png()});
    EXPECT_EQ(beyond.status, 2);
    EXPECT_THAT(beyond.err, HasSubstr("it ends at 10"));
    EXPECT_FALSE(std::filesystem::exists(png()));
    Outcome const unwritable = run({media("v.mp4"), "0", m_folder.path() + "/none/out.png"});
    EXPECT_EQ(unwritable.status, 3);
    EXPECT_THAT(unwritable.err, HasSubstr("none/out.png: "));
}

TEST(FrameToPngAlone, needsTheService)
{
    if (kProgram[0] == 0)
    {
        GTEST_SKIP() << "built without libpng";
    }
    SocketDir const directory;
    Outcome const outcome = run({media("v.mp4"), "0", directory.path() + "/out.png"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("the media service does not run\n"));
}

} // namespace
} // namespace tz::orvane::test
