// SPDX-License-Identifier: Apache-2.0
// The subtitles of one player: which are chosen, how they look, and when they are on the picture.
#pragma once

#include "cue_list.h"
#include "error_map.h"
#include "newest_job.h"
#include "screen.h"
#include "subtitle_tap.h"
#include "text_look.h"

#include "orvane/om_records.h"
#include "orvane/platform/om_event_loop.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tz::orvane::service
{

/// What subtitles need of their player. Loop thread.
class SubtitleHost
{
public:
    /// Gives the position now or later, or not at all.
    virtual void askSubtitlePosition(std::function<void(std::int64_t)> answer) = 0;

    /// An external track has come, gone or changed.
    virtual void onSubtitlesLoaded() = 0;
    virtual void onSubtitleRefusal(Fault const& fault, char const* command) = 0;
    virtual void onSubtitleWarning(Fault const& fault) = 0;

    /// @return why the medium at hand has no use for an external track, OM_ERROR_NONE when it has
    virtual Fault subtitleObstacle() const = 0;

protected:
    ~SubtitleHost() = default;
};

/// Visibility, look, font and delay outlive media; the external track lasts until another medium is prepared, what was
/// collected from a pipeline until it is closed. Loop thread.
///
/// Texts are collected with their times, and a timer looks which of them belongs to the position: so those of a file
/// and those of a pipeline are shown in one way, at any speed and in both directions.
class Subtitles
{
public:
    Subtitles(platform::EventLoop& loop, JobYard& jobs, std::shared_ptr<JobShare> const& share, SubtitleHost& host);
    Subtitles(Subtitles const&) = delete;
    Subtitles& operator=(Subtitles const&) = delete;
    ~Subtitles();

    void setVisible(bool visible);
    bool visible() const { return m_visible; }

    /// @param style without faults
    void setStyle(om::om_subtiltile_style_t const& style);

    /// @param font see findFont; empty for the usual one. One that is not found is refused later.
    void setFont(std::string const& font);

    /// @param milliseconds positive: later
    void setDelay(std::int64_t milliseconds);

    /// Loads a file, which becomes the external track and is chosen. @param uri empty: there is to be none
    void setUri(std::string const& uri);

    /// The medium that the external track belongs to is no longer played.
    void forgetMedium();

    /// A pipeline is opened. @return what takes its texts
    /// @param file its URI when it is a file on a disk, which can be read ahead
    std::shared_ptr<SubtitleTap> open(ScreenInput& input, std::string const& file);

    /// It is closed: the text goes away, and embedded tracks are chosen no more.
    void close();

    /// The time goes on differently, or somewhere else. @param speed sixteenths of the normal one
    void follow(bool running, int speed);

    void chooseNone();
    void chooseExternal();
    void chooseEmbedded(int number, std::string const& stream);

    bool hasExternal() const { return !m_external.empty(); }

    /// Puts the external track behind the embedded ones, and tells which one is chosen.
    /// @param embedded how many tracks the medium brings
    void complete(om::om_container_info_t& container, int embedded) const;

private:
    enum class Choice
    {
        none,
        embedded,
        external
    };

    void load(std::string const& uri, char const* command);
    void read();
    void collect();
    void tellOverflow();
    void look();
    void onPosition(std::int64_t position);
    void show(std::string const& text);
    void draw(bool newFont = false);

    platform::EventLoop& m_loop;
    SubtitleHost& m_host;

    bool m_visible = true;
    TextLook m_look;
    std::int64_t m_delay = 0;

    std::string m_uri;                   ///< of the external track
    std::string m_wanted;                ///< of the one that is being loaded
    char const* m_loadCommand = nullptr; ///< that wants it to be loaded; null: none is
    CueList m_external;
    char const* m_mimeType = ""; ///< of it

    ScreenInput* m_input = nullptr;
    std::shared_ptr<SubtitleTap> m_tap;
    std::string m_unread; ///< the file at hand, until it is read
    Choice m_choice = Choice::none;
    int m_number = -1; ///< of the embedded track
    std::string m_stream;
    std::string m_shown;
    bool m_running = false;
    int m_speed = 0;
    platform::EventLoop::TimerId m_timer = 0;
    std::uint64_t m_serial = 0; ///< of the last question for the position

    NewestJob m_loading;
    NewestJob m_reading;
    NewestJob m_fontSearch;
};

} // namespace tz::orvane::service
