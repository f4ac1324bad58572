/* Pictures of GenICam cameras from Aravis without a copy. Needs arv.h (Aravis 0.8.26 or newer),
   libaravis-0.8 and its GLib, and what trvil/raw.hpp needs.

   An ArvBuffer says by its PFNC value what its pixels are: format, phase of a mosaic, packing and
   padding of lines are taken from there. Errors as in trvil/buffer.hpp. */
#ifndef TRVIL_ARAVIS_HPP
#define TRVIL_ARAVIS_HPP

#include <arv.h>

#include <memory>

#include "trvil/raw.hpp"

namespace trvil {

namespace detail {
/* Who gets an ArvBuffer back. The stream is not kept: when it is gone, so is its camera. */
struct ArvLoan {
    ArvBuffer* buffer; /* owned */
    GWeakRef stream;   /* that gets it, if any */
    bool returns;      /* to a stream */

    ArvLoan(ArvBuffer* lent, ArvStream* owner) : buffer(lent), returns(owner != nullptr) {
        g_weak_ref_init(&stream, owner);
        if (!returns) g_object_ref(buffer);
    }
    ArvLoan(const ArvLoan&) = delete;
    ArvLoan& operator=(const ArvLoan&) = delete;
    ~ArvLoan() { g_weak_ref_clear(&stream); }

    static void end(void* loan, void*) {
        const std::unique_ptr<ArvLoan> ended(static_cast<ArvLoan*>(loan));
        void* owner = g_weak_ref_get(&ended->stream);
        if (owner == nullptr) return g_object_unref(ended->buffer);
        arv_stream_push_buffer(static_cast<ArvStream*>(owner), ended->buffer);
        g_object_unref(owner);
    }
};

inline const char* why_incomplete(ArvBufferStatus status) noexcept {
    switch (status) {
        case ARV_BUFFER_STATUS_SUCCESS:
            return nullptr;
        case ARV_BUFFER_STATUS_CLEARED:
            return "nothing was received into it";
        case ARV_BUFFER_STATUS_TIMEOUT:
            return "its last packets did not come in time";
        case ARV_BUFFER_STATUS_MISSING_PACKETS:
            return "packets of it were lost";
        case ARV_BUFFER_STATUS_WRONG_PACKET_ID:
            return "its packets came with wrong numbers";
        case ARV_BUFFER_STATUS_SIZE_MISMATCH:
            return "the camera sent more than the buffer holds";
        case ARV_BUFFER_STATUS_FILLING:
            return "it is being received";
        case ARV_BUFFER_STATUS_ABORTED:
            return "the stream was stopped before it was whole";
        default:
            return "Aravis does not know what became of it";
    }
}

/* What a part of an ArvBuffer says of its picture. */
struct ArvPicture {
    PixelLayout layout; /* of its pixels */
    uint32_t width;     /* pixels */
    uint32_t height;    /* lines */
    uint32_t stride;    /* bytes from line to line */
    void* memory;       /* of its first line */
    uint64_t size;      /* bytes of it */
};

/* Bytes from line to line. Where lines end inside a byte or a group, the length of the picture
   tells whether the camera completes these; 0: it does neither, so lines begin inside bytes. */
inline uint64_t line_step(const PixelLayout& layout, uint32_t width, uint32_t height,
                          uint64_t padding, uint64_t below, uint64_t size) {
    TRW_PackingInfo info{};
    info.size = sizeof info;
    const uint64_t line = line_bytes(layout, width);
    if (layout.packing == 0 || height == 1) return line + padding;
    TRW_PackingInfoGet(layout.packing, 0, width, &info);
    if (width % info.group_pixels == 0) return line + padding;
    const uint64_t groups = uint64_t{width} / info.group_pixels + 1;
    const uint64_t bits = uint64_t{info.group_bytes} * 8 / info.group_pixels;
    const uint64_t whole_bytes = (width * bits + 7) / 8, whole_groups = groups * info.group_bytes;
    for (const uint64_t step : {whole_bytes, whole_groups, line})
        if (step >= line && (step + padding) * height + below == size) return step + padding;
    return 0;
}

inline ArvPicture look_at(ArvBuffer* buffer, unsigned part) {
    const std::string what = "take frame " + std::to_string(arv_buffer_get_frame_id(buffer));
    if (const char* why = why_incomplete(arv_buffer_get_status(buffer)))
        refuse(TRV_STATUS_SYSTEM, what, why);
    if (part >= arv_buffer_get_n_parts(buffer))
        refuse(TRV_STATUS_PARAMETER, what, "it has no part " + std::to_string(part));
    const ArvBufferPartDataType kind = arv_buffer_get_part_data_type(buffer, part);
    if (kind != ARV_BUFFER_PART_DATA_TYPE_2D_IMAGE)
        refuse(TRV_STATUS_UNSUPPORTED, what,
               "it is no picture of pixels (part of type " + std::to_string(kind) + ")");
    ArvPicture p{};
    p.layout = layout_of_pfnc(arv_buffer_get_part_pixel_format(buffer, part));
    gint x = 0, y = 0, width = 0, height = 0, beside = 0, below = 0;
    arv_buffer_get_part_region(buffer, part, &x, &y, &width, &height);
    arv_buffer_get_part_padding(buffer, part, &beside, &below);
    size_t size = 0;
    p.memory = const_cast<void*>(arv_buffer_get_part_data(buffer, part, &size));
    p.size = size;
    if (width <= 0 || height <= 0 || beside < 0 || below < 0)
        refuse(TRV_STATUS_PARAMETER, what,
               "the camera says it is " + std::to_string(width) + "x" + std::to_string(height));
    p.width = static_cast<uint32_t>(width);
    p.height = static_cast<uint32_t>(height);
    const uint64_t step = line_step(p.layout, p.width, p.height, static_cast<uint64_t>(beside),
                                    static_cast<uint64_t>(below), p.size);
    if (step == 0 || step > UINT32_MAX)
        refuse(TRV_STATUS_UNSUPPORTED, what,
               "lines of " + std::to_string(width) + " pixels of " + name(p.layout) +
                   " begin inside a byte; set the camera to a width that fills whole bytes");
    p.stride = static_cast<uint32_t>(step);
    return p;
}

inline RawPicture lend(ArvBuffer* buffer, ArvStream* stream, unsigned part) {
    const ArvPicture p = look_at(buffer, part);
    auto loan = std::make_unique<ArvLoan>(buffer, stream);
    try {
        RawPicture made =
            wrap(p.memory, p.size, p.width, p.height, p.layout, p.stride, ArvLoan::end, loan.get());
        loan.release();
        return made;
    } catch (...) {
        if (!loan->returns) g_object_unref(buffer);
        throw;
    }
}
}  // namespace detail

/* The picture in an ArvBuffer: of its part 0 unless "part" says another of a multi-part payload.

   The picture keeps a reference to the ArvBuffer. Its memory is the camera's again as soon as it is
   pushed into a stream: do that when the picture, and everything made of it by Buffer::share or
   Buffer::view, is no longer read.

   Throws TRV_STATUS_SYSTEM for a buffer that was not received whole, TRV_STATUS_UNSUPPORTED for
   pixels that nothing here reads, for payloads that are no picture, such as JPEG, and for packed
   lines that begin inside a byte, TRV_STATUS_PARAMETER for a size that is none or that the payload
   does not hold, TRV_STATUS_MEMORY. The text says which. */
inline RawPicture wrap(ArvBuffer* buffer, unsigned part = 0) {
    return detail::lend(buffer, nullptr, part);
}

/* The same for a buffer that was popped from "stream": it is pushed back once the picture and
   everything made of it are gone, by the thread that drops the last of it. A stream that is gone by
   then gets nothing, and the ArvBuffer is freed. Pictures that are kept are buffers that the camera
   lacks: push as many more into the stream.

   Where it throws, the ArvBuffer is still the caller's. */
inline RawPicture wrap(ArvBuffer* popped, ArvStream* stream, unsigned part = 0) {
    return detail::lend(popped, stream, part);
}

}  // namespace trvil

#endif
