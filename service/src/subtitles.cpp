// SPDX-License-Identifier: Apache-2.0
// The subtitles of one player: which are chosen, how they look, and when they are on the picture.
#include "subtitles.h"

#include "subtitle_font.h"
#include "subtitle_loader.h"
#include "subtitle_reader.h"
#include "subtitle_text.h"
#include "text_field.h"

#include "orvane/om_enums.h"
#include "orvane/om_service.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace tz::orvane::service
{

namespace
{

/// A position is looked at so often at least: clocks drift, and a network holds a medium up.
constexpr std::int64_t kLongestLook = 500;

/// While an operation is under way the position is not known.
constexpr std::int64_t kShortestLook = 10;

/// Longer than a server is given: it is to have said by then what is wrong.
constexpr std::chrono::seconds kFileDeadline{15};

constexpr char kSetUri[] = "setSubtitleUri";

std::string nameOf(std::string const& uri)
{
    TextPtr const path(g_uri_unescape_string(uri.c_str(), nullptr));
    std::string const whole = path == nullptr ? uri : path.get();
    return whole.substr(whole.rfind('/') + 1);
}

} // namespace

Subtitles::Subtitles(platform::EventLoop& loop, JobYard& jobs, std::shared_ptr<JobShare> const& share,
                     SubtitleHost& host)
    : m_loop(loop)
    , m_host(host)
    , m_loading(jobs, kFileDeadline, share)
    , m_reading(jobs, std::nullopt, share) // as long as the file is
    , m_fontSearch(jobs, kFileDeadline, share)
{
}

Subtitles::~Subtitles()
{
    close();
}

void Subtitles::setVisible(bool visible)
{
    m_visible = visible;
    look();
}

void Subtitles::setStyle(om::om_subtiltile_style_t const& style)
{
    bool const reread = style.subtitle_charset != m_look.style.subtitle_charset && !m_wanted.empty();
    m_look.style = style;
    draw();
    if (reread)
    {
        load(m_wanted, m_loadCommand == nullptr ? "setSubtitleStyle" : m_loadCommand);
    }
}

void Subtitles::setFont(std::string const& font)
{
    auto const refuse = [this](Fault const& fault) { m_host.onSubtitleRefusal(fault, "setSubtitleFontPath"); };
    auto const take = [this, refuse](FoundFont const& found)
    {
        if (found.fault.code != om::OM_ERROR_NONE)
        {
            refuse(found.fault);
            return;
        }
        m_look.font = found.name;
        draw(true);
    };
    if (font.empty())
    {
        m_fontSearch.cancel();
        take({});
        return;
    }
    m_fontSearch.run([take, font](NewestJob::Cancelled const&) -> std::function<void()>
                     { return [take, found = findFont(font)] { take(found); }; },
                     refuse);
}

void Subtitles::setDelay(std::int64_t milliseconds)
{
    m_delay = milliseconds;
    look();
}

void Subtitles::setUri(std::string const& uri)
{
    if (!uri.empty())
    {
        load(uri, kSetUri);
        return;
    }
    bool const changes = hasExternal();
    forgetMedium();
    if (changes)
    {
        m_host.onSubtitlesLoaded();
    }
}

/// @param command what is read again because of another one is not chosen
void Subtitles::load(std::string const& uri, char const* command)
{
    m_wanted = uri;
    m_loadCommand = command;
    auto const refuse = [this](Fault const& fault)
    {
        m_wanted = m_uri;
        m_host.onSubtitleRefusal(fault, std::exchange(m_loadCommand, nullptr));
    };
    m_loading.run(
        [this, uri, refuse, encoding = encodingName(m_look.style.subtitle_charset)](
            NewestJob::Cancelled const& cancelled) -> std::function<void()>
        {
            auto const loaded = std::make_shared<LoadedSubtitles>(loadSubtitles(uri, encoding, cancelled));
            return [this, uri, refuse, loaded]
            {
                if (loaded->fault.code == om::OM_ERROR_NONE)
                {
                    loaded->fault = m_host.subtitleObstacle(); // it may be known by now
                }
                if (loaded->fault.code != om::OM_ERROR_NONE)
                {
                    refuse(loaded->fault);
                    return;
                }
                m_uri = uri;
                m_mimeType = loaded->mimeType;
                m_external = std::move(loaded->cues);
                std::exchange(m_loadCommand, nullptr) == kSetUri ? chooseExternal() : look();
                m_host.onSubtitlesLoaded();
                if (m_external.overflowed())
                {
                    tellOverflow();
                }
            };
        },
        refuse);
}

void Subtitles::forgetMedium()
{
    m_loading.cancel();
    m_loadCommand = nullptr;
    m_uri.clear();
    m_wanted.clear();
    m_external = {};
    if (m_choice == Choice::external)
    {
        chooseNone();
    }
}

std::shared_ptr<SubtitleTap> Subtitles::open(ScreenInput& input, std::string const& file)
{
    m_unread = file;
    m_input = &input;
    m_shown.clear();
    m_tap = std::make_shared<SubtitleTap>(m_loop, [this] { collect(); });
    draw(!m_look.font.empty()); // whoever had this place before may not have known the font
    return m_tap;
}

void Subtitles::close()
{
    m_loop.cancelTimer(m_timer);
    m_timer = 0;
    ++m_serial;
    m_running = false;
    show({});
    m_input = nullptr;
    m_reading.cancel();
    if (m_tap != nullptr)
    {
        m_tap->close();
        m_tap.reset();
    }
    if (m_choice == Choice::embedded)
    {
        m_choice = Choice::none;
    }
}

void Subtitles::collect()
{
    TapNews const news = m_tap->news();
    for (int track = 0; track < news.overflowed; ++track)
    {
        tellOverflow();
    }
    if (news.tracksLeftOut)
    {
        m_host.onSubtitleWarning({om::OM_ERROR_LIMIT, "there are too many tracks of subtitles", {}});
    }
    if (m_choice == Choice::embedded && news.streams.count(m_stream) > 0)
    {
        look();
    }
}

void Subtitles::tellOverflow()
{
    m_host.onSubtitleWarning({om::OM_ERROR_LIMIT, "a track has too many texts, some of them are left out", {}});
}

void Subtitles::follow(bool running, int speed)
{
    m_running = running;
    m_speed = speed;
    look();
}

void Subtitles::chooseNone()
{
    m_choice = Choice::none;
    look();
}

void Subtitles::chooseExternal()
{
    m_choice = Choice::external;
    look();
}

void Subtitles::chooseEmbedded(int number, std::string const& stream)
{
    m_choice = Choice::embedded;
    m_number = number;
    m_stream = stream;
    read();
    look();
}

/// What plays brings its texts only a little ahead of their time, and none backwards. A file is read beside it.
void Subtitles::read()
{
    if (m_unread.empty())
    {
        return;
    }
    std::string const file = std::exchange(m_unread, {});
    m_reading.run(
        [tap = m_tap, file](NewestJob::Cancelled const& cancelled)
        {
            readEmbeddedSubtitles(file, *tap, cancelled);
            return [] {};
        },
        [this, file](Fault const&) { m_unread = file; }); // the next choice tries again
}

void Subtitles::complete(om::om_container_info_t& container, int embedded) const
{
    container.text_selected = m_choice == Choice::embedded ? m_number : -1;
    container.text_count = embedded;
    if (embedded >= om::om_container_info_t::kTextCapacity)
    {
        return;
    }
    om::om_stream_info_t& entry = container.subtitle_detail[embedded];
    std::memset(&entry, 0, sizeof entry);
    entry.id = -1;
    if (!hasExternal())
    {
        return;
    }
    ++container.text_count;
    entry.id = embedded;
    entry.stream_type = om::OM_STREAM_TYPE_SUBTITLE;
    entry.subtitle.embtype = om::OM_SUBTITLE_EXTERNAL;
    setText(entry.mime_type, m_mimeType);
    setText(entry.subtitle.title, nameOf(m_uri));
    if (m_choice == Choice::external)
    {
        container.text_selected = embedded;
    }
}

/// Looks what belongs on the picture, now and whenever that changes.
void Subtitles::look()
{
    m_loop.cancelTimer(m_timer);
    m_timer = 0;
    ++m_serial;
    if (m_input == nullptr)
    {
        return;
    }
    if (!m_visible || m_choice == Choice::none)
    {
        show({});
        return;
    }
    m_host.askSubtitlePosition(
        [this, serial = m_serial](std::int64_t position)
        {
            if (serial == m_serial)
            {
                onPosition(position);
            }
        });
}

void Subtitles::onPosition(std::int64_t position)
{
    std::int64_t const at = position - m_delay;
    CueList::Moment const moment = m_choice == Choice::external ? m_external.at(at) : m_tap->at(m_stream, at);
    show(moment.text);
    if (!m_running || m_speed == 0)
    {
        return;
    }
    auto const change = m_speed > 0 ? moment.until : moment.from;
    std::int64_t wait = kLongestLook;
    if (change)
    {
        // Backwards the text of a cue ends before its first millisecond.
        std::int64_t const distance = std::min(std::abs(*change - at) + 1, kLongestLook * std::abs(m_speed));
        wait = std::clamp(distance * om::OM_PLAY_SPEED_NORMAL / std::abs(m_speed), kShortestLook, kLongestLook);
    }
    m_timer = m_loop.addTimer(std::chrono::milliseconds(wait), [this] { look(); });
}

void Subtitles::show(std::string const& text)
{
    if (text != m_shown)
    {
        m_shown = text;
        draw();
    }
}

void Subtitles::draw(bool newFont)
{
    if (m_input != nullptr)
    {
        m_input->drawText(m_shown, m_look, newFont);
    }
}

} // namespace tz::orvane::service
