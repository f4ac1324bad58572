#include <gst/gst.h>

#include "gstreamer/elements.h"

static gboolean register_elements(GstPlugin* plugin) {
    return GST_ELEMENT_REGISTER(trvilbayer, plugin) &&
           GST_ELEMENT_REGISTER(trvildeinterlace, plugin);
}

// No licence has been chosen, and of the words that GStreamer takes for one only "unknown" is true.
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, trvil,
                  "Pictures of cameras: demosaicing, unpacking, frames from fields",
                  register_elements, TRVIL_VERSION, GST_LICENSE_UNKNOWN, "trvil",
                  "Unknown package origin")
