#include "gstreamer/mosaic_caps.h"

#include <cstring>
#include <map>
#include <set>
#include <vector>

namespace trv::gstreamer {
namespace {

TRW_Reading empty_reading() {
    TRW_Reading reading{};
    reading.size = sizeof reading;
    return reading;
}

unsigned bits_of(trvil::Format format) {
    return trvil::facts(format).significant;
}
unsigned bits_of(const TRW_Reading& reading) {
    return bits_of(trvil::Format{reading.format});
}

// GStreamer's names of mosaics, in the order of the library.
std::vector<TRW_Reading> mosaic_names() {
    std::vector<TRW_Reading> names;
    TRW_Reading reading = empty_reading();
    for (uint32_t i = 0; TRW_NameAt(i, &reading) == TRV_STATUS_OK; ++i)
        if (reading.system == TRW_SYSTEM_GST && reading.phase != 0 && reading.format != 0)
            names.push_back(reading);
    return names;
}

TRW_PackingInfo info_of(uint32_t packing) {
    TRW_PackingInfo info{};
    info.size = sizeof info;
    TRW_PackingInfoGet(packing, 0, 0, &info);
    return info;
}

void append_string(GValue* list, const char* text) {
    GValue value = G_VALUE_INIT;
    g_value_init(&value, G_TYPE_STRING);
    g_value_set_string(&value, text);
    gst_value_list_append_and_take_value(list, &value);
}

void take_list(GstStructure* structure, const char* field, const std::vector<const char*>& texts) {
    GValue list = G_VALUE_INIT;
    gst_value_list_init(&list, static_cast<guint>(texts.size()));
    for (const char* text : texts) append_string(&list, text);
    gst_structure_take_value(structure, field, &list);
}

// Nothing demosaics less than 2 x 2 pixels.
GstStructure* sized_mosaic(const std::vector<const char*>& formats) {
    GstStructure* structure = gst_structure_new(
        "video/x-bayer", "width", GST_TYPE_INT_RANGE, 2, G_MAXINT, "height", GST_TYPE_INT_RANGE, 2,
        G_MAXINT, "framerate", GST_TYPE_FRACTION_RANGE, 0, 1, G_MAXINT, 1, nullptr);
    take_list(structure, "format", formats);
    return structure;
}

// Packings of n bits without a format name of their own.
std::vector<std::string> packings_of(unsigned bits, const std::set<uint32_t>& named) {
    std::vector<std::string> names;
    for (uint32_t packing = 1; packing < TRW_PACKING_END; ++packing) {
        const TRW_PackingInfo info = info_of(packing);
        if (info.bits == bits && info.format != TBL_FORMAT(YUV422) && named.count(packing) == 0)
            names.emplace_back(info.name);
    }
    return names;
}

bool refuse(std::string& why, const std::string& text) {
    why = text;
    return false;
}

bool read_packing(const char* name, Mosaic& mosaic, std::string& why) {
    for (uint32_t packing = 1; packing < TRW_PACKING_END; ++packing) {
        const TRW_PackingInfo info = info_of(packing);
        if (std::strcmp(info.name, name) != 0) continue;
        const unsigned bits = bits_of(mosaic.layout.format);
        if (info.bits != bits || info.format == TBL_FORMAT(YUV422) || mosaic.layout.packing != 0)
            return refuse(why, std::string("packing ") + name + " does not hold samples of " +
                                   std::to_string(bits) +
                                   " bits in words: give the format of its samples, such as "
                                   "rggb12le for a packing of 12 bits");
        mosaic.layout.packing = packing;
        return true;
    }
    return refuse(why, std::string("there is no packing \"") + name +
                           "\"; gst-inspect-1.0 trvilbayer lists them");
}

}  // namespace

GstCaps* mosaic_caps() {
    std::vector<const char*> formats;
    std::map<unsigned, std::vector<const char*>> words;  // by bits, those a packing may stand for
    std::set<uint32_t> named;
    for (const TRW_Reading& reading : mosaic_names()) {
        formats.push_back(reading.name);
        if (reading.packing == 0)
            words[bits_of(reading)].push_back(reading.name);
        else
            named.insert(reading.packing);
    }
    // Without a packing first: where both would do, caps that say none mean none.
    GstCaps* caps = gst_caps_new_full(sized_mosaic(formats), nullptr);
    for (const auto& [bits, names] : words) {
        const std::vector<std::string> packings = packings_of(bits, named);
        if (packings.empty()) continue;
        GstStructure* structure = sized_mosaic(names);
        std::vector<const char*> texts;
        for (const std::string& packing : packings) texts.push_back(packing.c_str());
        take_list(structure, "packing", texts);
        gst_caps_append_structure(caps, structure);
    }
    return caps;
}

bool read_mosaic(const GstCaps* caps, Mosaic& mosaic, std::string& why) {
    const GstStructure* structure = gst_caps_get_structure(caps, 0);
    const char* format = gst_structure_get_string(structure, "format");
    gint width = 0, height = 0;
    if (format == nullptr || !gst_structure_get_int(structure, "width", &width) ||
        !gst_structure_get_int(structure, "height", &height))
        return refuse(why, "caps of a mosaic have a format, a width and a height");
    TRW_Reading reading = empty_reading();
    if (TRW_FindName((std::string("gst:") + format).c_str(), &reading) != TRV_STATUS_OK ||
        reading.phase == 0)
        return refuse(why, std::string("there is no mosaic \"") + format +
                               "\"; gst-inspect-1.0 trvilbayer lists them");
    mosaic = {static_cast<uint32_t>(width),
              static_cast<uint32_t>(height),
              {trvil::Format{reading.format}, reading.packing}};
    if (!gst_structure_has_field(structure, "packing")) return true;
    const char* packing = gst_structure_get_string(structure, "packing");
    return read_packing(packing == nullptr ? "" : packing, mosaic, why);
}

}  // namespace trv::gstreamer
