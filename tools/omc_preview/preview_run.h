// SPDX-License-Identifier: Apache-2.0
// All media of one call of the tool, from asking to the last picture.
#pragma once

#include "common/output.h"
#include "common/signals.h"
#include "omc_preview/options.h"
#include "omc_preview/replies.h"
#include "orvane/om_iconnection.h"
#include "orvane/om_ipreview_tool.h"
#include "presentation/preview_report.h"

#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace tz::orvane::tools
{

using FileIdentity = std::pair<dev_t, ino_t>;

/// Main thread.
class PreviewRun
{
public:
    PreviewRun(PreviewOptions const& options, Output& output, Signals& signals);
    PreviewRun(PreviewRun const&) = delete;
    PreviewRun& operator=(PreviewRun const&) = delete;
    ~PreviewRun();

    /// @return the exit status
    int run(om::OmIConnection& connection);

private:
    struct Asked
    {
        std::size_t index;
        bool again; ///< and alone
    };

    bool takeTool();
    bool askMore();
    bool ask(std::size_t index, bool again);
    void accept(Reply const& reply);
    bool asksAgain(Asked const& asked, Reply const& reply);
    std::string deliver(std::string const& from, std::string const& to);
    bool printFinished();
    void showProgress();
    void hideProgress();
    void complain(std::string const& text);

    PreviewOptions const& m_options;
    Output& m_output;
    Signals& m_signals;
    Replies m_replies;
    PictureNames m_names;
    om::OmIConnection* m_connection = nullptr;
    om::OmIPreviewTool* m_tool = nullptr;
    std::vector<PreviewOutcome> m_outcomes;
    std::vector<bool> m_done;
    std::vector<std::string> m_targets;
    std::set<FileIdentity> m_mediaFiles;   ///< which no picture may replace
    std::deque<std::size_t> m_waiting;     ///< to be asked for
    std::deque<std::size_t> m_refused;     ///< to be asked for once more, each while no other is on its way
    std::map<unsigned int, Asked> m_asked; ///< by request id
    std::size_t m_mostAsked;
    std::size_t m_finished = 0;
    std::size_t m_printed = 0;
    bool m_failed = false;
    bool m_hasPrinted = false;
    bool m_showsProgress;
};

} // namespace tz::orvane::tools
