// The elements, for the plugin to register, and what they have in common.
#pragma once

#include <gst/gst.h>

// Turns a camera's mosaic into a picture.
GST_ELEMENT_REGISTER_DECLARE(trvilbayer)
// Makes whole frames of the fields of interlaced ones.
GST_ELEMENT_REGISTER_DECLARE(trvildeinterlace)

namespace trv::gstreamer {

// Takes the caps over.
inline void add_pad_template(GstElementClass* element_class, GstPadDirection direction,
                             GstCaps* caps) {
    const char* name = direction == GST_PAD_SINK ? "sink" : "src";
    gst_element_class_add_pad_template(element_class,
                                       gst_pad_template_new(name, direction, GST_PAD_ALWAYS, caps));
    gst_caps_unref(caps);
}

}  // namespace trv::gstreamer
