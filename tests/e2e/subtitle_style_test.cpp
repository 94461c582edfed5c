// SPDX-License-Identifier: Apache-2.0
// How texts on the picture look.
#include "support/subtitles.h"
#include "support/temp_dir.h"
#include "support/tool_process.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sys/stat.h>

namespace tz::orvane::test
{
namespace
{

class SubtitleStyle : public WithSubtitles
{
};

TEST_F(SubtitleStyle, textHasTheColorsOfItsStyle)
{
    Viewer viewer;
    openWith(viewer, media("en.srt"));
    seek(viewer, 1500);
    om::om_subtiltile_style_t style = usualStyle();
    style.subtitle_fontsize = 600; // so that strokes are wider than what blurs colours
    style.subtitle_color = 0xFFFF00FF;
    viewer.player().setSubtitleStyle(style);
    Color const magenta{255, 0, 255};
    Picture const plain = whenItLooks(viewer, [&](Picture const& now) { return countOf(now, magenta) > 100; });
    Color const cyan{0, 255, 255};
    EXPECT_EQ(countOf(plain, cyan), 0);
    style.subtitle_BGcolor = 0xFF00FFFF;
    viewer.player().setSubtitleStyle(style);
    whenItLooks(viewer, [&](Picture const& now) { return countOf(now, cyan) > 1000 && countOf(now, magenta) > 100; });
    style.subtitle_BGcolor = 0x0000FFFF; // nothing of it is seen
    viewer.player().setSubtitleStyle(style);
    whenItLooks(viewer, [&](Picture const& now) { return countOf(now, cyan) == 0 && countOf(now, magenta) > 100; });
}

TEST_F(SubtitleStyle, aLargerSizeMakesALargerText)
{
    Viewer viewer;
    openWith(viewer, media("en.srt"));
    seek(viewer, 1500);
    ASSERT_TRUE(comesToShow(viewer));
    Text const usual = shown(viewer);
    om::om_subtiltile_style_t style = usualStyle();
    style.subtitle_fontsize = 400;
    viewer.player().setSubtitleStyle(style);
    whenItLooks(viewer,
                [&](Picture const& now)
                {
                    Text const large = textOf(now);
                    return large.pixels > 2 * usual.pixels &&
                           large.right - large.left > (usual.right - usual.left) * 3 / 2;
                });
}

TEST_F(SubtitleStyle, textStandsWhereItsStyleSays)
{
    Viewer viewer;
    openWith(viewer, media("en.srt"));
    seek(viewer, 1500);
    om::om_subtiltile_style_t style = usualStyle();
    style.subtitle_y = 0;
    style.subtitle_height = 200;
    viewer.player().setSubtitleStyle(style);
    whenItLooks(viewer,
                [](Picture const& now)
                {
                    Text const text = textOf(now);
                    return text.there() && text.bottom < 60 && std::abs(text.left + text.right - 320) < 30;
                });
    style.subtitle_x = 0;
    style.subtitle_width = 500;
    viewer.player().setSubtitleStyle(style);
    whenItLooks(viewer,
                [](Picture const& now)
                {
                    Text const text = textOf(now);
                    return text.there() && text.bottom < 60 && text.right < 160;
                });
    style.subtitle_x = 600;
    style.subtitle_width = -1;
    viewer.player().setSubtitleStyle(style);
    whenItLooks(viewer,
                [](Picture const& now)
                {
                    Text const text = textOf(now);
                    return text.there() && text.left > 180;
                });
}

TEST_F(SubtitleStyle, anotherFontLooksDifferent)
{
    Viewer viewer;
    openWith(viewer, media("en.srt"));
    seek(viewer, 1500);
    ASSERT_TRUE(comesToShow(viewer));
    Picture const usual = screenshot(viewer);
    viewer.player().setSubtitleFontPath("DejaVu Sans Mono");
    Picture const mono = whenItLooks(viewer, [&](Picture const& now) { return differenceOf(now, usual) > 20; });
    viewer.player().setSubtitleFontPath("");
    whenItLooks(viewer, [&](Picture const& now) { return differenceOf(now, usual) == 0; });
}

TEST_F(SubtitleStyle, settingsOutliveTheMedium)
{
    Viewer viewer;
    om::om_subtiltile_style_t style = usualStyle();
    style.subtitle_y = 0;
    style.subtitle_height = 200;
    viewer.player().setSubtitleStyle(style);
    viewer.player().setSubtitleDelay(-1500);
    for (int round = 0; round < 2; ++round)
    {
        openWith(viewer, media("en.srt"));
        viewer.player().setSubtitleVisible(1);
        seek(viewer, 300);
        whenItLooks(viewer,
                    [](Picture const& now)
                    {
                        Text const text = textOf(now);
                        return text.there() && text.bottom < 60;
                    });
    }
    viewer.player().setSubtitleVisible(0);
    openWith(viewer, media("en.srt"));
    seek(viewer, 300);
    EXPECT_FALSE(shown(viewer).there());
    EXPECT_EQ(viewer.player().isSubtitleVisible(), 0);
}

/// @return the file of an installed font, empty when there is nobody to tell
std::string fileOfFont(std::string const& name)
{
    ToolProcess search({"/usr/bin/env", "fc-match", "-f", "%{file}", name});
    return search.wait() == 0 ? search.out() : std::string();
}

/// A service that knows one font only.
class FewFonts
{
protected:
    FewFonts()
    {
        std::string const folder = m_folder.path() + "/fonts";
        mkdir(folder.c_str(), 0700);
        std::ofstream(folder + "/known.ttf", std::ios::binary) << fileContent(fileOfFont("DejaVu Sans"));
        std::string const config = m_folder.path() + "/fonts.conf";
        std::ofstream(config) << "<fontconfig><dir>" << folder << "</dir><cachedir>" << folder
                              << "</cachedir></fontconfig>";
        setenv("FONTCONFIG_FILE", config.c_str(), 1);
    }

    ~FewFonts() { unsetenv("FONTCONFIG_FILE"); }

    std::string const m_other = fileOfFont("DejaVu Serif:bold"); ///< before the others are unknown
    std::string const m_monospaced = fileOfFont("DejaVu Sans Mono");

private:
    TempDir m_folder;
};

class SubtitleFont : private FewFonts, public WithSubtitles
{
protected:
    std::string const& other() const { return m_other; }
    std::string const& monospaced() const { return m_monospaced; }
};

TEST_F(SubtitleFont, aFileThatIsNotInstalledIsUsed)
{
    if (other().empty())
    {
        GTEST_SKIP() << "fc-match is not installed";
    }
    Viewer viewer;
    openWith(viewer, media("en.srt"));
    seek(viewer, 1500);
    ASSERT_TRUE(comesToShow(viewer));
    Picture const usual = screenshot(viewer);
    viewer.player().setSubtitleFontPath("DejaVu Serif");
    auto const error = viewer.recorder().takeError();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, static_cast<int>(om::OM_ERROR_NOT_FOUND));
    viewer.player().setSubtitleFontPath(other());
    Picture const changed = whenItLooks(viewer, [&](Picture const& now) { return differenceOf(now, usual) > 20; });

    // It is kept for the next medium, and for other players.
    openWith(viewer, media("en.srt"));
    seek(viewer, 1500);
    whenItLooks(viewer, [&](Picture const& now) { return differenceOf(now, changed) == 0; });
    viewer.player().setSubtitleFontPath("file://" + other());
    viewer.player().setSubtitleFontPath("");
    whenItLooks(viewer, [&](Picture const& now) { return differenceOf(now, usual) == 0; });
}

TEST_F(SubtitleFont, aFileThatIsGoneLaterIsStillUsedAndHoldsUpNoOther)
{
    if (other().empty())
    {
        GTEST_SKIP() << "fc-match is not installed";
    }
    TempDir const folder;
    std::string const former = folder.path() + "/former.ttf";
    std::ofstream(former, std::ios::binary) << fileContent(other());
    Viewer viewer;
    openWith(viewer, media("en.srt"));
    seek(viewer, 1500);
    ASSERT_TRUE(comesToShow(viewer));
    Picture const usual = screenshot(viewer);
    viewer.player().setSubtitleFontPath(former);
    Picture const changed = whenItLooks(viewer, [&](Picture const& now) { return differenceOf(now, usual) > 20; });
    ASSERT_EQ(std::remove(former.c_str()), 0);
    ASSERT_EQ(mkfifo(former.c_str(), 0600), 0); // whoever opens it waits
    viewer.player().setSubtitleFontPath(monospaced());
    whenItLooks(viewer,
                [&](Picture const& now) { return differenceOf(now, usual) > 20 && differenceOf(now, changed) > 20; });
    viewer.player().setSubtitleFontPath(other());
    whenItLooks(viewer, [&](Picture const& now) { return differenceOf(now, changed) == 0; });
}

} // namespace
} // namespace tz::orvane::test
