// SPDX-License-Identifier: Apache-2.0
// All media of one call of the tool, from asking to the last picture.
#include "omc_preview/preview_run.h"

#include "common/exit_status.h"
#include "omc_preview/picture_file.h"
#include "orvane/om_property_group.h"
#include "orvane/om_service.h"
#include "presentation/media_uri.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <poll.h>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace tz::orvane::tools
{

namespace
{

constexpr std::size_t kMostAsked = 32; ///< so that an interruption has little to undo
constexpr int kSheetTimeout = 120;     ///< seconds
constexpr std::string_view kClearLine = "\r\x1b[K";

bool hasTerminal()
{
    char const* const kind = std::getenv("TERM");
    return ::isatty(STDERR_FILENO) != 0 && kind != nullptr && std::string_view(kind) != "dumb";
}

int columns()
{
    constexpr int kUsual = 80;
    winsize size = {};
    bool const known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    return (known ? size.ws_col : kUsual) - 1;
}

void fillProperties(PreviewOptions const& options, om::OmPropertyGroup& group)
{
    if (!options.size.empty())
    {
        group.add(om::OM_PREVIEW_KEY_SIZE, options.size);
    }
    if (options.format == PictureFormat::png)
    {
        group.add(om::OM_PREVIEW_KEY_FORMAT, "png");
    }
    if (options.sheetFrames > 0)
    {
        group.add(om::OM_PREVIEW_KEY_FRAMES, std::to_string(options.sheetFrames));
    }
    int const usual = options.sheetFrames > 0 ? kSheetTimeout : 0;
    if (int const timeout = options.timeout > 0 ? options.timeout : usual; timeout > 0)
    {
        group.add(om::OM_PREVIEW_KEY_TIMEOUT, std::to_string(timeout * 1000));
    }
}

std::optional<FileIdentity> identityOf(std::string const& path)
{
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 ? std::optional<FileIdentity>({status.st_dev, status.st_ino})
                                              : std::nullopt;
}

bool makeFolder(std::string const& path, std::error_code& error)
{
    std::filesystem::create_directories(path, error);
    return !error;
}

} // namespace

PreviewRun::PreviewRun(PreviewOptions const& options, Output& output, Signals& signals)
    : m_options(options)
    , m_output(output)
    , m_signals(signals)
    , m_names(options.format)
    , m_done(options.media.size(), false)
    , m_mostAsked(kMostAsked)
    , m_showsProgress(options.media.size() > 1 && hasTerminal())
{
    for (std::string const& uri : options.media)
    {
        m_waiting.push_back(m_outcomes.size());
        m_outcomes.push_back({uri, 0, "", {}});
        if (auto const file = identityOf(localFile(uri)))
        {
            m_mediaFiles.insert(*file);
        }
        m_targets.push_back(options.intoFolder ? (std::filesystem::path(options.output) / m_names.next(uri)).string()
                                               : options.output);
    }
}

PreviewRun::~PreviewRun()
{
    if (m_connection != nullptr)
    {
        m_tool == nullptr ? void() : m_tool->setListener(nullptr);
        m_connection->removeListener(&m_replies);
    }
    hideProgress();
}

int PreviewRun::run(om::OmIConnection& connection)
{
    if (std::error_code error; m_options.intoFolder && !makeFolder(m_options.output, error))
    {
        complain(m_options.output + " cannot be made: " + error.message());
        return kExitFailed;
    }
    m_connection = &connection;
    m_connection->addListener(&m_replies);
    if (!takeTool())
    {
        complain("the media service gives no preview tool");
        return kExitNoService;
    }
    while (m_finished < m_outcomes.size())
    {
        if (!askMore() || m_replies.isServiceGone())
        {
            complain("the media service is gone");
            return kExitNoService;
        }
        showProgress();
        std::array<pollfd, 2> waited{pollfd{m_replies.descriptor(), POLLIN, 0},
                                     pollfd{m_signals.descriptor(), POLLIN, 0}};
        ::poll(waited.data(), waited.size(), -1);
        for (int signal = m_signals.take(); signal != 0; signal = m_signals.take())
        {
            if (Signals::ends(signal))
            {
                return kExitSignalBase + signal;
            }
            if (signal == SIGTSTP)
            {
                ::raise(SIGSTOP); // blocked as it is, it does not do so by itself
            }
        }
        for (Reply const& reply : m_replies.take())
        {
            accept(reply);
        }
        if (!printFinished())
        {
            complain(std::string("standard output cannot be written: ") + std::strerror(errno));
            return kExitFailed;
        }
    }
    return m_failed ? kExitFailed : kExitDone;
}

/// @return false when there is none
bool PreviewRun::takeTool()
{
    m_tool = m_connection->createPreviewTool(nullptr);
    if (m_tool != nullptr)
    {
        m_tool->setListener(&m_replies);
    }
    return m_tool != nullptr;
}

/// @return false when the service is gone
bool PreviewRun::askMore()
{
    if (!m_refused.empty())
    {
        return !m_asked.empty() || ask(m_refused.front(), true);
    }
    while (!m_waiting.empty() && m_asked.size() < m_mostAsked)
    {
        if (!ask(m_waiting.front(), false))
        {
            return false;
        }
        m_waiting.pop_front();
    }
    return true;
}

/// @return false when the service is gone
bool PreviewRun::ask(std::size_t index, bool again)
{
    om::OmPropertyGroup properties;
    fillProperties(m_options, properties);
    // A sheet is looked at as a whole: frames that repeat because key frames are rare would be of no use.
    bool const exact = m_options.exact || m_options.sheetFrames > 0;
    int const flags = (m_options.output.empty() ? om::OM_PREVIEW_NO_PICTURE : 0) | (exact ? om::OM_PREVIEW_EXACT : 0);
    auto const mode = m_options.place.inPercent ? om::OM_LOCATION_MODE_PERCENT : om::OM_LOCATION_MODE_TIME;
    unsigned int const id = m_tool->getRequestID();
    m_asked[id] = {index, again};
    return id != 0 &&
           m_tool->requestPreviewInfo(m_outcomes[index].uri, mode, m_options.place.position, flags, properties) >= 0;
}

void PreviewRun::accept(Reply const& reply)
{
    auto const found = m_asked.find(reply.id);
    if (found == m_asked.end())
    {
        return;
    }
    Asked const asked = found->second;
    m_asked.erase(found);
    if (asksAgain(asked, reply))
    {
        return;
    }
    std::size_t const index = asked.index;
    PreviewOutcome& outcome = m_outcomes[index];
    outcome.code = static_cast<unsigned int>(reply.code);
    outcome.properties = reply.properties;
    if (!reply.path.empty())
    {
        outcome.fault = deliver(reply.path, m_targets[index]);
        outcome.picture = outcome.fault.empty() ? m_targets[index] : "";
        outcome.code = outcome.fault.empty() ? om::OM_ERROR_NONE : om::OM_ERROR_FORBIDDEN;
    }
    else if (outcome.code == om::OM_ERROR_NONE && !m_options.output.empty())
    {
        outcome.code = om::OM_ERROR_NOT_SUPPORTED;
        outcome.fault = "it has no picture";
    }
    m_done[index] = true;
    ++m_finished;
}

/// Pictures that nobody has taken yet may fill the service: then fewer are on their way at a time. What is refused once
/// more when there are none has another reason.
bool PreviewRun::asksAgain(Asked const& asked, Reply const& reply)
{
    if (asked.again)
    {
        m_refused.pop_front();
        return false;
    }
    if (reply.code != om::OM_ERROR_LIMIT)
    {
        m_mostAsked = std::min(m_mostAsked + 1, kMostAsked);
        return false;
    }
    m_mostAsked = std::clamp<std::size_t>(m_asked.size(), 1, m_mostAsked);
    m_refused.push_back(asked.index);
    return true;
}

/// @return empty, or why the user does not get the picture
std::string PreviewRun::deliver(std::string const& from, std::string const& to)
{
    std::string const picture = contentOfFile(from);
    if (picture.empty())
    {
        return "the service's picture cannot be read: " + from;
    }
    ::unlink(from.c_str()); // so that the service has room for others
    if (to == "-")
    {
        return m_output.write(picture) ? "" : std::string("standard output cannot be written: ") + std::strerror(errno);
    }
    auto const old = identityOf(to);
    return old && m_mediaFiles.count(*old) > 0 ? "its picture would replace a medium, " + to : replaceFile(to, picture);
}

/// In the order of the command line, whatever the order in which they were ready.
/// @return false when there is nowhere to print to any more; errno says why
bool PreviewRun::printFinished()
{
    for (; m_printed < m_outcomes.size() && m_done[m_printed]; ++m_printed)
    {
        PreviewOutcome const& outcome = m_outcomes[m_printed];
        bool const good = outcome.code == om::OM_ERROR_NONE;
        m_failed = m_failed || !good;
        if (!good)
        {
            complain(displayName(outcome.uri) + ": " + previewFault(outcome));
        }
        hideProgress();
        std::string text;
        if (m_options.json)
        {
            text = previewJson(outcome);
        }
        else if (good && m_options.output != "-")
        {
            text = (std::exchange(m_hasPrinted, true) ? "\n" : "") + previewReport(outcome);
        }
        if (!m_output.write(text))
        {
            return false;
        }
    }
    return true;
}

void PreviewRun::showProgress()
{
    if (m_showsProgress && m_finished < m_outcomes.size())
    {
        std::string const& name = m_outcomes[m_printed].uri;
        std::cerr << kClearLine << previewProgress(m_finished, m_outcomes.size(), displayName(name), columns())
                  << std::flush;
    }
}

void PreviewRun::hideProgress()
{
    if (m_showsProgress)
    {
        std::cerr << kClearLine << std::flush;
    }
}

void PreviewRun::complain(std::string const& text)
{
    hideProgress();
    std::cerr << "omc-preview: " << text << "\n" << std::flush;
}

} // namespace tz::orvane::tools
