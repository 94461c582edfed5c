// SPDX-License-Identifier: Apache-2.0
// A thumbnail through the media service beside one from ffmpeg as a whole process: orvane-preview-bench [ROUNDS].
#include "bench/child_process.h"
#include "bench/figure.h"
#include "bench/report.h"
#include "bench/stopwatch.h"
#include "orvane/om_iconnection.h"
#include "orvane/om_ipreview_tool.h"
#include "orvane/om_service.h"
#include "orvane/omc_access.h"
#include "orvane/omc_listeners.h"
#include "orvane/platform/om_debug.h"
#include "support/temp_dir.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <mutex>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

using namespace tz::orvane;
using namespace tz::orvane::bench;

constexpr int kRounds = 100;
constexpr int kPosition = 4; ///< seconds; a key frame stands there
constexpr double kGoal = 1.5;
constexpr std::chrono::seconds kPatience{10};

/// @return its exit status; 127 when there is no such program
int runProgram(std::vector<std::string> command)
{
    std::vector<char*> arguments;
    for (std::string& argument : command)
    {
        arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);
    pid_t pid = -1;
    int status = 0;
    bool const ran = ::posix_spawnp(&pid, arguments[0], nullptr, nullptr, arguments.data(), environ) == 0 &&
                     ::waitpid(pid, &status, 0) == pid && WIFEXITED(status);
    return ran ? WEXITSTATUS(status) : 127;
}

/// Ten seconds of 1080p with some noise, 5 Mbit/s, and a key frame every two seconds.
int makeFilm(std::string const& film)
{
    std::string const picture = "testsrc2=size=1920x1080:rate=25:duration=10,noise=alls=5:allf=t";
    return runProgram({"ffmpeg",   "-nostdin", "-v",      "error",   "-f",          "lavfi", "-i",
                       picture,    "-c:v",     "libx264", "-preset", "veryfast",    "-crf",  "23",
                       "-pix_fmt", "yuv420p",  "-g",      "50",      "-keyint_min", "50",    "-sc_threshold",
                       "0",        film});
}

/// The media service's end: a connection with a preview tool.
class Thumbnails final : public omc::OmcIPreviewToolListener
{
public:
    Thumbnails()
    {
        auto const deadline = std::chrono::steady_clock::now() + kPatience;
        while (m_connection == nullptr && std::chrono::steady_clock::now() < deadline)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            m_connection = omc::OmcClientAccess::getApp(0)->createConnection("preview-bench");
        }
        m_tool = m_connection == nullptr ? nullptr : m_connection->createPreviewTool(nullptr);
        if (m_tool == nullptr)
        {
            throw std::runtime_error("no media service");
        }
        m_tool->setListener(this);
    }
    Thumbnails(Thumbnails const&) = delete;
    Thumbnails& operator=(Thumbnails const&) = delete;
    ~Thumbnails() { omc::OmcClientAccess::getApp(0)->destroyConnection(m_connection); }

    /// @return whether the frame at that position has become a picture
    bool make(std::string const& film)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_came = false;
        m_tool->requestPreviewInfo(film, om::OM_LOCATION_MODE_TIME, kPosition * 1000, om::OM_PREVIEW_DEFAULT,
                                   om::OmPropertyGroup());
        return m_changed.wait_for(lock, kPatience, [this] { return m_came; }) && m_good;
    }

private:
    void onPreviewInfoReply(om::OmIPreviewTool*, unsigned int, int code, om::OmString const& path,
                            om::OmPropertyGroup const& properties) override
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        m_good = code == static_cast<int>(om::OM_ERROR_NONE) && !path.empty() &&
                 properties.get(om::OM_PREVIEW_KEY_POSITION) == std::to_string(kPosition * 1000);
        m_came = true;
        m_changed.notify_all();
    }

    om::OmIConnection* m_connection = nullptr;
    om::OmIPreviewTool* m_tool = nullptr;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_came = false;
    bool m_good = false;
};

int runService()
{
    ::execl(ORVANE_BENCH_SERVICE, ORVANE_BENCH_SERVICE, static_cast<char*>(nullptr));
    return 127;
}

int run(int rounds)
{
    test::SocketDir const folder;
    std::string const film = folder.path() + "/film.mp4";
    switch (makeFilm(film))
    {
    case 0:
        break;
    case 127:
        std::cout << "skipped: ffmpeg is not installed\n";
        return 0;
    default:
        throw std::runtime_error("ffmpeg cannot make the film");
    }
    ChildProcess const service(&runService);
    platform::setDebugLevel(platform::DebugLevel::off);
    Thumbnails thumbnails;

    std::atomic<bool> good{true};
    Side const ours{[&](int) { return timed(1, [&] { good = thumbnails.make(film) && good; }); }, {}};
    std::vector<std::string> const command{
        "ffmpeg", "-nostdin", "-v",        "error", "-y",  "-ss",          std::to_string(kPosition),
        "-i",     film,       "-frames:v", "1",     "-vf", "scale=320:-2", folder.path() + "/thumbnail.jpg"};
    Side const process{[&](int) { return timed(1, [&] { good = runProgram(command) == 0 && good; }); }, {}};
    Result const result = measure({"thumbnail 1080p", 1, ours, process, "an ffmpeg process", kGoal}, {rounds, 0});
    if (!good)
    {
        throw std::runtime_error("not every picture was made");
    }
    std::printf("%s\n\n", machineText().c_str());
    printHead();
    print(result);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        return run(argc > 1 ? std::atoi(argv[1]) : kRounds);
    }
    catch (std::exception const& error)
    {
        std::cerr << "orvane-preview-bench: " << error.what() << "\n";
        return 1;
    }
}
