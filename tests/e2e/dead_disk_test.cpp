// SPDX-License-Identifier: Apache-2.0
// Files that do not answer: only who named them waits for them.
#include "support/temp_dir.h"
#include "support/viewer.h"
#include "support/wait.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <unistd.h>

namespace tz::orvane::test
{
namespace
{

/// A file on which whoever opens it waits for us, as on a disk that is gone: somebody else has it on lease.
class HeldFile
{
public:
    HeldFile()
    {
        std::signal(SIGIO, SIG_IGN); // tells us that somebody waits
        std::ofstream(m_path) << "not read by anybody";
        m_descriptor = open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
        m_held = fcntl(m_descriptor, F_SETLEASE, F_WRLCK) == 0;
    }
    HeldFile(HeldFile const&) = delete;
    HeldFile& operator=(HeldFile const&) = delete;
    ~HeldFile() { close(m_descriptor); }

    std::string const& path() const { return m_path; }

    /// @return whether this file system can do that
    bool held() const { return m_held; }

    /// Waits until somebody waits.
    bool isWaitedFor() const
    {
        return eventually([this] { return fcntl(m_descriptor, F_GETLEASE) != F_WRLCK; });
    }

private:
    TempDir m_folder;
    std::string m_path = m_folder.path() + "/held.ttf";
    int m_descriptor = -1;
    bool m_held = false;
};

class DeadDisk : public WithService
{
protected:
    void SetUp() override
    {
        WithService::SetUp();
        if (!m_file.held())
        {
            GTEST_SKIP() << "no leases on files here";
        }
    }

    HeldFile m_file;
};

TEST_F(DeadDisk, aPlayerIsDestroyedWhileItsFontIsNotThere)
{
    Viewer other("other");
    {
        Viewer viewer;
        viewer.player().setSubtitleFontPath(m_file.path());
        ASSERT_TRUE(m_file.isWaitedFor());
    }
    EXPECT_TRUE(other.open(media("v.mp4"))) << "nobody else notices";
    EXPECT_GE(other.position(), 0);
}

TEST_F(DeadDisk, aFontThatIsNotThereInTimeIsRefused)
{
    Viewer viewer;
    viewer.player().setSubtitleFontPath(m_file.path());
    auto const error = viewer.recorder().takeError();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, static_cast<int>(om::OM_ERROR_TIMED_OUT));
    EXPECT_EQ(error->properties.at(om::OM_KEY_COMMAND), "setSubtitleFontPath");
}

TEST_F(DeadDisk, theServiceEndsWhileAFontIsNotThere)
{
    Viewer viewer;
    viewer.player().setSubtitleFontPath(m_file.path());
    ASSERT_TRUE(m_file.isWaitedFor());
    auto const begin = std::chrono::steady_clock::now();
    m_service.signal(SIGTERM);
    EXPECT_EQ(m_service.wait(), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

} // namespace
} // namespace tz::orvane::test
