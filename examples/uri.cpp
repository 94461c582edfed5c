// SPDX-License-Identifier: Apache-2.0
// Takes a media URI apart and prints what it is made of.
#include <orvane/omc.h>

#include <iostream>
#include <stdexcept>

using namespace tz::orvane;

int main(int argc, char** argv)
try
{
    om::UriEntity const uri(argc == 2 ? argv[1] : "file:///media/clip.mp4?width=1920&height=1080&lang=de");
    if (!uri.isValid())
    {
        std::cerr << "usage: uri [URI] (file://, http://, https://, es:// or rtsp://)\n";
        return 1;
    }
    om::om_uri_info_t info;
    uri.getUriInfo(info);
    std::cout << "header    " << info.header << "\n"
              << "file name " << info.file_name << "\n"
              << "pure URI  " << info.pure_uri << "\n"
              << "size      " << uri.getProperty("width") << " x " << uri.getProperty("height") << "\n";
}
catch (std::out_of_range const&)
{
    std::cerr << "nothing stands behind the header\n";
    return 1;
}
