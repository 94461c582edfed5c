// SPDX-License-Identifier: Apache-2.0
// Finds the font that a client names.
#include "subtitle_font.h"

#include "gst_ptr.h"

#include <cerrno>
#include <cstring>
#include <fontconfig/fontconfig.h>
#include <memory>
#include <mutex>
#include <set>
#include <sys/stat.h>

namespace tz::orvane::service
{

namespace
{

/// Files stay known until the service ends.
constexpr std::size_t kMostFiles = 32;
constexpr off_t kLargestFile = 64 << 20;

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

/// Text is being set meanwhile, and fonts in use must not change: another set of fonts takes the place of the old one.
bool install(std::string const& path)
{
    static std::mutex mutex;
    static std::set<std::string> files;
    std::lock_guard<std::mutex> lock(mutex);
    if (files.count(path) != 0)
    {
        return true;
    }
    if (files.size() >= kMostFiles)
    {
        return false;
    }
    FontPtr<FcConfig> const config(FcInitLoadConfigAndFonts());
    if (config == nullptr || FcConfigAppFontAddFile(config.get(), toFc(path)) == FcFalse)
    {
        return false;
    }
    for (std::string const& other : files)
    {
        FcConfigAppFontAddFile(config.get(), toFc(other));
    }
    files.insert(path);
    return FcConfigSetCurrent(config.get()) != FcFalse;
}

FoundFont findFile(std::string const& path)
{
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
    int count = 0;
    FontPtr<FcPattern> const font(FcFreeTypeQuery(toFc(path), 0, nullptr, &count));
    if (font == nullptr)
    {
        return failed(om::OM_ERROR_UNSUPPORTED_FORMAT, "not a font");
    }
    if (!install(path))
    {
        return failed(om::OM_ERROR_LIMIT, "too many fonts");
    }
    return {{}, describe(font.get())};
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
