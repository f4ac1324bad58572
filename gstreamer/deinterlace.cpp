// trvildeinterlace: fields in, together in frames or one by one; out whole frames.
#include <gst/video/gstvideofilter.h>
#include <gst/video/video.h>

#include <array>
#include <cstring>
#include <vector>

#include "gstreamer/elements.h"
#include "trvil/buffer.hpp"

namespace {

using trvil::Buffer;
using trvil::Format;

// Formats by which lines are interpolated: YVYU has luminance and chrominance where YUV422 has.
struct Layout {
    GstVideoFormat format;
    Format stored;
};

constexpr Layout layouts[] = {
    {GST_VIDEO_FORMAT_GRAY8, Format::Mono8}, {GST_VIDEO_FORMAT_YUY2, Format::YUV422},
    {GST_VIDEO_FORMAT_YVYU, Format::YUV422}, {GST_VIDEO_FORMAT_BGR, Format::BGR24},
    {GST_VIDEO_FORMAT_RGB, Format::RGB24},   {GST_VIDEO_FORMAT_BGRx, Format::BGRX32},
    {GST_VIDEO_FORMAT_RGBx, Format::RGBX32}, {GST_VIDEO_FORMAT_xBGR, Format::XBGR32},
    {GST_VIDEO_FORMAT_xRGB, Format::XRGB32}, {GST_VIDEO_FORMAT_RGBA, Format::RGBA32},
    {GST_VIDEO_FORMAT_BGRA, Format::BGRX32},
};

unsigned pixel_bytes(Format format) {
    return trvil::facts(format).stored / 8;
}

Format stored_as(GstVideoFormat format) {
    for (const Layout& layout : layouts)
        if (layout.format == format) return layout.stored;
    return Format::Mono8;
}

enum Fields : gint { fields_top, fields_bottom, fields_all };

struct Settings {
    guint method = TIL_FIELD_MEDIAN;
    gint fields = fields_top;
};

struct Deinterlace {
    GstVideoFilter parent;
    Settings settings;              // under the object's lock; set while there is no stream
    GstBuffer* second;              // a frame whose other field is still to be made
    gboolean at_second;             // that is what is being made
    std::vector<uint8_t>* field;    // its lines without padding
    std::vector<uint8_t>* picture;  // the frame, where the destination's lines are padded
};

struct DeinterlaceClass {
    GstVideoFilterClass parent;
};

GstBaseTransformClass* parent_class;

Deinterlace* deinterlace_of(gpointer object) {
    return reinterpret_cast<Deinterlace*>(object);
}

Settings settings_now(Deinterlace* self) {
    GST_OBJECT_LOCK(self);
    const Settings now = self->settings;
    GST_OBJECT_UNLOCK(self);
    return now;
}

// ---- Properties ----

enum PropertyId : guint { property_method = 1, property_fields };

GType method_type() {
    static const GEnumValue methods[] = {
        {TIL_FIELD_LINE_DUP, "Copy the line above", "dup"},
        {TIL_FIELD_LINE_AVE, "Mean of the lines above and below", "ave"},
        {TIL_FIELD_BILINEAR, "Weighted sum of six pixels, softest", "bilinear"},
        {TIL_FIELD_MEDIAN, "Median of six pixels, sharpest; not for pixels of 4 bytes", "median"},
        {0, nullptr, nullptr}};
    static const GType type = g_enum_register_static("TrvilDeinterlaceMethod", methods);
    return type;
}

GType fields_type() {
    static const GEnumValue fields[] = {
        {fields_top, "The field of lines 0, 2, 4, ...", "top"},
        {fields_bottom, "The field of lines 1, 3, 5, ...", "bottom"},
        {fields_all, "Both, one after the other: twice as many frames", "all"},
        {0, nullptr, nullptr}};
    static const GType type = g_enum_register_static("TrvilDeinterlaceFields", fields);
    return type;
}

void set_property(GObject* object, guint id, const GValue* value, GParamSpec* pspec) {
    Deinterlace* self = deinterlace_of(object);
    GST_OBJECT_LOCK(object);
    if (id == property_method)
        self->settings.method = static_cast<guint>(g_value_get_enum(value));
    else if (id == property_fields)
        self->settings.fields = g_value_get_enum(value);
    else
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
    GST_OBJECT_UNLOCK(object);
}

void get_property(GObject* object, guint id, GValue* value, GParamSpec* pspec) {
    const Settings settings = settings_now(deinterlace_of(object));
    if (id == property_method)
        g_value_set_enum(value, static_cast<gint>(settings.method));
    else if (id == property_fields)
        g_value_set_enum(value, settings.fields);
    else
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
}

// ---- Caps ----

// Both sides have the same formats. The median of 4-byte pixels is a distorted frame, which old
// programs count on and no pipeline does.
GstCaps* raw_caps(bool with_four_bytes) {
    std::vector<GstVideoFormat> formats;
    for (const Layout& layout : layouts)
        if (with_four_bytes || pixel_bytes(layout.stored) != 4) formats.push_back(layout.format);
    GstCaps* caps = gst_video_make_raw_caps(formats.data(), static_cast<guint>(formats.size()));
    GValue height = G_VALUE_INIT;
    g_value_init(&height, GST_TYPE_INT_RANGE);
    gst_value_set_int_range_step(&height, 2, G_MAXINT - 1, 2);  // two fields of as many lines
    gst_caps_set_value(caps, "height", &height);
    g_value_unset(&height);
    // The smallest line by all methods and formats.
    gst_caps_set_simple(caps, "width", GST_TYPE_INT_RANGE, 4, G_MAXINT, nullptr);
    return caps;
}

// Frames a second after (or, backwards, before) the element, where both fields become frames.
void scale_rate(GstStructure* structure, gint numerator, gint denominator) {
    gint n = 0, d = 1;
    if (!gst_structure_has_field(structure, "framerate")) return;
    if (gst_structure_get_fraction(structure, "framerate", &n, &d) &&
        gst_util_fraction_multiply(n, d, numerator, denominator, &n, &d))
        gst_structure_set(structure, "framerate", GST_TYPE_FRACTION, n, d, nullptr);
    else
        gst_structure_set(structure, "framerate", GST_TYPE_FRACTION_RANGE, 0, 1, G_MAXINT, 1,
                          nullptr);
}

// The same pictures with both fields in each frame, and with a buffer for each field.
GstCaps* interlaced(GstCaps* caps) {
    GValue modes = G_VALUE_INIT, mode = G_VALUE_INIT;
    gst_value_list_init(&modes, 2);
    g_value_init(&mode, G_TYPE_STRING);
    for (const char* name : {"interleaved", "mixed"}) {
        g_value_set_static_string(&mode, name);
        gst_value_list_append_value(&modes, &mode);
    }
    GstCaps* fields = gst_caps_copy(caps);
    gst_caps_set_value(caps, "interlace-mode", &modes);
    gst_caps_set_simple(fields, "interlace-mode", G_TYPE_STRING, "alternate", nullptr);
    gst_caps_set_features_simple(
        fields, gst_caps_features_new(GST_CAPS_FEATURE_FORMAT_INTERLACED, nullptr));
    gst_caps_append(caps, fields);
    g_value_unset(&modes);
    g_value_unset(&mode);
    return caps;
}

GstCaps* progressive(GstCaps* caps) {
    gst_caps_set_simple(caps, "interlace-mode", G_TYPE_STRING, "progressive", nullptr);
    gst_caps_set_features_simple(
        caps, gst_caps_features_new(GST_CAPS_FEATURE_MEMORY_SYSTEM_MEMORY, nullptr));
    return caps;
}

GstCaps* transform_caps(GstBaseTransform* trans, GstPadDirection direction, GstCaps* caps,
                        GstCaps* filter) {
    const Settings settings = settings_now(deinterlace_of(trans));
    const bool forwards = direction == GST_PAD_SINK;
    GstCaps* known = raw_caps(settings.method != TIL_FIELD_MEDIAN);
    if (forwards) known = interlaced(known);
    GstCaps* result = gst_caps_make_writable(gst_caps_intersect(caps, known));
    gst_caps_unref(known);
    for (guint i = 0; i < gst_caps_get_size(result); ++i) {
        GstStructure* structure = gst_caps_get_structure(result, i);
        gst_structure_remove_field(structure, "field-order");
        if (settings.fields == fields_all)
            scale_rate(structure, forwards ? 2 : 1, forwards ? 1 : 2);
    }
    if (!gst_caps_is_empty(result)) result = forwards ? progressive(result) : interlaced(result);
    if (filter == nullptr) return result;
    GstCaps* filtered = gst_caps_intersect_full(filter, result, GST_CAPS_INTERSECT_FIRST);
    gst_caps_unref(result);
    return filtered;
}

gboolean sink_event(GstBaseTransform* trans, GstEvent* event) {
    if (GST_EVENT_TYPE(event) == GST_EVENT_FLUSH_STOP)
        gst_buffer_replace(&deinterlace_of(trans)->second, nullptr);
    return parent_class->sink_event(trans, event);
}

// ---- Frames ----

bool has_one_field(const GstVideoInfo& info) {
    return GST_VIDEO_INFO_INTERLACE_MODE(&info) == GST_VIDEO_INTERLACE_MODE_ALTERNATE;
}

// The lines of a field without padding: where they are, or copied.
uint8_t* lines_of_field(const GstVideoFrame* frame, bool bottom, size_t line,
                        std::vector<uint8_t>& copy) {
    const auto lines = static_cast<size_t>(frame->info.height) / 2;
    auto step = static_cast<size_t>(frame->info.stride[0]);
    auto* from = static_cast<uint8_t*>(frame->data[0]);
    if (!has_one_field(frame->info)) {
        if (bottom) from += step;
        step *= 2;
    }
    if (step == line) return from;
    copy.resize(line * lines);
    for (size_t y = 0; y < lines; ++y) std::memcpy(copy.data() + y * line, from + y * step, line);
    return copy.data();
}

// The methods take padding for samples and write frames at the field's stride, so neither has
// padding here.
void make_frame(Deinterlace* self, const GstVideoFrame* in, GstVideoFrame* out, guint method,
                bool bottom) {
    const Format stored = stored_as(GST_VIDEO_INFO_FORMAT(&in->info));
    auto width = static_cast<uint32_t>(in->info.width);
    if (stored == Format::YUV422) width += width % 2;  // its lines are whole pairs
    const auto height = static_cast<uint32_t>(in->info.height);
    const size_t line = size_t{width} * pixel_bytes(stored);
    const auto stride = static_cast<size_t>(out->info.stride[0]);
    auto* to = static_cast<uint8_t*>(out->data[0]);
    uint8_t* whole = to;
    if (stride != line) {
        self->picture->resize(line * height);
        whole = self->picture->data();
    }
    const Buffer field = Buffer::wrap(lines_of_field(in, bottom, line, *self->field),
                                      line * (height / 2), width, height / 2, stored);
    const Buffer frame = Buffer::wrap(whole, line * height, width, height, stored);
    const uint32_t status =
        TIL_FieldToFrame(field.handle(), frame.handle(), method, bottom ? 0 : 1);
    if (status != TRV_STATUS_OK) throw trvil::Error(status, "a field makes no frame");
    if (stride != line)
        for (size_t y = 0; y < height; ++y) std::memcpy(to + y * stride, whole + y * line, line);
}

bool top_first(const GstVideoFrame* frame) {
    return GST_VIDEO_FRAME_FLAG_IS_SET(frame, GST_VIDEO_FRAME_FLAG_TFF) ||
           GST_VIDEO_INFO_FIELD_ORDER(&frame->info) == GST_VIDEO_FIELD_ORDER_TOP_FIELD_FIRST;
}

GstFlowReturn transform_frame(GstVideoFilter* filter, GstVideoFrame* in, GstVideoFrame* out) {
    Deinterlace* self = deinterlace_of(filter);
    const Settings settings = settings_now(self);
    constexpr guint interlaced = GST_VIDEO_BUFFER_FLAG_INTERLACED | GST_VIDEO_BUFFER_FLAG_TFF |
                                 GST_VIDEO_BUFFER_FLAG_RFF | GST_VIDEO_BUFFER_FLAG_ONEFIELD;
    GST_MINI_OBJECT_FLAGS(out->buffer) &= ~interlaced;
    if (!GST_VIDEO_FRAME_IS_INTERLACED(in)) {  // one of the whole frames of mode mixed
        gst_video_frame_copy(out, in);
        return GST_FLOW_OK;
    }
    bool bottom = settings.fields == fields_bottom;
    if (has_one_field(in->info)) {
        const bool is_bottom = GST_VIDEO_FRAME_IS_BOTTOM_FIELD(in);
        if (settings.fields != fields_all && is_bottom != bottom)
            return GST_BASE_TRANSFORM_FLOW_DROPPED;
        bottom = is_bottom;
    } else if (settings.fields == fields_all) {
        bottom = top_first(in) == (self->at_second != FALSE);
    }
    try {
        make_frame(self, in, out, settings.method, bottom);
    } catch (const std::exception& error) {
        GST_ELEMENT_ERROR(filter, LIBRARY, FAILED, ("%s", error.what()), (nullptr));
        return GST_FLOW_ERROR;
    }
    return GST_FLOW_OK;
}

// Called until it has nothing more: of both fields, a frame is taken again for the second one.
GstFlowReturn generate_output(GstBaseTransform* trans, GstBuffer** out) {
    Deinterlace* self = deinterlace_of(trans);
    const bool all =
        settings_now(self).fields == fields_all && !has_one_field(GST_VIDEO_FILTER(trans)->in_info);
    self->at_second = self->second != nullptr;
    if (self->at_second) {
        trans->queued_buf = self->second;
        self->second = nullptr;
    } else if (all && trans->queued_buf != nullptr) {
        self->second = gst_buffer_ref(trans->queued_buf);
    }
    const GstFlowReturn flow = parent_class->generate_output(trans, out);
    if (flow != GST_FLOW_OK) gst_buffer_replace(&self->second, nullptr);
    if (!all || *out == nullptr || !GST_BUFFER_DURATION_IS_VALID(*out)) return flow;
    GST_BUFFER_DURATION(*out) /= 2;
    if (self->at_second && GST_BUFFER_PTS_IS_VALID(*out))
        GST_BUFFER_PTS(*out) += GST_BUFFER_DURATION(*out);
    return flow;
}

gboolean stop(GstBaseTransform* trans) {
    gst_buffer_replace(&deinterlace_of(trans)->second, nullptr);
    return TRUE;
}

// ---- The element ----

void init(GTypeInstance* instance, gpointer) {
    Deinterlace* self = deinterlace_of(instance);
    self->settings = Settings();
    self->field = new std::vector<uint8_t>;
    self->picture = new std::vector<uint8_t>;
}

void finalize(GObject* object) {
    delete deinterlace_of(object)->field;
    delete deinterlace_of(object)->picture;
    G_OBJECT_CLASS(parent_class)->finalize(object);
}

void install_properties(GObjectClass* object_class) {
    const Settings usual;
    const auto flags = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS |
                                                GST_PARAM_MUTABLE_READY);
    g_object_class_install_property(
        object_class, property_method,
        g_param_spec_enum("method", "Method", "How the lines of the other field are made up",
                          method_type(), static_cast<gint>(usual.method), flags));
    g_object_class_install_property(
        object_class, property_fields,
        g_param_spec_enum("fields", "Fields", "Which field of a frame becomes a frame",
                          fields_type(), usual.fields, flags));
}

void class_init(gpointer klass, gpointer) {
    parent_class = GST_BASE_TRANSFORM_CLASS(g_type_class_peek_parent(klass));
    GObjectClass* object_class = G_OBJECT_CLASS(klass);
    object_class->set_property = set_property;
    object_class->get_property = get_property;
    object_class->finalize = finalize;
    install_properties(object_class);
    gst_type_mark_as_plugin_api(method_type(), static_cast<GstPluginAPIFlags>(0));
    gst_type_mark_as_plugin_api(fields_type(), static_cast<GstPluginAPIFlags>(0));

    GstElementClass* element_class = GST_ELEMENT_CLASS(klass);
    gst_element_class_set_static_metadata(
        element_class, "Frames from fields", "Filter/Effect/Video/Deinterlace",
        "Makes whole frames of the fields of interlaced ones, by four methods", "trvil");
    trv::gstreamer::add_pad_template(element_class, GST_PAD_SINK, interlaced(raw_caps(true)));
    trv::gstreamer::add_pad_template(element_class, GST_PAD_SRC, raw_caps(true));

    GstBaseTransformClass* transform_class = GST_BASE_TRANSFORM_CLASS(klass);
    transform_class->transform_caps = transform_caps;
    transform_class->sink_event = sink_event;
    transform_class->generate_output = generate_output;
    transform_class->stop = stop;
    GST_VIDEO_FILTER_CLASS(klass)->transform_frame = transform_frame;
}

GType deinterlace_type() {
    static const GType type = g_type_register_static_simple(
        GST_TYPE_VIDEO_FILTER, "TrvilDeinterlace", sizeof(DeinterlaceClass), class_init,
        sizeof(Deinterlace), init, static_cast<GTypeFlags>(0));
    return type;
}

}  // namespace

GST_ELEMENT_REGISTER_DEFINE(trvildeinterlace, "trvildeinterlace", GST_RANK_NONE, deinterlace_type())
