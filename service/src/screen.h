// SPDX-License-Identifier: Apache-2.0
// The one picture that all players draw into.
#pragma once

#include "camera.h"
#include "gst_ptr.h"
#include "settings.h"
#include "worker.h"

#include "orvane/platform/om_event_loop.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tz::orvane::service
{

class Screen;

/// A place on the screen, given back at the end. Loop thread.
class ScreenInput
{
public:
    ScreenInput(Screen& screen, int number);
    ScreenInput(ScreenInput const&) = delete;
    ScreenInput& operator=(ScreenInput const&) = delete;
    ~ScreenInput();

    /// What makeVideoOutlet sends to.
    std::string const& channel() const { return m_channel; }

    void show(bool visible);

private:
    Screen& m_screen;
    int m_number;
    std::string m_channel;
};

/// Composes the pictures of the players, and puts them into an X window if asked to. Loop thread; a worker of its own
/// does what may block. It runs while there is an input, and its faults concern nothing but the picture.
class Screen
{
public:
    Screen(platform::EventLoop& loop, Settings const& settings);
    Screen(Screen const&) = delete;
    Screen& operator=(Screen const&) = delete;
    ~Screen();

    /// @return 0, or a negative errno value when it cannot be built
    int start();

    std::unique_ptr<ScreenInput> open();

    using PictureTaken = std::function<void(std::shared_ptr<GstSample> const& picture)>;

    /// Calls back, now or later, with a composed picture in which every setting shows that was made before; with null
    /// when none is composed in time. When nothing is open the screen is black.
    void takePicture(PictureTaken taken);

private:
    friend class ScreenInput;

    void close(int number);
    void show(int number, bool visible);
    void readBus();
    void answer(unsigned int request, std::shared_ptr<GstSample> const& picture);

    struct PictureRequest
    {
        PictureTaken taken;
        platform::EventLoop::TimerId deadline;
    };

    std::shared_ptr<Screen*> m_alive; ///< dies with the screen: what is on its way to the loop looks here first
    platform::EventLoop& m_loop;
    Settings const& m_settings;
    Camera m_camera;
    std::map<unsigned int, PictureRequest> m_requests;
    unsigned int m_lastRequest = 0;
    ObjectPtr<GstElement> m_pipeline;
    ObjectPtr<GstElement> m_mixer;
    ObjectPtr<GstBus> m_bus;
    int m_busFd = -1;
    int m_open = 0;
    std::vector<bool> m_taken;
    Worker m_worker;
};

} // namespace tz::orvane::service
