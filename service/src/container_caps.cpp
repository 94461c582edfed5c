// SPDX-License-Identifier: Apache-2.0
// Finds in a running pipeline what the whole medium is.
#include "container_caps.h"

namespace tz::orvane::service
{

CapsPtr containerCaps(GstElement* pipeline)
{
    IteratorPtr const elements(gst_bin_iterate_all_by_element_factory_name(GST_BIN(pipeline), "typefind"));
    CapsPtr found;
    GValue item = G_VALUE_INIT;
    bool more = true;
    while (more)
    {
        switch (gst_iterator_next(elements.get(), &item))
        {
        case GST_ITERATOR_OK:
        {
            // The one deepest in a chain of wrappers (a tag before the stream, a playlist) saw the container itself.
            GstCaps* caps = nullptr;
            g_object_get(g_value_get_object(&item), "caps", &caps, nullptr);
            found.reset(caps == nullptr ? found.release() : caps);
            g_value_reset(&item);
            break;
        }
        case GST_ITERATOR_RESYNC:
            found.reset();
            gst_iterator_resync(elements.get());
            break;
        default:
            more = false;
            break;
        }
    }
    g_value_unset(&item);
    return found;
}

} // namespace tz::orvane::service
