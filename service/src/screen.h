// SPDX-License-Identifier: Apache-2.0
// The one picture that all players draw into.
#pragma once

#include "picture_look.h"
#include "screen_stage.h"
#include "settings.h"
#include "text_look.h"
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
    ScreenInput(Screen& screen, std::size_t number, unsigned int layer);
    ScreenInput(ScreenInput const&) = delete;
    ScreenInput& operator=(ScreenInput const&) = delete;
    ~ScreenInput();

    /// What makeVideoOutlet sends to.
    std::string channel() const;

    /// Holds from the next picture on. The layer is the input's own: the input that was opened last covers the others.
    void show(PictureLook look);
    void hide() { show(PictureLook()); }

    /// @param trouble called when the screen has lost its pipeline, whether another one takes its place or not
    void onTrouble(std::function<void(std::string const& text)> trouble) { m_trouble = std::move(trouble); }

    /// Holds from the next picture on. @param text plain, empty for none @param newFont installed a moment ago, perhaps
    void drawText(std::string const& text, TextLook const& look, bool newFont);

private:
    friend class Screen;

    Screen& m_screen;
    std::size_t m_number;
    unsigned int m_layer;
    std::function<void(std::string const&)> m_trouble;
};

/// Composes the pictures of the players, and puts them into an X window if asked to. Loop thread; a worker of its own
/// does what may block. It runs while there is an input.
///
/// Its faults concern nothing but the picture: a window that is closed or cannot be opened is left out until the next
/// time that the screen begins to run.
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

    Settings const& settings() const { return m_settings; }

private:
    friend class ScreenInput;

    struct Slot
    {
        std::shared_ptr<SharedLook> look = std::make_shared<SharedLook>();
        std::shared_ptr<SharedText> text = std::make_shared<SharedText>();
        ScreenInput* input = nullptr; ///< null: free
        bool staged = false;          ///< part of the stage at hand
    };

    struct PictureRequest
    {
        PictureTaken taken;
        platform::EventLoop::TimerId deadline;
    };

    void close(std::size_t number);
    bool isIdle() const;
    int enter(VideoOutput output);
    void leave();
    void add(std::size_t number);
    void readBus();
    void recover(std::string const& reason);
    void photograph(unsigned int request);
    void answer(unsigned int request, std::shared_ptr<GstSample> const& picture);

    platform::EventLoop& m_loop;
    Settings const& m_settings;
    std::shared_ptr<ScreenStage> m_stage; ///< null when idle, or after too many faults
    int m_busFd = -1;
    int m_faults = 0;
    platform::EventLoop::Clock::time_point m_lastFault{};
    std::vector<Slot> m_slots;
    unsigned int m_layers = 0;
    std::map<unsigned int, PictureRequest> m_requests;
    unsigned int m_lastRequest = 0;
    std::shared_ptr<Screen*> m_alive; ///< dies with the screen: what is on its way to the loop looks here first
    Worker m_worker;
};

} // namespace tz::orvane::service
