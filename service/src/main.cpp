// SPDX-License-Identifier: Apache-2.0
// The reference media service as a program.
#include "activation.h"
#include "preview_nursery.h"
#include "service.h"

#include <gst/gst.h>

#include <CLI/CLI.hpp>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace
{

using namespace tz::orvane;

enum ExitStatus : int
{
    kExitDone = 0,
    kExitFailed = 1,
    kExitBusy = 3 ///< another service listens: who started this one may use that one
};

std::map<std::string, service::VideoOutput> const kVideoOutputs = {{"none", service::VideoOutput::none},
                                                                   {"x11", service::VideoOutput::x11}};
std::map<std::string, service::AudioOutput> const kAudioOutputs = {{"fake", service::AudioOutput::fake},
                                                                   {"auto", service::AudioOutput::device}};

bool hasSoundDevice()
{
    return access("/proc/asound/card0", F_OK) == 0 || std::getenv("PULSE_SERVER") != nullptr;
}

service::Settings defaults()
{
    service::Settings settings;
    char const* const display = std::getenv("DISPLAY");
    settings.video = display != nullptr && display[0] != '\0' ? service::VideoOutput::x11 : service::VideoOutput::none;
    settings.audio = hasSoundDevice() ? service::AudioOutput::device : service::AudioOutput::fake;
    return settings;
}

std::string readSize(std::string const& text, service::Settings& settings)
{
    int end = 0;
    int const fields = std::sscanf(text.c_str(), "%5dx%5d%n", &settings.screenWidth, &settings.screenHeight, &end);
    bool const whole = fields == 2 && static_cast<std::size_t>(end) == text.size();
    bool const sensible = whole && settings.screenWidth >= 16 && settings.screenHeight >= 16 &&
                          settings.screenWidth <= 8192 && settings.screenHeight <= 8192;
    return sensible ? std::string() : "not a size from 16x16 to 8192x8192: " + text;
}

/// Signals arrive on the loop like everything else; no thread takes them in another way.
int openSignals()
{
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGTERM);
    sigaddset(&ending, SIGINT);
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    return signalfd(-1, &ending, SFD_CLOEXEC | SFD_NONBLOCK);
}

int run(service::Settings const& settings)
{
    int const signals = openSignals();
    gst_init(nullptr, nullptr);
    if (char const* const missing = service::missingElement(settings.audio))
    {
        std::fprintf(stderr, "orvane-media-service: GStreamer's element %s is not installed\n", missing);
        return kExitFailed;
    }

    platform::EventLoop loop;
    bool abandoned = false;
    {
        service::Service media(loop, settings);
        auto const end = [&]
        {
            service::notifyManager("STOPPING=1");
            loop.unwatch(signals);
            media.shutDown([&] { loop.stop(); });
        };
        loop.watch(signals, EPOLLIN, [&](std::uint32_t) { end(); });
        if (int const result = media.start(end); result < 0)
        {
            std::fprintf(stderr, "orvane-media-service: %s\n",
                         result == -EADDRINUSE ? "another service listens already" : std::strerror(-result));
            return result == -EADDRINUSE ? kExitBusy : kExitFailed;
        }
        service::notifyManager("READY=1");
        loop.run();
        abandoned = media.hasAbandoned();
        if (abandoned)
        {
            _exit(kExitDone); // a thread hangs and would not let the process end
        }
    }
    close(signals);
    gst_deinit();
    return kExitDone;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && std::strcmp(argv[1], service::kNurseryOption) == 0)
    {
        return service::runPreviewNursery();
    }
    service::Settings settings = defaults();
    CLI::App app("Plays media for applications that use the Orvane client library.");
    app.set_version_flag("--version", ORVANE_VERSION);
    app.add_option("--video", settings.video, "where pictures go: nowhere (but composed all the same) or to a window")
        ->transform(CLI::CheckedTransformer(kVideoOutputs))
        ->option_text("none|x11");
    app.add_option("--audio", settings.audio, "where sound goes: nowhere (but in time) or to a device")
        ->transform(CLI::CheckedTransformer(kAudioOutputs))
        ->option_text("fake|auto");
    app.add_option("--screen", "size of the picture in pixels (1280x720)")
        ->option_text("WIDTHxHEIGHT")
        ->check([&](std::string const& text) { return readSize(text, settings); });
    long long idleSeconds = 0;
    app.add_option("--idle-exit", idleSeconds, "end when no client was connected for so many seconds; 0: never")
        ->check(CLI::Range(0LL, 1'000'000'000LL))
        ->option_text("SECONDS");
    try
    {
        app.parse(argc, argv);
    }
    catch (CLI::ParseError const& error)
    {
        return app.exit(error) == 0 ? kExitDone : kExitFailed;
    }
    settings.idleExit = std::chrono::seconds(idleSeconds);
    return run(settings);
}
