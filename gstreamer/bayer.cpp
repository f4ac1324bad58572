// trvilbayer: a camera's mosaic in, a picture out.
#include <gst/base/gstbasetransform.h>
#include <gst/video/gstvideometa.h>
#include <gst/video/gstvideopool.h>
#include <gst/video/video.h>

#include <string>

#include "gstreamer/elements.h"
#include "gstreamer/mosaic_caps.h"
#include "gstreamer/picture_maker.h"

GST_DEBUG_CATEGORY_STATIC(trvilbayer_debug);
#define GST_CAT_DEFAULT trvilbayer_debug

namespace {

using trv::gstreamer::Lines;
using trv::gstreamer::Mosaic;
using trv::gstreamer::PictureMaker;
using trv::gstreamer::Settings;

// The properties, as programs set them from any thread.
struct Properties {
    Settings settings;
    guint stride = 0;
};

// What the streaming thread works with.
struct Stream {
    Mosaic mosaic;
    GstVideoInfo picture;
    PictureMaker maker;
};

struct Bayer {
    GstBaseTransform parent;
    Properties* properties;  // under the object's lock
    Stream* stream;
};

struct BayerClass {
    GstBaseTransformClass parent;
};

GstBaseTransformClass* parent_class;

Bayer* bayer_of(gpointer object) {
    return reinterpret_cast<Bayer*>(object);
}

// ---- Properties ----

enum PropertyId : guint {
    property_method = 1,
    property_threads,
    property_red_gain,
    property_green_gain,
    property_blue_gain,
    property_black,
    property_stride
};

GType method_type() {
    static const GEnumValue methods[] = {
        {TBL_BAYER_METHOD_DUP, "Nearest: copy a neighbour, fastest", "nearest"},
        {TBL_BAYER_METHOD_AVE, "Mean of the neighbours", "mean"},
        {TBL_BAYER_METHOD_MED, "Median of four neighbours, mean of two", "median"},
        {TRW_METHOD_GRADIENT, "Mean corrected by gradients: sharper, less false colour",
         "gradient"},
        {0, nullptr, nullptr}};
    static const GType type = g_enum_register_static("TrvilBayerMethod", methods);
    return type;
}

void set_property(GObject* object, guint id, const GValue* value, GParamSpec* pspec) {
    Properties& properties = *bayer_of(object)->properties;
    GST_OBJECT_LOCK(object);
    switch (id) {
        case property_method:
            properties.settings.method = static_cast<uint32_t>(g_value_get_enum(value));
            break;
        case property_threads:
            properties.settings.threads = g_value_get_uint(value);
            break;
        case property_red_gain:
        case property_green_gain:
        case property_blue_gain:
            properties.settings.gains[id - property_red_gain] = g_value_get_double(value);
            break;
        case property_black:
            properties.settings.black = g_value_get_uint(value);
            break;
        case property_stride:
            properties.stride = g_value_get_uint(value);
            break;
        default:
            G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
    }
    GST_OBJECT_UNLOCK(object);
}

void get_property(GObject* object, guint id, GValue* value, GParamSpec* pspec) {
    const Properties& properties = *bayer_of(object)->properties;
    GST_OBJECT_LOCK(object);
    switch (id) {
        case property_method:
            g_value_set_enum(value, static_cast<gint>(properties.settings.method));
            break;
        case property_threads:
            g_value_set_uint(value, properties.settings.threads);
            break;
        case property_red_gain:
        case property_green_gain:
        case property_blue_gain:
            g_value_set_double(value, properties.settings.gains[id - property_red_gain]);
            break;
        case property_black:
            g_value_set_uint(value, properties.settings.black);
            break;
        case property_stride:
            g_value_set_uint(value, properties.stride);
            break;
        default:
            G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, pspec);
    }
    GST_OBJECT_UNLOCK(object);
}

void install_properties(GObjectClass* object_class) {
    const Settings usual;
    const auto flags = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS |
                                                GST_PARAM_MUTABLE_PLAYING);
    g_object_class_install_property(
        object_class, property_method,
        g_param_spec_enum("method", "Method", "How the colours a pixel lacks are found",
                          method_type(), static_cast<gint>(usual.method), flags));
    g_object_class_install_property(
        object_class, property_threads,
        g_param_spec_uint("threads", "Threads",
                          "Threads that work on a picture; 0: as many as there are processors", 0,
                          1024, usual.threads, flags));
    const char* const gains[][3] = {
        {"red-gain", "Red gain", "Factor of red samples, after the black level is taken off"},
        {"green-gain", "Green gain", "Factor of green samples, after the black level is taken off"},
        {"blue-gain", "Blue gain", "Factor of blue samples, after the black level is taken off"}};
    for (guint i = 0; i < 3; ++i)
        g_object_class_install_property(
            object_class, property_red_gain + i,
            g_param_spec_double(gains[i][0], gains[i][1], gains[i][2], 0.001, 31, 1, flags));
    g_object_class_install_property(
        object_class, property_black,
        g_param_spec_uint("black", "Black level",
                          "What a sample is without light, in units of the samples: of 12 bits "
                          "0 to 4094",
                          0, 65534, usual.black, flags));
    g_object_class_install_property(
        object_class, property_stride,
        g_param_spec_uint("stride", "Stride",
                          "Bytes from line to line of mosaics whose buffers have no GstVideoMeta; "
                          "0: lines share a buffer evenly, or else begin at multiples of 4 bytes",
                          0, G_MAXINT, 0, flags));
}

// ---- Caps ----

GstCaps* picture_caps() {
    GstCaps* caps =
        gst_video_make_raw_caps(trv::gstreamer::picture_formats().data(),
                                static_cast<guint>(trv::gstreamer::picture_formats().size()));
    gst_caps_set_simple(caps, "width", GST_TYPE_INT_RANGE, 2, G_MAXINT, "height",
                        GST_TYPE_INT_RANGE, 2, G_MAXINT, nullptr);
    return caps;
}

// What both sides have in common: all that is said of time and of the picture's shape.
void copy_shape(const GstStructure* from, GstStructure* to) {
    for (const char* field : {"width", "height", "framerate", "pixel-aspect-ratio"})
        if (const GValue* value = gst_structure_get_value(from, field))
            gst_structure_set_value(to, field, value);
}

GstCaps* transform_caps(GstBaseTransform* trans, GstPadDirection direction, GstCaps* caps,
                        GstCaps* filter) {
    GstPad* other = direction == GST_PAD_SINK ? trans->srcpad : trans->sinkpad;
    GstCaps* templ = gst_pad_get_pad_template_caps(other);
    GstCaps* result = gst_caps_new_empty();
    for (guint i = 0; i < gst_caps_get_size(caps); ++i)
        for (guint k = 0; k < gst_caps_get_size(templ); ++k) {
            GstStructure* made = gst_structure_copy(gst_caps_get_structure(templ, k));
            copy_shape(gst_caps_get_structure(caps, i), made);
            result = gst_caps_merge_structure(result, made);
        }
    gst_caps_unref(templ);
    if (filter == nullptr) return result;
    GstCaps* filtered = gst_caps_intersect_full(filter, result, GST_CAPS_INTERSECT_FIRST);
    gst_caps_unref(result);
    return filtered;
}

// Of several formats, the first one that the element prefers, whatever order the sink names them
// in: many begin with grey.
GstCaps* fixate_caps(GstBaseTransform* trans, GstPadDirection direction, GstCaps* caps,
                     GstCaps* others) {
    if (direction == GST_PAD_SINK)
        for (const GstVideoFormat format : trv::gstreamer::picture_formats()) {
            GstCaps* wanted = gst_caps_new_simple("video/x-raw", "format", G_TYPE_STRING,
                                                  gst_video_format_to_string(format), nullptr);
            GstCaps* chosen = gst_caps_intersect(others, wanted);
            gst_caps_unref(wanted);
            if (!gst_caps_is_empty(chosen)) {
                gst_caps_unref(others);
                others = chosen;
                break;
            }
            gst_caps_unref(chosen);
        }
    return parent_class->fixate_caps(trans, direction, caps, others);
}

// Caps that pass the template may still name what is not there; the bus is told why.
gboolean sink_event(GstBaseTransform* trans, GstEvent* event) {
    if (GST_EVENT_TYPE(event) == GST_EVENT_CAPS) {
        GstCaps* caps = nullptr;
        gst_event_parse_caps(event, &caps);
        Mosaic mosaic;
        std::string why;
        if (!trv::gstreamer::read_mosaic(caps, mosaic, why)) {
            GST_ELEMENT_ERROR(trans, STREAM, FORMAT, ("%s", why.c_str()),
                              ("caps %" GST_PTR_FORMAT, static_cast<void*>(caps)));
            gst_event_unref(event);
            return FALSE;
        }
    }
    return parent_class->sink_event(trans, event);
}

gboolean set_caps(GstBaseTransform* trans, GstCaps* in, GstCaps* out) {
    Stream& stream = *bayer_of(trans)->stream;
    std::string why;
    return trv::gstreamer::read_mosaic(in, stream.mosaic, why) &&
           gst_video_info_from_caps(&stream.picture, out);
}

// ---- Buffers ----

gboolean transform_size(GstBaseTransform*, GstPadDirection direction, GstCaps* caps, gsize size,
                        GstCaps* others, gsize* other_size) {
    *other_size = size;
    if (direction == GST_PAD_SINK) {
        GstVideoInfo info;
        if (!gst_video_info_from_caps(&info, others)) return FALSE;
        *other_size = info.size;
        return TRUE;
    }
    Mosaic mosaic;
    std::string why;
    if (!trv::gstreamer::read_mosaic(others, mosaic, why)) return FALSE;
    *other_size = trvil::line_bytes(mosaic.layout, mosaic.width) * mosaic.height;
    (void)caps;
    return TRUE;
}

// Whoever fills our buffers may pad their lines.
gboolean propose_allocation(GstBaseTransform* trans, GstQuery* decided, GstQuery* query) {
    if (!parent_class->propose_allocation(trans, decided, query)) return FALSE;
    gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
    return TRUE;
}

// Pictures come from the pool that downstream proposes, or from one of our own; their lines are
// padded where downstream reads GstVideoMeta.
gboolean decide_allocation(GstBaseTransform* trans, GstQuery* query) {
    GstCaps* caps = nullptr;
    gst_query_parse_allocation(query, &caps, nullptr);
    const guint least_size = static_cast<guint>(bayer_of(trans)->stream->picture.size);
    GstBufferPool* pool = nullptr;
    guint size = least_size, least = 0, most = 0;
    const bool proposed = gst_query_get_n_allocation_pools(query) > 0;
    if (proposed) gst_query_parse_nth_allocation_pool(query, 0, &pool, &size, &least, &most);
    if (pool == nullptr) pool = gst_video_buffer_pool_new();
    size = MAX(size, least_size);
    GstStructure* config = gst_buffer_pool_get_config(pool);
    gst_buffer_pool_config_set_params(config, caps, size, least, most);
    if (gst_query_find_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr))
        gst_buffer_pool_config_add_option(config, GST_BUFFER_POOL_OPTION_VIDEO_META);
    gst_buffer_pool_set_config(pool, config);
    if (proposed)
        gst_query_set_nth_allocation_pool(query, 0, pool, size, least, most);
    else
        gst_query_add_allocation_pool(query, pool, size, least, most);
    gst_object_unref(pool);
    return parent_class->decide_allocation(trans, query);
}

// ---- Pictures ----

// A buffer's memory, for as long as the object lives.
class Mapped {
  public:
    explicit Mapped(GstBuffer* buffer)
        : buffer_(buffer), ok_(gst_buffer_map(buffer, &map_, GST_MAP_READ)) {}
    ~Mapped() {
        if (ok_) gst_buffer_unmap(buffer_, &map_);
    }
    Mapped(const Mapped&) = delete;
    Mapped& operator=(const Mapped&) = delete;

    explicit operator bool() const { return ok_; }
    uint8_t* memory() const { return map_.data; }
    uint64_t size() const { return map_.size; }

  private:
    GstBuffer* buffer_;
    GstMapInfo map_{};
    bool ok_;
};

class MappedPicture {
  public:
    MappedPicture(const GstVideoInfo& info, GstBuffer* buffer)
        : ok_(gst_video_frame_map(&frame_, const_cast<GstVideoInfo*>(&info), buffer,
                                  GST_MAP_WRITE)) {}
    ~MappedPicture() {
        if (ok_) gst_video_frame_unmap(&frame_);
    }
    MappedPicture(const MappedPicture&) = delete;
    MappedPicture& operator=(const MappedPicture&) = delete;

    explicit operator bool() const { return ok_; }
    Lines lines() const {
        uint8_t* memory = static_cast<uint8_t*>(frame_.data[0]);
        const uint8_t* end = frame_.map[0].data + frame_.map[0].size;
        return {memory, static_cast<uint64_t>(end - memory),
                static_cast<uint32_t>(frame_.info.stride[0])};
    }

  private:
    GstVideoFrame frame_{};
    bool ok_;
};

// Where the lines of a mosaic lie in its buffer. False: they do not fit, `why` says so.
bool find_lines(const Mosaic& mosaic, const Mapped& mapped, const GstVideoMeta* meta,
                guint stride_given, Lines& lines, std::string& why) {
    const uint64_t line = trvil::line_bytes(mosaic.layout, mosaic.width), height = mosaic.height;
    const uint64_t offset = meta == nullptr ? 0 : meta->offset[0];
    const uint64_t size = mapped.size() - MIN(offset, mapped.size());
    uint64_t stride = stride_given;
    if (meta != nullptr && meta->stride[0] != 0)  // 0: a source that knows no formats of mosaics
        stride = meta->stride[0] < 0 ? 0 : static_cast<uint64_t>(meta->stride[0]);
    else if (stride == 0 && size % height == 0 && size / height >= line)
        stride = size / height;
    else if (stride == 0)
        stride = (line + 3) / 4 * 4;
    const uint64_t needed = stride * (height - 1) + line;
    if (stride >= line && stride <= G_MAXUINT32 && needed <= size) {
        lines = {mapped.memory() + offset, size, static_cast<uint32_t>(stride)};
        return true;
    }
    why = "a buffer has " + std::to_string(size) + " bytes, and " + std::to_string(height) +
          " lines of " + std::to_string(line) + " bytes at every " + std::to_string(stride) +
          " bytes need " + std::to_string(needed) +
          ": correct the caps or the stride of what sends it";
    return false;
}

Properties properties_now(Bayer* self) {
    GST_OBJECT_LOCK(self);
    const Properties now = *self->properties;
    GST_OBJECT_UNLOCK(self);
    return now;
}

GstFlowReturn transform(GstBaseTransform* trans, GstBuffer* in, GstBuffer* out) {
    Stream& stream = *bayer_of(trans)->stream;
    const Properties properties = properties_now(bayer_of(trans));
    const Mapped source(in);
    const MappedPicture destination(stream.picture, out);
    if (!source || !destination) {
        GST_ELEMENT_ERROR(trans, RESOURCE, FAILED, ("a buffer cannot be mapped"), (nullptr));
        return GST_FLOW_ERROR;
    }
    Lines lines{};
    std::string why;
    if (!find_lines(stream.mosaic, source, gst_buffer_get_video_meta(in), properties.stride, lines,
                    why)) {
        GST_ELEMENT_ERROR(trans, STREAM, FORMAT, ("%s", why.c_str()), (nullptr));
        return GST_FLOW_ERROR;
    }
    try {
        stream.maker.make(stream.mosaic, lines, GST_VIDEO_INFO_FORMAT(&stream.picture),
                          destination.lines(), properties.settings);
    } catch (const std::exception& error) {
        GST_ELEMENT_ERROR(trans, LIBRARY, FAILED, ("%s", error.what()), (nullptr));
        return GST_FLOW_ERROR;
    }
    return GST_FLOW_OK;
}

// Threads and settings made ready go with the stream.
gboolean stop(GstBaseTransform* trans) {
    bayer_of(trans)->stream->maker.reset();
    return TRUE;
}

// ---- The element ----

void finalize(GObject* object) {
    delete bayer_of(object)->properties;
    delete bayer_of(object)->stream;
    G_OBJECT_CLASS(parent_class)->finalize(object);
}

void init(GTypeInstance* instance, gpointer) {
    Bayer* self = bayer_of(instance);
    self->properties = new Properties;
    self->stream = new Stream;
    gst_video_info_init(&self->stream->picture);
}

void class_init(gpointer klass, gpointer) {
    GST_DEBUG_CATEGORY_INIT(trvilbayer_debug, "trvilbayer", 0, "trvil: mosaics to pictures");
    parent_class = GST_BASE_TRANSFORM_CLASS(g_type_class_peek_parent(klass));
    GObjectClass* object_class = G_OBJECT_CLASS(klass);
    object_class->set_property = set_property;
    object_class->get_property = get_property;
    object_class->finalize = finalize;
    install_properties(object_class);
    gst_type_mark_as_plugin_api(method_type(), static_cast<GstPluginAPIFlags>(0));

    GstElementClass* element_class = GST_ELEMENT_CLASS(klass);
    gst_element_class_set_static_metadata(
        element_class, "Mosaics of cameras to pictures", "Filter/Converter/Video",
        "Demosaics 8 to 16 bits, packed or not, to colour of 8 or 16 bits", "trvil");
    trv::gstreamer::add_pad_template(element_class, GST_PAD_SINK, trv::gstreamer::mosaic_caps());
    trv::gstreamer::add_pad_template(element_class, GST_PAD_SRC, picture_caps());

    GstBaseTransformClass* transform_class = GST_BASE_TRANSFORM_CLASS(klass);
    transform_class->transform_caps = transform_caps;
    transform_class->fixate_caps = fixate_caps;
    transform_class->sink_event = sink_event;
    transform_class->set_caps = set_caps;
    transform_class->transform_size = transform_size;
    transform_class->propose_allocation = propose_allocation;
    transform_class->decide_allocation = decide_allocation;
    transform_class->transform = transform;
    transform_class->stop = stop;
}

GType bayer_type() {
    static const GType type =
        g_type_register_static_simple(GST_TYPE_BASE_TRANSFORM, "TrvilBayer", sizeof(BayerClass),
                                      class_init, sizeof(Bayer), init, static_cast<GTypeFlags>(0));
    return type;
}

}  // namespace

GST_ELEMENT_REGISTER_DEFINE(trvilbayer, "trvilbayer", GST_RANK_NONE, bayer_type())
