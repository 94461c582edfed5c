// SPDX-License-Identifier: Apache-2.0
// The pipeline that composes the screen.
#include "screen_stage.h"

#include "caps_answer.h"

#include "orvane/platform/om_debug.h"

#include <algorithm>

namespace tz::orvane::service
{

namespace
{

constexpr char kLogFile[] = "screen_stage";
constexpr char kLogClass[] = "ScreenStage";

constexpr GstClockTime kLate = 2 * GST_SECOND / kScreenRate;

/// How small a picture is that begins to grow.
constexpr double kSmallest = 0.05;

std::string describe(Settings const& settings, VideoOutput output)
{
    std::string const size =
        ",width=" + std::to_string(settings.screenWidth) + ",height=" + std::to_string(settings.screenHeight);

    // Plain capabilities before a sink keep it from taking overlays apart from the picture.
    std::string const sink = output == VideoOutput::x11 ? "videoconvert ! video/x-raw ! queue ! ximagesink name=window"
                                                        : "fakevideosink name=shot";
    return "compositor name=mix background=black ! video/x-raw,format=I420" + size +
           ",framerate=" + std::to_string(kScreenRate) + "/1 ! identity name=exit ! " + sink;
}

ObjectPtr<GstElement> childOf(GstElement* bin, char const* name)
{
    return ObjectPtr<GstElement>(gst_bin_get_by_name(GST_BIN(bin), name));
}

void watch(GstElement* element, int what, GstPadProbeCallback callback, gpointer self)
{
    ObjectPtr<GstPad> const pad(gst_element_get_static_pad(element, "sink"));
    gst_pad_add_probe(pad.get(), static_cast<GstPadProbeType>(what), callback, self, nullptr);
}

} // namespace

InputChain::InputChain(std::shared_ptr<SharedLook const> look, std::shared_ptr<SharedText const> text, Area screen)
    : m_shared(std::move(look))
    , m_screen(screen)
    , m_text(std::move(text))
{
}

bool InputChain::join(GstElement* pipeline, GstElement* mixer, std::string const& channel)
{
    // The source repeats the last picture of its channel for ever. What is placed is what the layout says, whatever the
    // shape of the pixels was.
    std::string const chain = "intervideosrc channel=" + channel + " timeout=" + std::to_string(GST_CLOCK_TIME_NONE) +
                              " ! videoconvert name=convert qos=false ! videoflip name=flip qos=false ! "
                              "videocrop name=crop qos=false ! capssetter caps=video/x-raw,pixel-aspect-ratio=1/1 ! "
                              "queue name=ready max-size-buffers=4 max-size-bytes=0 max-size-time=0";
    GstElement* const input = gst_parse_bin_from_description(chain.c_str(), TRUE, nullptr);
    if (input == nullptr)
    {
        return false;
    }
    ObjectPtr<GstElement> const convert = childOf(input, "convert");
    ObjectPtr<GstElement> const ready = childOf(input, "ready");
    m_flip = childOf(input, "flip");
    m_crop = childOf(input, "crop");
    m_pad.reset(gst_element_request_pad_simple(mixer, "sink_%u"));
    g_object_set(m_pad.get(), "alpha", 0.0, nullptr);
    // What is cut off at present would limit what is taken, and a picture that is smaller than that would end the
    // input.
    takeAll(convert.get(), CapsPtr(gst_caps_new_simple("video/x-raw", "framerate", GST_TYPE_FRACTION, kScreenRate, 1,
                                                       "interlace-mode", G_TYPE_STRING, "progressive", nullptr)));
    constexpr int kData = GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM;
    watch(convert.get(), kData, onFetched, this);
    watch(m_crop.get(), kData, onTurned, this);
    watch(ready.get(), GST_PAD_PROBE_TYPE_BUFFER, onReady, this);
    gst_bin_add(GST_BIN(pipeline), input);
    ObjectPtr<GstPad> const source(gst_element_get_static_pad(input, "src"));
    return m_text.join(pipeline, source.get(), m_pad.get()) && gst_element_sync_state_with_parent(input) != FALSE;
}

GstPadProbeReturn InputChain::onFetched(GstPad*, GstPadProbeInfo* info, gpointer self)
{
    InputChain& chain = *static_cast<InputChain*>(self);
    if ((GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) != 0)
    {
        chain.turn();
    }
    else if (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_CAPS)
    {
        chain.uncut();
    }
    return GST_PAD_PROBE_OK;
}

GstPadProbeReturn InputChain::onTurned(GstPad*, GstPadProbeInfo* info, gpointer self)
{
    InputChain& chain = *static_cast<InputChain*>(self);
    if ((GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) != 0)
    {
        chain.place(GST_BUFFER_PTS(GST_PAD_PROBE_INFO_BUFFER(info)));
    }
    else if (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_CAPS)
    {
        GstCaps* caps = nullptr;
        gst_event_parse_caps(GST_PAD_PROBE_INFO_EVENT(info), &caps);
        chain.readSize(caps);
    }
    return GST_PAD_PROBE_OK;
}

/// What is shown too late is better than what is never shown: a picture that took long belongs to the present.
GstPadProbeReturn InputChain::onReady(GstPad*, GstPadProbeInfo* info, gpointer self)
{
    InputChain& chain = *static_cast<InputChain*>(self);
    GstBuffer* const picture = gst_buffer_make_writable(GST_PAD_PROBE_INFO_BUFFER(info));
    GstClockTime const now = chain.now();
    bool const late = now > GST_BUFFER_PTS(picture) + kLate;
    chain.m_time = std::max(late ? now : GST_BUFFER_PTS(picture), chain.m_time); // never backwards
    GST_BUFFER_PTS(picture) = chain.m_time;
    GST_BUFFER_OFFSET(picture) = chain.m_fetchedAfter; // for the camera
    chain.m_fetchedAfter = now; // the source fetches the next one when this one is out, and holds it until its time
    GST_PAD_PROBE_INFO_DATA(info) = picture;
    return GST_PAD_PROBE_OK;
}

GstClockTime InputChain::now() const
{
    GstClockTime const time = gst_element_get_current_running_time(m_flip.get());
    return GST_CLOCK_TIME_IS_VALID(time) ? time : 0;
}

void InputChain::turn()
{
    m_look = m_shared->get();
    if (m_look.orientation.method() != m_method)
    {
        uncut();
        m_method = m_look.orientation.method();
        g_object_set(m_flip.get(), "video-direction", m_method, nullptr);
    }
}

/// The elements in front agree on no size from which more is cut off than there is.
void InputChain::uncut()
{
    m_placement = {};
    cut(m_placement);
}

void InputChain::cut(Placement const& to)
{
    g_object_set(m_crop.get(), "left", to.left, "right", to.right, "top", to.top, "bottom", to.bottom, nullptr);
}

void InputChain::readSize(GstCaps* caps)
{
    GstVideoInfo picture;
    bool const known = gst_video_info_from_caps(&picture, caps) != FALSE;
    m_size = known ? PictureSize{picture.width, picture.height, static_cast<double>(picture.par_n) / picture.par_d}
                   : PictureSize();
}

void InputChain::place(GstClockTime time)
{
    Fitting fitting = m_look.fitting;
    double const alpha = animate(time, fitting);
    Placement const to = placePicture(m_size, fitting, m_screen);
    bool const visible = m_look.visible && to.visible;
    if (visible && !(to == m_placement)) // each change costs a new converter
    {
        m_placement = to;
        cut(to);
        g_object_set(m_pad.get(), "xpos", to.target.x, "ypos", to.target.y, "width", to.target.width, "height",
                     to.target.height, nullptr);
    }
    if (m_look.layer != m_layer)
    {
        m_layer = m_look.layer;
        g_object_set(m_pad.get(), "zorder", m_layer, nullptr);
    }
    g_object_set(m_pad.get(), "alpha", visible ? alpha : 0.0, nullptr);
}

/// @return how opaque the picture is by now
double InputChain::animate(GstClockTime time, Fitting& fitting)
{
    if (m_look.appearance != m_appearance)
    {
        m_appearance = m_look.appearance;
        m_appeared = time;
    }
    auto const duration = std::chrono::nanoseconds(m_look.animationDuration).count();
    if (duration <= 0 || !GST_CLOCK_TIME_IS_VALID(time) || time < m_appeared)
    {
        return 1.0;
    }
    double const progress = std::min(1.0, static_cast<double>(time - m_appeared) / static_cast<double>(duration));
    switch (m_look.animation)
    {
    case om::OM_IMAGE_ANIMATION_FADE:
        return progress;
    case om::OM_IMAGE_ANIMATION_SLIDE_LEFT:
        fitting.shift = 1 - progress;
        break;
    case om::OM_IMAGE_ANIMATION_SLIDE_RIGHT:
        fitting.shift = progress - 1;
        break;
    case om::OM_IMAGE_ANIMATION_ZOOM_IN:
        fitting.magnification *= kSmallest + (1 - kSmallest) * progress;
        break;
    default:
        break;
    }
    return 1.0;
}

std::shared_ptr<ScreenStage> ScreenStage::make(Settings const& settings, VideoOutput output, std::string& reason)
{
    GError* fault = nullptr;
    GstElement* const pipeline = gst_parse_launch(describe(settings, output).c_str(), &fault);
    ErrorPtr const owner(fault);
    if (fault != nullptr || pipeline == nullptr)
    {
        ObjectPtr<GstElement> const half(pipeline == nullptr ? nullptr
                                                             : static_cast<GstElement*>(gst_object_ref_sink(pipeline)));
        reason = fault != nullptr ? fault->message : "no pipeline";
        return nullptr;
    }
    return std::make_shared<ScreenStage>(pipeline, settings);
}

ScreenStage::ScreenStage(GstElement* pipeline, Settings const& settings)
    : m_screen{0, 0, settings.screenWidth, settings.screenHeight}
    , m_pipeline(static_cast<GstElement*>(gst_object_ref_sink(pipeline)))
    , m_mixer(childOf(pipeline, "mix"))
    , m_bus(gst_element_get_bus(pipeline))
{
    ObjectPtr<GstElement> const exit = childOf(pipeline, "exit");
    m_camera.attach(m_mixer.get(), exit.get());
}

ScreenStage::~ScreenStage()
{
    gst_element_set_state(m_pipeline.get(), GST_STATE_NULL);
}

void ScreenStage::add(std::string const& channel, std::shared_ptr<SharedLook const> look,
                      std::shared_ptr<SharedText const> text)
{
    m_inputs.push_back(std::make_unique<InputChain>(std::move(look), std::move(text), m_screen));
    if (!m_inputs.back()->join(m_pipeline.get(), m_mixer.get(), channel))
    {
        ORVANE_LOG_ERROR("no input for %s", channel.c_str());
    }
}

void ScreenStage::run()
{
    gst_element_set_state(m_pipeline.get(), GST_STATE_PLAYING);
}

void ScreenStage::adaptLatency()
{
    gst_bin_recalculate_latency(GST_BIN(m_pipeline.get()));
}

} // namespace tz::orvane::service
