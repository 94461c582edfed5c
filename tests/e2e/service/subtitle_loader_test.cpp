// SPDX-License-Identifier: Apache-2.0
// Files of subtitles of every kind and encoding, whole and broken.
#include "subtitle_loader.h"
#include "subtitle_parser.h"
#include "subtitle_text.h"

#include "support/temp_dir.h"
#include "support/tool_process.h"

#include "orvane/om_service.h"

#include <gmock/gmock.h>
#include <gst/gst.h>
#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <sys/stat.h>

namespace tz::orvane::service
{
namespace
{

using testing::ElementsAre;
using testing::Field;

auto isCue(std::int64_t start, std::int64_t end, std::string const& text)
{
    return testing::AllOf(Field(&Cue::start, start), Field(&Cue::end, end), Field(&Cue::text, text));
}

class SubtitleLoader : public testing::Test
{
protected:
    SubtitleLoader() { gst_init(nullptr, nullptr); }

    LoadedSubtitles load(std::string const& path, std::int32_t charset = om::OM_SUBTITLE_CHARSET_AUTO)
    {
        std::atomic<bool> const goOn{false};
        return loadSubtitles("file://" + path, encodingName(charset), goOn);
    }

    LoadedSubtitles loadMedium(std::string const& name, std::int32_t charset = om::OM_SUBTITLE_CHARSET_AUTO)
    {
        return load(ORVANE_E2E_MEDIA "/" + name, charset);
    }

    std::string write(std::string const& content)
    {
        std::string const path = m_folder.path() + "/file";
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }

    test::TempDir m_folder;
};

TEST_F(SubtitleLoader, subRipAndWebVttAndSubStationAlphaSayTheSame)
{
    for (char const* const name : {"en.srt", "en.vtt", "en.ass"})
    {
        LoadedSubtitles const loaded = loadMedium(name);
        EXPECT_EQ(loaded.fault.code, om::OM_ERROR_NONE) << name;
        EXPECT_THAT(loaded.cues.cues(), ElementsAre(isCue(1000, 3000, "Hello one"), isCue(4000, 6000, "Hello two")))
            << name;
    }
}

TEST_F(SubtitleLoader, textsOfSamiLastUntilTheNext)
{
    LoadedSubtitles const loaded = loadMedium("en.smi");
    EXPECT_THAT(loaded.cues.cues(),
                ElementsAre(isCue(1000, Cue::kUntilNext, "Hello sami"), isCue(3000, Cue::kUntilNext, ""),
                            isCue(5000, Cue::kUntilNext, "Last sami")));
}

TEST_F(SubtitleLoader, everyEncodingGivesTheSameText)
{
    for (auto const& [name, charset] :
         {std::pair("ko_utf8.srt", om::OM_SUBTITLE_CHARSET_AUTO), std::pair("ko_bom.srt", om::OM_SUBTITLE_CHARSET_AUTO),
          std::pair("ko_utf16.srt", om::OM_SUBTITLE_CHARSET_AUTO),
          std::pair("ko_utf8.srt", om::OM_SUBTITLE_CHARSET_KOREAN),
          std::pair("ko_euckr.srt", om::OM_SUBTITLE_CHARSET_KOREAN)})
    {
        LoadedSubtitles const loaded = loadMedium(name, charset);
        ASSERT_EQ(loaded.cues.cues().size(), 8u) << name;
        EXPECT_EQ(loaded.cues.cues()[2].text, "안녕하세요 세계 3") << name;
    }
    for (char const* const name : {"de_utf8.srt", "de_latin1.srt"})
    {
        LoadedSubtitles const loaded = loadMedium(name);
        ASSERT_EQ(loaded.cues.cues().size(), 8u) << name;
        EXPECT_EQ(loaded.cues.cues()[7].text, "Äpfel für Öl 8") << name;
    }
    EXPECT_NE(loadMedium("ko_euckr.srt").cues.cues().at(0).text, "안녕하세요 세계 1");
}

TEST_F(SubtitleLoader, everyCharsetHasAnEncodingThatExists)
{
    for (std::int32_t charset = om::OM_SUBTITLE_CHARSET_AUTO; charset <= om::OM_SUBTITLE_CHARSET_KOI8_R; ++charset)
    {
        ASSERT_NE(encodingName(charset), nullptr) << charset;
        EXPECT_NE(decodeText("\xC4\xE3\xC4\xE3", encodingName(charset)), "") << charset;
    }
    EXPECT_EQ(encodingName(-2), nullptr);
    EXPECT_EQ(encodingName(om::OM_SUBTITLE_CHARSET_KOI8_R + 1), nullptr);
}

TEST_F(SubtitleLoader, aFileMayBeAsShortAsOneText)
{
    EXPECT_THAT(load(write("00:01 --> 00:02\nÄ")).cues.cues(), ElementsAre(isCue(1000, 2000, "Ä")));
}

TEST_F(SubtitleLoader, sloppyFilesAreRead)
{
    // Line ends of three kinds, no empty line between two texts, and tags.
    CueList const list = parseSubtitles("1\r\n00:00:01,000 --> 00:00:02,000\r\n<i>one</i> &amp; {half}\r\n"
                                        "2\r00:00:03.5 --> 00:00:04,25 X1:10\rtwo <3\r\r"
                                        "3\n00:00:09,000 --> 00:00:08,000\nbackwards\n\n"
                                        "4\n01:00:00,000-->01:00:01,000\n first \n\tsecond\n");
    EXPECT_THAT(list.cues(), ElementsAre(isCue(1000, 2000, "one & {half}"), isCue(3500, 4250, "two <3"),
                                         isCue(3'600'000, 3'601'000, "first\nsecond")));
}

TEST_F(SubtitleLoader, columnsOfSubStationAlphaStandWhereTheFileSays)
{
    CueList const list = parseSubtitles("[Script Info]\n[Events]\nFormat: Start, End, Text\n"
                                        "Dialogue: 0:00:01.50,0:00:02.00,{\\b1}bold{\\b0}, yes\\Nline\n"
                                        "Dialogue: 0:00:03.00,0:00:04.00,{\\pos(1,2)\\p1}m 0 0 l 10 10{\\p0}\n"
                                        "Comment: 0:00:05.00,0:00:06.00,not shown\n");
    EXPECT_THAT(list.cues(), ElementsAre(isCue(1500, 2000, "bold, yes\nline")));
}

TEST_F(SubtitleLoader, ofTheLanguagesOfSamiTheFirstIsTaken)
{
    CueList const list = parseSubtitles("<SAMI><BODY><SYNC Start=1000><P Class=KRCC>one<br>more<P Class=ENCC>eins"
                                        "<SYNC Start='2000'><P Class='ENCC'>zwei<SYNC Start=3000><P Class=KRCC>three");
    EXPECT_THAT(list.cues(),
                ElementsAre(isCue(1000, Cue::kUntilNext, "one\nmore"), isCue(3000, Cue::kUntilNext, "three")));
}

TEST_F(SubtitleLoader, controlCharactersAndBytesThatAreNoTextGoAway)
{
    EXPECT_EQ(tidy(std::string_view("a\0b\x01\x7F \xFF  c\n\n\n d", 15)), "a\xEF\xBF\xBD"
                                                                          "b \xEF\xBF\xBD c\nd");
    EXPECT_LE(tidy(std::string(100'000, 'x')).size(), 1024u);
    EXPECT_EQ(stripTags("&#65;&#x42;&#0;&#x110000;&unknown;&"), "AB\xEF\xBF\xBD\xEF\xBF\xBD&unknown;&");
    EXPECT_EQ(stripTags("<00:01.500>karaoke<c.loud>!</c>"), "karaoke!");
    EXPECT_EQ(stripTags("<font color=red>x</font><unclosed"), "x");
}

TEST_F(SubtitleLoader, whatIsNoFileOfSubtitlesIsRefused)
{
    EXPECT_EQ(load(m_folder.path() + "/nothing").fault.code, om::OM_ERROR_NOT_FOUND);
    EXPECT_EQ(load(m_folder.path()).fault.code, om::OM_ERROR_UNSUPPORTED_FORMAT);
    EXPECT_EQ(load("/dev/zero").fault.code, om::OM_ERROR_UNSUPPORTED_FORMAT);
    EXPECT_EQ(load(write("")).fault.code, om::OM_ERROR_UNSUPPORTED_FORMAT);
    EXPECT_EQ(loadMedium("text.txt").fault.code, om::OM_ERROR_UNSUPPORTED_FORMAT);
    EXPECT_EQ(loadMedium("v.mp4").fault.code, om::OM_ERROR_UNSUPPORTED_FORMAT);
    EXPECT_EQ(load(write(std::string(9U << 20U, 'x'))).fault.code, om::OM_ERROR_LIMIT);
    std::string const pipe = m_folder.path() + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(load(pipe).fault.code, om::OM_ERROR_UNSUPPORTED_FORMAT);
    std::atomic<bool> const goOn{false};
    EXPECT_EQ(loadSubtitles("ftp://host/file.srt", "UTF-8", goOn).fault.code, om::OM_ERROR_UNKNOWN_SCHEME);
    EXPECT_EQ(loadSubtitles("http://127.0.0.1:1/file.srt", "UTF-8", goOn).fault.code, om::OM_ERROR_CONNECT_FAILED);
}

TEST_F(SubtitleLoader, aLoadThatIsCancelledEnds)
{
    std::atomic<bool> const cancelled{true};
    EXPECT_TRUE(loadSubtitles("http://127.0.0.1:1/file.srt", "UTF-8", cancelled).cues.empty());
}

TEST_F(SubtitleLoader, mutilatedFilesDoNoHarm)
{
    std::mt19937 random(4711);
    for (char const* const name : {"en.srt", "en.vtt", "en.ass", "en.smi", "ko_utf16.srt", "ko_euckr.srt"})
    {
        std::string const whole = test::fileContent(ORVANE_E2E_MEDIA "/" + std::string(name));
        ASSERT_FALSE(whole.empty());
        for (int round = 0; round < 300; ++round)
        {
            std::string broken = whole;
            for (int count = 0; count < 8; ++count)
            {
                broken[random() % broken.size()] = static_cast<char>(random());
            }
            broken.resize(random() % broken.size());
            CueList const list = parseSubtitles(decodeText(broken, "CP949"));
            EXPECT_LE(list.cues().size(), 8u);
            parseSubtitles(broken); // as it is, no text at all perhaps
        }
    }
}

} // namespace
} // namespace tz::orvane::service
