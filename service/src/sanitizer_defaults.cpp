// SPDX-License-Identifier: Apache-2.0
// What the leak checker is to overlook: memory that other people's libraries keep until the process ends.
//
// Those libraries are built without frame pointers, so that only the slow unwinder sees which of them it was.
extern "C"
{
    char const* __asan_default_options();
    char const* __lsan_default_suppressions();

    __attribute__((visibility("default"))) char const* __asan_default_options()
    {
        return "fast_unwind_on_malloc=0";
    }

    __attribute__((visibility("default"))) char const* __lsan_default_suppressions()
    {
        return "leak:ld-linux\n"           // tables that GLib makes while it is being loaded
               "leak:g_intern_\n"          // GLib lets go of the table of such names when it makes a larger one
               "leak:g_quark_from\n"       // the same
               "leak:libfontconfig\n"      // its patterns refer to each other by distances, where nobody sees a pointer
               "leak:gst_structure_free\n" // a session of libsoup that ends while a server is silent
               "leak:libgstsoup.so\n";     // an object that waits for a main loop, which this service has none of
    }
}
