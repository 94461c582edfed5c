// SPDX-License-Identifier: Apache-2.0
// What cameras wrote into photos, beside what another program reads there.
#include "support/http_server.h"
#include "support/media_probe.h"
#include "support/viewer.h"

#include <mutex>
#include <vector>

namespace tz::orvane::test
{
namespace
{

using nlohmann::json;

class Exif : public WithService
{
};

double degrees(om::om_gps_info_t const& gps, bool isLatitude)
{
    auto const& parts = isLatitude ? gps.latitude : gps.longitude;
    double sum = 0;
    double unit = 1;
    for (auto const& part : parts)
    {
        sum += part.den == 0 ? 0 : unit * part.num / part.den;
        unit /= 60;
    }
    return sum;
}

template <class Ratio> double value(Ratio const& ratio)
{
    return static_cast<double>(ratio.num) / ratio.den;
}

void expectSamePhoto(om::om_exif_info_t const& exif, json const& told)
{
    EXPECT_EQ(exif.rotation, 90); // orientation 6
    EXPECT_EQ(exif.mirror, 0);
    EXPECT_DOUBLE_EQ(value(exif.exposure_time), told["ExposureTime"]);
    EXPECT_DOUBLE_EQ(value(exif.f_number), told["FNumber"]);
    EXPECT_DOUBLE_EQ(value(exif.focal_length), told["FocalLength"]);
    EXPECT_EQ(exif.camera_model, told["Model"]);
    EXPECT_EQ(exif.camera_maker, told["Make"]);
    EXPECT_EQ(exif.color_space, told["ColorSpace"]);
    EXPECT_EQ(dateText(exif.date_taken, ':', ' '), told["DateTimeOriginal"]);
    EXPECT_EQ(exif.date_taken.wday, 6); // the third of February 2024 was a Saturday
    EXPECT_EQ(exif.iso, told["ISO"]);
    EXPECT_NEAR(degrees(exif.gps, true), told["GPSLatitude"], 1e-6);
    EXPECT_NEAR(degrees(exif.gps, false), told["GPSLongitude"], 1e-6);
    EXPECT_STREQ(exif.gps.latitude_ref, "N");
    EXPECT_STREQ(exif.gps.longitude_ref, "E");
    EXPECT_DOUBLE_EQ(value(exif.gps.altitude), told["GPSAltitude"]);
    EXPECT_EQ(exif.gps.altitude_ref, told["GPSAltitudeRef"]);
}

/// Listens to what cameras wrote.
class ExifListener final : public omc::OmcIMediaPlayerListener
{
public:
    std::vector<om::om_exif_info_t> told() const
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        return m_told;
    }

private:
    void onExifInfoUpdated(om::OmIMediaPlayer*, unsigned int, om::om_exif_info_t* info,
                           om::OmPropertyGroup const&) override
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        m_told.push_back(*info);
    }

    mutable std::mutex m_mutex;
    std::vector<om::om_exif_info_t> m_told;
};

TEST_F(Exif, whatTheCameraWroteIsToldAndAnswered)
{
    HttpServer server(ORVANE_E2E_MEDIA);
    json const told = exiftool(media("exif.jpg"));
    ExifListener listener;
    Viewer viewer;
    viewer.player().addListener(&listener);
    std::size_t count = 0;
    for (std::string const& uri : {media("exif.jpg"), server.uri("plain/exif.jpg")})
    {
        SCOPED_TRACE(uri);
        ASSERT_TRUE(viewer.open(uri));
        ASSERT_EQ(listener.told().size(), ++count) << "it comes before the state";
        expectSamePhoto(listener.told().back(), told);
        om::om_exif_info_t exif{};
        EXPECT_EQ(viewer.player().getExifInfo(exif), 0);
        expectSamePhoto(exif, told);
        EXPECT_EQ(viewer.recorder().mediaInfo().disp_rotation, 90);
        EXPECT_EQ(viewer.recorder().mediaInfo().create_date.year, 2024);
    }
    for (char const* const file : {"p.jpg", "p.png", "v.mp4", "cover.jpg"})
    {
        ASSERT_TRUE(viewer.open(media(file)));
        om::om_exif_info_t exif{};
        EXPECT_LT(viewer.player().getExifInfo(exif), 0) << file;
    }
    EXPECT_EQ(listener.told().size(), count);
    viewer.player().removeListener(&listener);
}

TEST_F(Exif, mirroredPhotosAndThoseOfOtherKindsAreTold)
{
    Viewer viewer;
    om::om_exif_info_t exif{};
    ASSERT_TRUE(viewer.open(media("mirrored.jpg")));
    EXPECT_EQ(viewer.player().getExifInfo(exif), 0);
    EXPECT_EQ(exif.rotation, 90);
    EXPECT_EQ(exif.mirror, 1);
    EXPECT_EQ(exif.date_taken.year, -1);
    ASSERT_TRUE(viewer.open(media("exif.png")));
    EXPECT_EQ(viewer.player().getExifInfo(exif), 0);
    EXPECT_EQ(exif.rotation, 180);
    EXPECT_STREQ(exif.camera_model, "Model 1000");
}

} // namespace
} // namespace tz::orvane::test
