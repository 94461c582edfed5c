// SPDX-License-Identifier: Apache-2.0
// Takes one picture out of a film: opens it, seeks, and writes the frame that comes into a PNG file.
#include <orvane/omc.h>

#include <png.h>

#include <charconv>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iostream>
#include <mutex>
#include <string>
#include <vector>

using namespace tz::orvane;

namespace
{

enum ExitStatus
{
    kDone = 0,
    kUsage = 1,     ///< wrong arguments, or no service
    kNoPicture = 2, ///< the medium cannot be opened, or has none there
    kNotWritten = 3
};

struct Frame
{
    std::vector<char> pixels; ///< a copy: the library's are good until the listener returns
    int width = 0;
    int height = 0;
    int stride = 0;
    long long pts = -1;
};

/// Called on the library's thread.
class Catcher final : public omc::OmcIMediaPlayerListener, public omc::OmcIConnectionListener
{
public:
    /// Waits for something, an error, or half a minute. @return an empty text, or what went wrong
    std::string waitFor(std::function<bool(Catcher const&)> const& reached)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        bool const ended =
            m_changed.wait_for(lock, std::chrono::seconds(30), [&] { return !m_error.empty() || reached(*this); });
        return ended ? m_error : "no picture came in time";
    }

    bool opened() const { return m_opened; }
    Frame const& frame() const { return m_frame; }

private:
    void onStateChanged(om::OmIMediaPlayer*, unsigned int, om::om_state_e state, int,
                        om::OmPropertyGroup const&) override
    {
        change([&] { m_opened = m_opened || state == om::OM_STATE_PAUSED; });
    }

    void onFrameInfoUpdated(om::OmIMediaPlayer*, unsigned int, void* data, int size,
                            om::OmPropertyGroup const& properties) override
    {
        change(
            [&]
            {
                auto const* const bytes = static_cast<char const*>(data);
                m_frame.pixels.assign(bytes, bytes + size);
                m_frame.width = std::stoi(properties.get(om::OM_FRAME_KEY_WIDTH));
                m_frame.height = std::stoi(properties.get(om::OM_FRAME_KEY_HEIGHT));
                m_frame.stride = std::stoi(properties.get(om::OM_FRAME_KEY_STRIDE));
                m_frame.pts = std::stoll(properties.get(om::OM_FRAME_KEY_PTS));
            });
    }

    void onError(om::OmIMediaPlayer*, unsigned int, unsigned int code, om::OmPropertyGroup const& properties) override
    {
        change([&] { m_error = "error " + std::to_string(code) + ", " + properties.get(om::OM_KEY_TEXT); });
    }

    void onConnectionChanged(om::OmIConnection*, int) override
    {
        change([&] { m_error = "the media service is gone"; });
    }

    void onEvent(om::OmIMediaPlayer*, unsigned int, unsigned int, om::OmPropertyGroup const&) override {}
    void onEvent(om::OmIConnection*, int, om::OmPropertyGroup&) override {}

    void change(std::function<void()> const& how)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        how();
        m_changed.notify_one();
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_opened = false;
    Frame m_frame;
    std::string m_error;
};

/// @return an empty text, or what went wrong
std::string catchFrame(om::OmIMediaPlayer& player, Catcher& catcher, std::string const& uri, long long position)
{
    om::OmPropertyGroup properties;
    properties.add(om::OM_PREPARE_KEY_FRAME_INFO, om::OM_FRAME_FORMAT_RGB);
    player.prepare(uri, properties, om::OM_PREPARE_DEFAULT);
    std::string fault = catcher.waitFor([](Catcher const& caught) { return caught.opened(); });
    if (!fault.empty())
    {
        return fault;
    }
    om::om_media_info_t info{};
    player.getMediaInfo(info);
    if (info.duration > 0 && position >= info.duration)
    {
        return "it ends at " + std::to_string(info.duration) + " ms";
    }
    if (position > 0)
    {
        player.seek(position, om::OM_SEEK_ACCURATE);
    }
    // The picture of the opening comes too, in front of the one of the seek.
    return catcher.waitFor(
        [position](Catcher const& caught)
        { return !caught.frame().pixels.empty() && (position == 0 || caught.frame().pts >= position); });
}

/// @return an empty text, or what went wrong
std::string writePng(Frame const& frame, char const* file)
{
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    image.format = PNG_FORMAT_RGB;
    image.width = static_cast<png_uint_32>(frame.width);
    image.height = static_cast<png_uint_32>(frame.height);
    int const written = png_image_write_to_file(&image, file, 0, frame.pixels.data(), frame.stride, nullptr);
    return written != 0 ? std::string() : image.message;
}

} // namespace

int main(int argc, char** argv)
{
    long long position = -1;
    if (argc == 4)
    {
        char const* const end = argv[2] + std::strlen(argv[2]);
        auto const result = std::from_chars(argv[2], end, position);
        position = result.ec == std::errc() && result.ptr == end ? position : -1;
    }
    if (position < 0)
    {
        std::cerr << "usage: frame_to_png FILE POSITION_MS OUT.png\n";
        return kUsage;
    }
    om::OmIConnection* const connection = omc::OmcClientAccess::getApp(0)->createConnection("frame_to_png");
    om::OmIMediaPlayer* const player = connection == nullptr ? nullptr : connection->createPlayer(nullptr);
    if (player == nullptr)
    {
        std::cerr << "the media service does not run\n";
        return kUsage;
    }
    Catcher catcher;
    connection->addListener(&catcher);
    player->addListener(&catcher);
    std::string const name = argv[1];
    bool const isUri = name.find("://") != std::string::npos;
    std::string const uri = isUri ? name : std::filesystem::absolute(name).string();
    std::string const missing = catchFrame(*player, catcher, uri, position);
    omc::OmcClientAccess::getApp(0)->destroyConnection(connection); // from here on nobody calls the catcher
    if (!missing.empty())
    {
        std::cerr << name << ": " << missing << "\n";
        return kNoPicture;
    }
    Frame const& frame = catcher.frame();
    if (std::string const fault = writePng(frame, argv[3]); !fault.empty())
    {
        std::cerr << argv[3] << ": " << fault << "\n";
        return kNotWritten;
    }
    std::cout << frame.width << " x " << frame.height << " at " << frame.pts << " ms\n";
    return kDone;
}
