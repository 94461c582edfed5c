// SPDX-License-Identifier: Apache-2.0
// The one picture that all players draw into.
#include "screen.h"

#include "orvane/platform/om_debug.h"

#include <algorithm>
#include <cerrno>
#include <sys/epoll.h>
#include <utility>

namespace tz::orvane::service
{

namespace
{

constexpr char kLogFile[] = "screen";
constexpr char kLogClass[] = "Screen";

constexpr std::chrono::milliseconds kPictureDeadline{3'000};

/// Faults that come closer together are counted: one that comes again and again is none that a new beginning mends.
constexpr std::chrono::seconds kFaultInterval{10};
constexpr int kMostFaults = 3;

std::string channelName(std::size_t number)
{
    return "player-" + std::to_string(number);
}

std::shared_ptr<GstSample> blackPicture(Settings const& settings)
{
    constexpr std::size_t kBytesOfPixel = 4;
    auto const width = static_cast<std::size_t>(settings.screenWidth);
    auto const height = static_cast<std::size_t>(settings.screenHeight);
    CapsPtr const caps(gst_caps_new_simple("video/x-raw", "format", G_TYPE_STRING, "RGBx", "width", G_TYPE_INT,
                                           settings.screenWidth, "height", G_TYPE_INT, settings.screenHeight,
                                           "framerate", GST_TYPE_FRACTION, kScreenRate, 1, nullptr));
    BufferPtr const pixels(gst_buffer_new_allocate(nullptr, width * height * kBytesOfPixel, nullptr));
    gst_buffer_memset(pixels.get(), 0, 0, width * height * kBytesOfPixel);
    return {gst_sample_new(pixels.get(), caps.get(), nullptr, nullptr), Release()};
}

} // namespace

ScreenInput::ScreenInput(Screen& screen, std::size_t number, unsigned int layer)
    : m_screen(screen)
    , m_number(number)
    , m_layer(layer)
{
}

ScreenInput::~ScreenInput()
{
    m_screen.close(m_number);
}

std::string ScreenInput::channel() const
{
    return channelName(m_number);
}

void ScreenInput::show(PictureLook look)
{
    look.layer = m_layer;
    m_screen.m_slots[m_number].look->set(look);
}

void ScreenInput::drawText(std::string const& text, TextLook const& look, bool newFont)
{
    m_screen.m_slots[m_number].text->set(text, look, newFont);
}

Screen::Screen(platform::EventLoop& loop, Settings const& settings)
    : m_loop(loop)
    , m_settings(settings)
    , m_alive(std::make_shared<Screen*>(this))
{
}

Screen::~Screen()
{
    for (auto const& entry : m_requests)
    {
        m_loop.cancelTimer(entry.second.deadline);
    }
    leave();
}

int Screen::start()
{
    std::string reason;
    if (ScreenStage::make(m_settings, m_settings.video, reason) == nullptr)
    {
        ORVANE_LOG_ERROR("%s", reason.c_str());
        return -ENODEV;
    }
    return m_worker.start("screen");
}

bool Screen::isIdle() const
{
    return std::none_of(m_slots.begin(), m_slots.end(), [](Slot const& slot) { return slot.input != nullptr; });
}

std::unique_ptr<ScreenInput> Screen::open()
{
    bool const first = isIdle();
    auto const free =
        std::find_if(m_slots.begin(), m_slots.end(), [](Slot const& slot) { return slot.input == nullptr; });
    auto const number = static_cast<std::size_t>(std::distance(m_slots.begin(), free));
    if (free == m_slots.end())
    {
        m_slots.emplace_back();
    }
    auto input = std::make_unique<ScreenInput>(*this, number, ++m_layers);
    m_slots[number].input = input.get();
    if (first)
    {
        m_faults = 0;
        enter(m_settings.video);
    }
    else if (m_stage != nullptr)
    {
        add(number);
    }
    return input;
}

void Screen::close(std::size_t number)
{
    m_slots[number].input->hide();
    m_slots[number].input = nullptr;
    if (isIdle())
    {
        leave();
        while (!m_requests.empty())
        {
            answer(m_requests.begin()->first, blackPicture(m_settings));
        }
    }
}

/// Begins to run with all inputs that are open.
int Screen::enter(VideoOutput output)
{
    std::string reason;
    m_stage = ScreenStage::make(m_settings, output, reason);
    if (m_stage == nullptr)
    {
        ORVANE_LOG_ERROR("%s", reason.c_str());
        return -ENODEV;
    }
    GPollFD poll{};
    gst_bus_get_pollfd(m_stage->bus(), &poll);
    if (m_loop.watch(poll.fd, EPOLLIN, [this](std::uint32_t) { readBus(); }) == 0)
    {
        m_busFd = poll.fd;
    }
    for (std::size_t number = 0; number < m_slots.size(); ++number)
    {
        if (m_slots[number].input != nullptr)
        {
            add(number);
        }
    }
    m_worker.run([stage = m_stage] { stage->run(); });
    return 0;
}

void Screen::leave()
{
    if (m_busFd >= 0)
    {
        m_loop.unwatch(m_busFd);
        m_busFd = -1;
    }
    for (Slot& slot : m_slots)
    {
        slot.staged = false;
    }
    m_worker.run([stage = std::move(m_stage)]() mutable { stage.reset(); });
    m_stage = nullptr;
}

/// An input that is not in use costs next to nothing, and taking one out of a running pipeline costs care: it stays,
/// and the next that is opened takes its place.
void Screen::add(std::size_t number)
{
    Slot& slot = m_slots[number];
    if (!std::exchange(slot.staged, true))
    {
        m_worker.run([stage = m_stage, channel = channelName(number), look = slot.look, text = slot.text]
                     { stage->add(channel, look, text); });
    }
}

void Screen::readBus()
{
    while (m_stage != nullptr)
    {
        MessagePtr const message(gst_bus_pop(m_stage->bus()));
        if (message == nullptr)
        {
            return;
        }
        if (GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_LATENCY)
        {
            m_worker.run([stage = m_stage] { stage->adaptLatency(); });
        }
        else if (GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_ERROR)
        {
            GError* error = nullptr;
            gst_message_parse_error(message.get(), &error, nullptr);
            ErrorPtr const owner(error);
            recover(error->message);
            return;
        }
    }
}

/// Goes on without a window.
void Screen::recover(std::string const& reason)
{
    ORVANE_LOG_ERROR("%s", reason.c_str());
    leave();
    auto const now = platform::EventLoop::Clock::now();
    m_faults = now - m_lastFault < kFaultInterval ? m_faults : 0;
    m_lastFault = now;
    bool const again = ++m_faults <= kMostFaults && enter(VideoOutput::none) == 0;
    for (auto const& entry : m_requests)
    {
        photograph(entry.first);
    }
    for (std::size_t number = 0; number < m_slots.size(); ++number)
    {
        ScreenInput const* const input = m_slots[number].input;
        if (input != nullptr && input->m_trouble)
        {
            input->m_trouble((again ? "pictures are shown nowhere: " : "there is no picture any more: ") + reason);
        }
    }
}

void Screen::takePicture(PictureTaken taken)
{
    if (isIdle())
    {
        taken(blackPicture(m_settings));
        return;
    }
    unsigned int const request = ++m_lastRequest;
    m_requests[request] = {std::move(taken),
                           m_loop.addTimer(kPictureDeadline, [this, request] { answer(request, nullptr); })};
    photograph(request);
}

void Screen::photograph(unsigned int request)
{
    if (m_stage == nullptr)
    {
        return; // the deadline will tell
    }
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
    m_worker.run([stage = m_stage, caught] { stage->camera().take(caught); }); // behind inputs that are being added
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

} // namespace tz::orvane::service
