// SPDX-License-Identifier: Apache-2.0
// The one picture that all players draw into.
#include "screen.h"

#include "orvane/platform/om_debug.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <sys/epoll.h>
#include <utility>

namespace tz::orvane::service
{

namespace
{

constexpr char kLogFile[] = "screen";
constexpr char kLogClass[] = "Screen";

constexpr int kFrameRate = 25;
constexpr std::chrono::milliseconds kPictureDeadline{3'000};

std::string channelName(int number)
{
    return "player-" + std::to_string(number);
}

std::string padName(int number)
{
    return "sink_" + std::to_string(number);
}

std::string describe(Settings const& settings)
{
    std::string const size =
        ",width=" + std::to_string(settings.screenWidth) + ",height=" + std::to_string(settings.screenHeight);

    // Plain capabilities before a sink keep it from taking overlays apart from the picture.
    std::string const output = settings.video == VideoOutput::x11
                                   ? "videoconvert ! video/x-raw ! queue ! ximagesink name=window"
                                   : "fakevideosink name=shot";
    return "compositor name=mix background=black ! video/x-raw,format=I420" + size +
           ",framerate=" + std::to_string(kFrameRate) + "/1 ! identity name=exit ! " + output;
}

std::shared_ptr<GstSample> blackPicture(Settings const& settings)
{
    constexpr std::size_t kBytesOfPixel = 4;
    auto const width = static_cast<std::size_t>(settings.screenWidth);
    auto const height = static_cast<std::size_t>(settings.screenHeight);
    CapsPtr const caps(gst_caps_new_simple("video/x-raw", "format", G_TYPE_STRING, "RGBx", "width", G_TYPE_INT,
                                           settings.screenWidth, "height", G_TYPE_INT, settings.screenHeight,
                                           "framerate", GST_TYPE_FRACTION, kFrameRate, 1, nullptr));
    BufferPtr const pixels(gst_buffer_new_allocate(nullptr, width * height * kBytesOfPixel, nullptr));
    gst_buffer_memset(pixels.get(), 0, 0, width * height * kBytesOfPixel);
    return {gst_sample_new(pixels.get(), caps.get(), nullptr, nullptr), Release()};
}

/// A source that repeats the last picture of its channel for ever. The compositor's pads are never released again:
/// an input that is not in use costs next to nothing, taking one out of a running pipeline costs care.
void addInput(GstElement* pipeline, GstElement* mixer, int number, Settings const& settings)
{
    std::string const chain = "intervideosrc channel=" + channelName(number) +
                              " timeout=" + std::to_string(GST_CLOCK_TIME_NONE) + " ! videoconvert ! queue";
    GstElement* const input = gst_parse_bin_from_description(chain.c_str(), TRUE, nullptr);
    gst_bin_add(GST_BIN(pipeline), input);
    ObjectPtr<GstPad> const pad(gst_element_request_pad_simple(mixer, padName(number).c_str()));
    ObjectPtr<GstPad> const source(gst_element_get_static_pad(input, "src"));
    g_object_set(pad.get(), "width", settings.screenWidth, "height", settings.screenHeight, "alpha", 0.0, nullptr);
    gst_util_set_object_arg(G_OBJECT(pad.get()), "sizing-policy", "keep-aspect-ratio");
    gst_pad_link(source.get(), pad.get());
    gst_element_sync_state_with_parent(input);
}

} // namespace

ScreenInput::ScreenInput(Screen& screen, int number)
    : m_screen(screen)
    , m_number(number)
    , m_channel(channelName(number))
{
}

ScreenInput::~ScreenInput()
{
    m_screen.close(m_number);
}

void ScreenInput::show(bool visible)
{
    m_screen.show(m_number, visible);
}

Screen::Screen(platform::EventLoop& loop, Settings const& settings)
    : m_alive(std::make_shared<Screen*>(this))
    , m_loop(loop)
    , m_settings(settings)
{
}

Screen::~Screen()
{
    for (auto const& entry : m_requests)
    {
        m_loop.cancelTimer(entry.second.deadline);
    }
    if (m_busFd >= 0)
    {
        m_loop.unwatch(m_busFd);
    }
    if (m_pipeline != nullptr)
    {
        m_worker.run([pipeline = m_pipeline.get()] { gst_element_set_state(pipeline, GST_STATE_NULL); });
    }
}

int Screen::start()
{
    GError* fault = nullptr;
    GstElement* const pipeline = gst_parse_launch(describe(m_settings).c_str(), &fault);
    ErrorPtr const owner(fault);
    if (fault != nullptr || pipeline == nullptr)
    {
        ORVANE_LOG_ERROR("%s", fault != nullptr ? fault->message : "no pipeline");
        return -ENODEV;
    }
    m_pipeline.reset(static_cast<GstElement*>(gst_object_ref_sink(pipeline)));
    m_mixer.reset(gst_bin_get_by_name(GST_BIN(pipeline), "mix"));
    ObjectPtr<GstElement> const exit(gst_bin_get_by_name(GST_BIN(pipeline), "exit"));
    m_camera.attach(m_mixer.get(), exit.get());
    m_bus.reset(gst_element_get_bus(pipeline));
    GPollFD poll{};
    gst_bus_get_pollfd(m_bus.get(), &poll);
    m_busFd = poll.fd;
    if (int const result = m_worker.start("screen"); result < 0)
    {
        return result;
    }
    return m_loop.watch(m_busFd, EPOLLIN, [this](std::uint32_t) { readBus(); });
}

std::unique_ptr<ScreenInput> Screen::open()
{
    auto const free = std::find(m_taken.begin(), m_taken.end(), false);
    auto const number = std::distance(m_taken.begin(), free);
    bool const added = free == m_taken.end();
    if (added)
    {
        m_taken.push_back(true);
    }
    else
    {
        *free = true;
    }
    int const slot = static_cast<int>(number);
    bool const first = m_open++ == 0;
    m_worker.run(
        [pipeline = m_pipeline.get(), mixer = m_mixer.get(), settings = m_settings, slot, added, first]
        {
            if (added)
            {
                addInput(pipeline, mixer, slot, settings);
            }
            if (first)
            {
                gst_element_set_state(pipeline, GST_STATE_PLAYING);
            }
        });
    return std::make_unique<ScreenInput>(*this, slot);
}

void Screen::close(int number)
{
    show(number, false);
    m_taken[static_cast<std::size_t>(number)] = false;
    if (--m_open == 0)
    {
        m_worker.run([pipeline = m_pipeline.get()] { gst_element_set_state(pipeline, GST_STATE_NULL); });
        while (!m_requests.empty())
        {
            answer(m_requests.begin()->first, blackPicture(m_settings));
        }
    }
}

void Screen::show(int number, bool visible)
{
    m_worker.run(
        [mixer = m_mixer.get(), number, visible]
        {
            ObjectPtr<GstPad> const pad(gst_element_get_static_pad(mixer, padName(number).c_str()));
            g_object_set(pad.get(), "alpha", visible ? 1.0 : 0.0, nullptr);
        });
}

void Screen::takePicture(PictureTaken taken)
{
    if (m_open == 0)
    {
        taken(blackPicture(m_settings));
        return;
    }
    unsigned int const request = ++m_lastRequest;
    m_requests[request] = {std::move(taken),
                           m_loop.addTimer(kPictureDeadline, [this, request] { answer(request, nullptr); })};
    auto const caught =
        [loop = &m_loop, alive = std::weak_ptr<Screen*>(m_alive), request](std::shared_ptr<GstSample> const& picture)
    {
        loop->post(
            [alive, request, picture]
            {
                if (auto const self = alive.lock())
                {
                    (*self)->answer(request, picture);
                }
            });
    };
    m_worker.run([camera = &m_camera, caught] { camera->take(caught); }); // behind the settings
}

/// The first of picture and deadline answers.
void Screen::answer(unsigned int request, std::shared_ptr<GstSample> const& picture)
{
    auto const found = m_requests.find(request);
    if (found == m_requests.end())
    {
        return;
    }
    m_loop.cancelTimer(found->second.deadline);
    PictureTaken const taken = std::move(found->second.taken);
    m_requests.erase(found);
    taken(picture);
}

void Screen::readBus()
{
    while (GstMessage* const next = gst_bus_pop(m_bus.get()))
    {
        MessagePtr const message(next);
        if (GST_MESSAGE_TYPE(next) == GST_MESSAGE_ERROR)
        {
            GError* error = nullptr;
            gst_message_parse_error(next, &error, nullptr);
            ErrorPtr const owner(error);
            ORVANE_LOG_ERROR("%s", error->message);
        }
    }
}

} // namespace tz::orvane::service
