// SPDX-License-Identifier: Apache-2.0
// Pictures of the screen, in files.
#include "screenshot.h"

#include "descriptor.h"

#include <gst/video/video.h>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace tz::orvane::service
{

namespace
{

constexpr int kMostUnderWay = 16;
constexpr GstClockTime kCompressTimeout = 5 * GST_SECOND;

/// @return 0, or a negative errno value
int writeFile(std::string const& path, GstBuffer* content)
{
    Descriptor const file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!file)
    {
        return -errno;
    }
    GstMapInfo map;
    int result = -ENOMEM;
    if (gst_buffer_map(content, &map, GST_MAP_READ) != FALSE)
    {
        result = writeAll(file.get(), {reinterpret_cast<char const*>(map.data), map.size});
        gst_buffer_unmap(content, &map);
    }
    if (result < 0)
    {
        unlink(path.c_str());
    }
    return result;
}

std::pair<int, std::shared_ptr<Screenshot>> save(GstSample* sample, std::string const& path)
{
    GstVideoInfo picture;
    if (gst_video_info_from_caps(&picture, gst_sample_get_caps(sample)) == FALSE)
    {
        return {-EIO, nullptr};
    }
    CapsPtr const format(gst_caps_new_empty_simple("image/png"));
    GError* fault = nullptr;
    SamplePtr const compressed(gst_video_convert_sample(sample, format.get(), kCompressTimeout, &fault));
    ErrorPtr const owner(fault);
    if (compressed == nullptr)
    {
        return {-EIO, nullptr};
    }
    int const result = writeFile(path, gst_sample_get_buffer(compressed.get()));
    return {result, result < 0 ? nullptr : std::make_shared<Screenshot>(path, picture.width, picture.height)};
}

} // namespace

Screenshot::Screenshot(std::string path, int width, int height)
    : m_path(std::move(path))
    , m_width(width)
    , m_height(height)
{
}

Screenshot::~Screenshot()
{
    unlink(m_path.c_str());
}

Screenshots::Screenshots(platform::EventLoop& loop, Screen& screen)
    : m_loop(loop)
    , m_screen(screen)
{
}

int Screenshots::start(std::string folder)
{
    m_folder = std::move(folder);
    return m_worker.start("screenshot");
}

void Screenshots::take(Taken taken)
{
    if (m_underWay >= kMostUnderWay)
    {
        taken(-EBUSY, nullptr);
        return;
    }
    ++m_underWay;
    m_screen.takePicture(
        [this, taken = std::move(taken)](std::shared_ptr<GstSample> const& sample)
        {
            if (sample == nullptr)
            {
                --m_underWay;
                taken(-ETIMEDOUT, nullptr);
                return;
            }
            compress(sample, taken);
        });
}

void Screenshots::compress(std::shared_ptr<GstSample> const& sample, Taken taken)
{
    std::string const path =
        m_folder + "/screenshot-" + std::to_string(getpid()) + "-" + std::to_string(++m_serial) + ".png";
    m_worker.run(
        [this, sample, path, taken = std::move(taken)]
        {
            auto const saved = save(sample.get(), path);
            m_loop.post(
                [this, taken, saved]
                {
                    --m_underWay;
                    taken(saved.first, saved.second);
                });
        });
}

} // namespace tz::orvane::service
