// SPDX-License-Identifier: Apache-2.0
// The pipeline that composes the screen.
#pragma once

#include "camera.h"
#include "gst_ptr.h"
#include "picture_look.h"
#include "settings.h"
#include "text_chain.h"

#include <memory>
#include <string>
#include <vector>

namespace tz::orvane::service
{

/// Pictures of a second that the screen composes.
constexpr int kScreenRate = 25;

/// Turns, cuts and places the picture of one input. It does so with each picture that passes, on the stage's threads,
/// so that every picture of a still or paused medium is a new one, too.
class InputChain
{
public:
    InputChain(std::shared_ptr<SharedLook const> look, std::shared_ptr<SharedText const> text, Area screen);
    InputChain(InputChain const&) = delete;
    InputChain& operator=(InputChain const&) = delete;

    /// @return whether the input is part of the pipeline now
    bool join(GstElement* pipeline, GstElement* mixer, std::string const& channel);

private:
    static GstPadProbeReturn onFetched(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    static GstPadProbeReturn onReady(GstPad* pad, GstPadProbeInfo* info, gpointer self);
    static GstPadProbeReturn onTurned(GstPad* pad, GstPadProbeInfo* info, gpointer self);

    GstClockTime now() const;
    void turn();
    void uncut();
    void readSize(GstCaps* caps);
    void place(GstClockTime time);
    void cut(Placement const& to);
    double animate(GstClockTime time, Fitting& fitting);

    std::shared_ptr<SharedLook const> m_shared;
    Area m_screen;
    ObjectPtr<GstElement> m_flip;
    ObjectPtr<GstElement> m_crop;
    TextChain m_text;
    ObjectPtr<GstPad> m_pad; ///< of the mixer

    // Of the input's thread.
    PictureLook m_look;
    GstClockTime m_fetchedAfter = 0;
    GstClockTime m_time = 0; ///< of the last picture
    PictureSize m_size;
    GstVideoOrientationMethod m_method = GST_VIDEO_ORIENTATION_IDENTITY;
    Placement m_placement;
    unsigned int m_layer = 0;
    unsigned int m_appearance = 0;
    GstClockTime m_appeared = 0;
};

/// One run of the screen. Made on the loop's thread; it may block where it says so, and is destroyed on the screen's
/// worker.
class ScreenStage
{
public:
    /// @param reason why there is none
    static std::shared_ptr<ScreenStage> make(Settings const& settings, VideoOutput output, std::string& reason);

    ScreenStage(GstElement* pipeline, Settings const& settings);
    ScreenStage(ScreenStage const&) = delete;
    ScreenStage& operator=(ScreenStage const&) = delete;
    ~ScreenStage();

    GstBus* bus() const { return m_bus.get(); }
    Camera& camera() { return m_camera; }

    // On the worker.
    void add(std::string const& channel, std::shared_ptr<SharedLook const> look,
             std::shared_ptr<SharedText const> text);
    void run();
    void adaptLatency();

private:
    Area m_screen;
    Camera m_camera;
    std::vector<std::unique_ptr<InputChain>> m_inputs;
    ObjectPtr<GstElement> m_pipeline;
    ObjectPtr<GstElement> m_mixer;
    ObjectPtr<GstBus> m_bus;
};

} // namespace tz::orvane::service
