// SPDX-License-Identifier: Apache-2.0
// Whether a pipeline is at work.
#include "running_task.h"

namespace tz::orvane::service
{

namespace
{

void findRunningTask(GValue const* element, gpointer found)
{
    auto* const object = GST_ELEMENT(g_value_get_object(element));
    GST_OBJECT_LOCK(object);
    for (GList const* entry = object->pads; entry != nullptr; entry = entry->next)
    {
        GstPad* const pad = GST_PAD(entry->data);
        GST_OBJECT_LOCK(pad);
        GstTask* const task = GST_PAD_TASK(pad);
        bool const runs = task != nullptr && gst_task_get_state(task) == GST_TASK_STARTED;
        GST_OBJECT_UNLOCK(pad);
        *static_cast<bool*>(found) = *static_cast<bool*>(found) || runs;
    }
    GST_OBJECT_UNLOCK(object);
}

} // namespace

bool isAnyTaskRunning(GstElement* pipeline)
{
    bool found = false;
    GstIterator* const elements = gst_bin_iterate_recurse(GST_BIN(pipeline));
    while (gst_iterator_foreach(elements, findRunningTask, &found) == GST_ITERATOR_RESYNC)
    {
        gst_iterator_resync(elements);
    }
    gst_iterator_free(elements);
    return found;
}

} // namespace tz::orvane::service
