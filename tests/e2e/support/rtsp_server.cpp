// SPDX-License-Identifier: Apache-2.0
// A live camera for the tests: serves rtsp://127.0.0.1:PORT/live and writes the port to standard output.
#include <gst/rtsp-server/rtsp-server.h>

#include <csignal>
#include <cstdio>
#include <sys/prctl.h>

int main(int argc, char** argv)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    gst_init(&argc, &argv);
    GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
    GstRTSPServer* const server = gst_rtsp_server_new();
    gst_rtsp_server_set_address(server, "127.0.0.1");
    gst_rtsp_server_set_service(server, "0");
    GstRTSPMediaFactory* const factory = gst_rtsp_media_factory_new();
    gst_rtsp_media_factory_set_launch(factory,
                                      "( videotestsrc is-live=true ! video/x-raw,format=I420,"
                                      "width=160,height=96,framerate=25/1 ! jpegenc ! rtpjpegpay name=pay0 pt=26 )");
    GstRTSPMountPoints* const mounts = gst_rtsp_server_get_mount_points(server);
    gst_rtsp_mount_points_add_factory(mounts, "/live", factory);
    g_object_unref(mounts);
    gst_rtsp_server_attach(server, nullptr);
    std::printf("%d\n", gst_rtsp_server_get_bound_port(server));
    std::fflush(stdout);
    g_main_loop_run(loop);
    return 0;
}
