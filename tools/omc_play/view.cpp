// SPDX-License-Identifier: Apache-2.0
// What the user sees.
#include "omc_play/view.h"

#include "presentation/media_json.h"
#include "presentation/media_report.h"
#include "presentation/media_uri.h"
#include "presentation/text.h"

#include <cstdio>
#include <optional>

namespace tz::orvane::tools
{

namespace
{

constexpr char kClearLine[] = "\r\x1b[K";

/// Title and formats, one a line, each ended.
std::string headingOf(Medium const& medium)
{
    std::string const summary = formatSummary(medium.info);
    return titleOf(medium.info, medium.uri) + "\n" + (summary.empty() ? "" : summary + "\n");
}

class BarView : public View
{
public:
    BarView(Output& output, Terminal const& terminal)
        : m_output(output)
        , m_terminal(terminal)
    {
    }

    void opening(std::string const& uri) override
    {
        m_progress.reset();
        m_name = displayName(uri);
        redraw();
    }

    void opened(Medium const& medium) override { print(kClearLine + headingOf(medium)); }

    void progress(Progress const& progress) override
    {
        m_progress = progress;
        draw(progressLine(progress, m_terminal.columns()));
    }

    /// The last state stays; a medium that did not open leaves only what was said about it.
    void finished() override { print(m_progress ? "\n" : kClearLine); }

    void redraw() override
    {
        m_shown.clear();
        if (m_progress)
        {
            progress(*m_progress);
        }
        else
        {
            draw("opening " + m_name);
        }
    }

    void problem(std::string const& text) override
    {
        std::string const line = m_shown;
        print(kClearLine);
        View::problem(text);
        draw(line);
    }

private:
    void print(std::string const& text)
    {
        m_output.write(text);
        m_shown.clear();
    }

    void draw(std::string const& line)
    {
        std::string const fitting = clipped(line, m_terminal.columns());
        if (fitting != m_shown)
        {
            m_shown = fitting;
            m_output.write("\r" + fitting + "\x1b[K");
        }
    }

    Output& m_output;
    Terminal const& m_terminal;
    std::string m_name;
    std::optional<Progress> m_progress; ///< nothing before the medium is open
    std::string m_shown;
};

class PlainView : public View
{
public:
    explicit PlainView(Output& output)
        : m_output(output)
    {
    }

    void opening(std::string const& uri) override
    {
        m_output.write("opening " + printable(uri) + "\n");
        m_state.clear();
        m_times.clear();
    }

    void opened(Medium const& medium) override { m_output.write(headingOf(medium)); }

    void progress(Progress const& progress) override
    {
        if (progress.state != m_state)
        {
            m_state = progress.state;
            m_output.write(printable(m_state) + "\n");
        }
        std::string const times = timesText(progress);
        if (times != m_times)
        {
            m_times = times;
            m_output.write(times + "\n");
        }
    }

private:
    Output& m_output;
    std::string m_state;
    std::string m_times;
};

class ReportView : public View
{
public:
    explicit ReportView(Output& output)
        : m_output(output)
    {
    }

    void opening(std::string const&) override {}

    void opened(Medium const& medium) override
    {
        m_output.write((m_first ? "" : "\n") + mediaReport(medium));
        m_first = false;
    }

    void progress(Progress const&) override {}

private:
    Output& m_output;
    bool m_first = true;
};

class JsonView : public View
{
public:
    explicit JsonView(Output& output)
        : m_output(output)
    {
    }

    void opening(std::string const&) override {}
    void opened(Medium const& medium) override { m_output.write(mediaJson(medium)); }
    void progress(Progress const&) override {}

private:
    Output& m_output;
};

} // namespace

void View::problem(std::string const& text)
{
    std::fprintf(stderr, "omc-play: %s\n", text.c_str());
}

std::unique_ptr<View> makeBarView(Output& output, Terminal const& terminal)
{
    return std::make_unique<BarView>(output, terminal);
}

std::unique_ptr<View> makePlainView(Output& output)
{
    return std::make_unique<PlainView>(output);
}

std::unique_ptr<View> makeReportView(Output& output)
{
    return std::make_unique<ReportView>(output);
}

std::unique_ptr<View> makeJsonView(Output& output)
{
    return std::make_unique<JsonView>(output);
}

} // namespace tz::orvane::tools
