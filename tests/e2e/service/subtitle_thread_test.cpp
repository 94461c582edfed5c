// SPDX-License-Identifier: Apache-2.0
// A file of subtitles for whose loading there is no thread.
#include "subtitles.h"

#include "orvane/om_service.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <dlfcn.h>
#include <memory>
#include <pthread.h>
#include <vector>

namespace
{
bool noThreads = false;
}

/// Takes the place of the system's, for as long as there are to be no threads.
extern "C" int pthread_create(pthread_t* thread, pthread_attr_t const* attributes, void* (*run)(void*), void* argument)
{
    using Create = int(pthread_t*, pthread_attr_t const*, void* (*)(void*), void*);
    static auto* const create = reinterpret_cast<Create*>(dlsym(RTLD_NEXT, "pthread_create"));
    return noThreads ? EAGAIN : create(thread, attributes, run, argument);
}

namespace tz::orvane::service
{
namespace
{

class Host final : public SubtitleHost
{
public:
    explicit Host(platform::EventLoop& loop)
        : m_loop(loop)
    {
    }

    std::vector<om::om_error_e> refusals;

private:
    void askSubtitlePosition(std::function<void(std::int64_t)>) override {}
    void onSubtitlesLoaded() override { m_loop.stop(); }
    void onSubtitleRefusal(Fault const& fault, char const*) override { refusals.push_back(fault.code); }
    void onSubtitleWarning(Fault const&) override {}
    Fault subtitleObstacle() const override { return {}; }

    platform::EventLoop& m_loop;
};

TEST(SubtitleThread, aFileThatWasRefusedIsNotReadWithAnotherCharset)
{
    platform::EventLoop loop;
    Host host(loop);
    JobYard jobs(loop);
    Subtitles subtitles(loop, jobs, std::make_shared<JobShare>(), host);
    noThreads = true;
    subtitles.setUri("file://" ORVANE_E2E_MEDIA "/en.srt");
    EXPECT_EQ(host.refusals, std::vector{om::OM_ERROR_LIMIT});

    om::om_subtiltile_style_t style = TextLook().style;
    style.subtitle_charset = om::OM_SUBTITLE_CHARSET_CYRILLIC;
    subtitles.setStyle(style);
    EXPECT_EQ(host.refusals.size(), 1u) << "it was tried again";

    // Nor does it stand in the way of the next.
    noThreads = false;
    subtitles.setUri("file://" ORVANE_E2E_MEDIA "/en.srt");
    loop.run();
    EXPECT_TRUE(subtitles.hasExternal());
    EXPECT_EQ(host.refusals.size(), 1u);
}

} // namespace
} // namespace tz::orvane::service
