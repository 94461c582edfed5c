// SPDX-License-Identifier: Apache-2.0
// Finds the font that a client names.
#include "subtitle_font.h"

#include "descriptor.h"
#include "gst_ptr.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fontconfig/fontconfig.h>
#include <map>
#include <memory>
#include <mutex>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <tuple>

namespace tz::orvane::service
{

namespace
{

/// Files stay known until the service ends.
constexpr std::size_t kMostFiles = 32;
constexpr off_t kLargestFile = 64 << 20;
constexpr off_t kMostBytes = 128 << 20;

struct ReleaseFont
{
    void operator()(FcPattern* pattern) const { FcPatternDestroy(pattern); }
    void operator()(FcObjectSet* objects) const { FcObjectSetDestroy(objects); }
    void operator()(FcFontSet* fonts) const { FcFontSetDestroy(fonts); }
    void operator()(FcConfig* config) const { FcConfigDestroy(config); }
};

template <class T> using FontPtr = std::unique_ptr<T, ReleaseFont>;

FcChar8 const* toFc(std::string const& text)
{
    return reinterpret_cast<FcChar8 const*>(text.c_str());
}

FoundFont failed(om::om_error_e code, std::string const& text)
{
    return {{code, text, {}}, {}};
}

/// The words that a description of a font knows.
std::string describe(FcPattern* font)
{
    FcChar8* family = nullptr;
    int weight = FC_WEIGHT_REGULAR;
    int slant = FC_SLANT_ROMAN;
    FcPatternGetString(font, FC_FAMILY, 0, &family);
    FcPatternGetInteger(font, FC_WEIGHT, 0, &weight);
    FcPatternGetInteger(font, FC_SLANT, 0, &slant);
    std::string name = family == nullptr ? "" : reinterpret_cast<char const*>(family);
    name += ","; // what follows is no part of the family's name
    name += weight >= FC_WEIGHT_BLACK    ? " Heavy"
            : weight >= FC_WEIGHT_BOLD   ? " Bold"
            : weight >= FC_WEIGHT_MEDIUM ? " Medium"
            : weight <= FC_WEIGHT_LIGHT  ? " Light"
                                         : "";
    name += slant == FC_SLANT_ITALIC ? " Italic" : slant == FC_SLANT_OBLIQUE ? " Oblique" : "";
    return name;
}

/// A font in the memory: the disk that it is from may be gone while text is set in it.
class FontCopy
{
public:
    /// Blocks as long as the disk does.
    explicit FontCopy(std::string const& path)
        : m_copy(memfd_create("font", MFD_CLOEXEC))
    {
        Descriptor const source(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
        m_fault = m_copy.get() < 0 || source.get() < 0 ? errno : 0;
        ssize_t copied = m_fault == 0 ? 1 : 0;
        while (copied > 0 && m_size <= kLargestFile)
        {
            copied = sendfile(m_copy.get(), source.get(), nullptr, kBlock);
            m_size += std::max<ssize_t>(copied, 0);
            m_fault = copied < 0 ? errno : 0;
        }
    }

    /// @return 0 or an errno value
    int fault() const { return m_fault; }
    off_t size() const { return m_size; }
    std::string path() const { return "/proc/self/fd/" + std::to_string(m_copy.get()); }

private:
    static constexpr std::size_t kBlock = 1 << 20;

    Descriptor m_copy;
    off_t m_size = 0;
    int m_fault = 0;
};

/// A file as it was when it was copied.
using FileVersion = std::tuple<std::string, off_t, time_t, long>;

/// The fonts that text can be set in beside those of the system.
class Shelf
{
public:
    /// @return the name of a font that is there, else an empty one
    std::string find(FileVersion const& file)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto const found = m_fonts.find(file);
        return found == m_fonts.end() ? std::string() : found->second.name;
    }

    /// Text is being set meanwhile, and fonts in use must not change: another set of fonts takes the place of the old
    /// one. @return whether there was room
    bool add(FileVersion const& file, std::shared_ptr<FontCopy> const& copy, std::string const& name)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_fonts.count(file) != 0)
        {
            return true;
        }
        if (m_fonts.size() >= kMostFiles || m_size + copy->size() > kMostBytes)
        {
            return false;
        }
        FontPtr<FcConfig> const config(FcInitLoadConfigAndFonts());
        if (config == nullptr || FcConfigAppFontAddFile(config.get(), toFc(copy->path())) == FcFalse)
        {
            return false;
        }
        for (auto const& other : m_fonts)
        {
            FcConfigAppFontAddFile(config.get(), toFc(other.second.copy->path()));
        }
        if (FcConfigSetCurrent(config.get()) == FcFalse)
        {
            return false;
        }
        m_fonts[file] = {copy, name};
        m_size += copy->size();
        return true;
    }

private:
    struct Font
    {
        std::shared_ptr<FontCopy> copy;
        std::string name;
    };

    std::mutex m_mutex;
    std::map<FileVersion, Font> m_fonts;
    off_t m_size = 0;
};

FoundFont findFile(std::string const& path)
{
    static auto* const shelf = new Shelf; // a thread that was given up may come back when all else is gone
    struct stat status
    {
    };
    if (stat(path.c_str(), &status) != 0)
    {
        return failed(errno == EACCES ? om::OM_ERROR_FORBIDDEN : om::OM_ERROR_NOT_FOUND, std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode) || status.st_size > kLargestFile)
    {
        return failed(om::OM_ERROR_UNSUPPORTED_FORMAT, "not a file of a font");
    }
    FileVersion const file(path, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
    if (std::string const name = shelf->find(file); !name.empty())
    {
        return {{}, name};
    }
    auto const copy = std::make_shared<FontCopy>(path);
    if (copy->fault() != 0)
    {
        return failed(copy->fault() == EACCES ? om::OM_ERROR_FORBIDDEN : om::OM_ERROR_BROKEN_FILE,
                      std::strerror(copy->fault()));
    }
    if (copy->size() > kLargestFile)
    {
        return failed(om::OM_ERROR_UNSUPPORTED_FORMAT, "not a file of a font");
    }
    int count = 0;
    FontPtr<FcPattern> const font(FcFreeTypeQuery(toFc(copy->path()), 0, nullptr, &count));
    if (font == nullptr)
    {
        return failed(om::OM_ERROR_UNSUPPORTED_FORMAT, "not a font");
    }
    std::string const name = describe(font.get());
    return shelf->add(file, copy, name) ? FoundFont{{}, name} : failed(om::OM_ERROR_LIMIT, "too many fonts");
}

FoundFont findFamily(std::string const& family)
{
    FontPtr<FcPattern> const wanted(FcPatternCreate());
    FontPtr<FcObjectSet> const objects(FcObjectSetBuild(FC_FAMILY, nullptr));
    FcPatternAddString(wanted.get(), FC_FAMILY, toFc(family));
    FontPtr<FcFontSet> const fonts(FcFontList(nullptr, wanted.get(), objects.get()));
    bool const known = fonts != nullptr && fonts->nfont > 0;
    return known ? FoundFont{{}, family + ","} : failed(om::OM_ERROR_NOT_FOUND, "no such font is installed");
}

} // namespace

FoundFont findFont(std::string const& font)
{
    if (font.compare(0, 7, "file://") == 0)
    {
        TextPtr const path(g_filename_from_uri(font.c_str(), nullptr, nullptr));
        return path == nullptr ? failed(om::OM_ERROR_NOT_FOUND, font) : findFile(path.get());
    }
    return font[0] == '/' ? findFile(font) : findFamily(font);
}

} // namespace tz::orvane::service
