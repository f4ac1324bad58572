#include "raw/convert/decision.h"

#include "image/exports/read_job.h"
#include "raw/demosaic/decision.h"
#include "raw/phase.h"
#include "raw/unpack/row.h"

namespace trv::raw {
namespace {

bool is_mosaic(const Format* format) {
    return format != nullptr && format->family == Family::bayer;
}

// Method and phase of a mosaic: what the settings say, then what they say by a letter, then the
// source.
void apply(const TRW_Settings& settings, const Format* samples, Job* job) {
    if (settings.method != 0) job->method = settings.method;
    if (is_mosaic(samples) && samples->phase != Phase::none)
        job->phase = phase_parameter(samples->phase);
    if (settings.phase != 0) job->phase = settings.phase;
}

void act_on(Course course, ConvertDecision* d) {
    const OwnDemosaic demosaic = decide_demosaic(d->job);
    d->conversion = demosaic.is_one ? demosaic.decision : decide(d->job);
    d->status = status_of(d->conversion.refusal);
    if (d->conversion.refusal == Refusal::none)
        d->course = course;
    else
        d->refusal = ConvertRefusal::conversion;
}

void refuse(ConvertRefusal refusal, uint32_t status, ConvertDecision* d) {
    d->refusal = refusal;
    d->status = status;
}

ConvertDecision decide_words(Handle source, Handle destination, const TRW_Settings& settings) {
    ConvertDecision d{};
    const Buffer from(source), to(destination);
    if (!read_required(from, to, &d.job)) {
        refuse(ConvertRefusal::buffers, TRV_STATUS_PARAMETER, &d);
        return d;
    }
    read_rest(from, to, &d.job);
    apply(settings, nullptr, &d.job);
    act_on(Course::convert, &d);
    return d;
}

// The first format of a family that the samples go to.
const Format* first_format(const Packing& packing, bool mosaic) {
    for (const Format& format : formats)
        if (goes_to(packing, static_cast<uint32_t>(format.code)) && is_mosaic(&format) == mosaic)
            return &format;
    return nullptr;
}

// What the samples are: grey, a mosaic or 4:2:2; null for a setting that they do not fit.
const Format* samples_of(const Packing& packing, const Buffer& source,
                         const TRW_Settings& settings) {
    const uint32_t wanted = settings.format;
    if (wanted != 0) return goes_to(packing, wanted) ? find_format(wanted & 0xFF) : nullptr;
    const bool mosaic =
        packing.target == Target::words && is_mosaic(find_format(source.format() & 0xFF));
    return first_format(packing, mosaic);
}

// The unpacked picture: lines without padding.
Side unpacked(const Side& packed, const Format& samples) {
    Side side = packed;
    side.format = whole_code(samples);
    side.stride = packed.width * uint32_t{pixel_bytes};
    side.address = nullptr;
    return side;
}

// For samples that do not go to the destination's format.
void decide_both(const Buffer& source, const TRW_Settings& settings, ConvertDecision* d) {
    UnpackDecision& unpack = d->unpack;
    const Format* samples = samples_of(*unpack.packing, source, settings);
    if (samples == nullptr) return refuse(ConvertRefusal::samples, TRV_STATUS_UNSUPPORTED, d);
    unpack.refusal = check_source(unpack);
    if (unpack.refusal != UnpackRefusal::none)
        return refuse(ConvertRefusal::unpacking, status_of(unpack.refusal), d);
    if (unpack.line() > UINT32_MAX)
        return refuse(ConvertRefusal::long_lines, TRV_STATUS_PARAMETER, d);
    d->job = {unpacked(unpack.job.source, *samples), unpack.job.destination, source.bayer_method(),
              source.bayer_phase(), 0};
    apply(settings, samples, &d->job);
    act_on(Course::unpack_and_convert, d);
}

// A packed mosaic that is to be demosaiced is unpacked on the way, as a packing that its format is;
// as without one, the letter of its phase does not count.
bool takes_packing_of_format(Handle source, Handle destination, uint32_t* packing,
                             TRW_Settings* settings) {
    const Format* from = find_format(Buffer(source).format() & 0xFF);
    const Format* to = find_format(Buffer(destination).format() & 0xFF);
    if (!is_mosaic(from) || !is_packed(*from) || to == nullptr) return false;
    const bool is_10 = from->significant == 10, is_12 = from->significant == 12;
    const Code words = is_10 ? Code::BAY10 : is_12 ? Code::BAY12 : Code::BAY14;
    if (!is_demosaiced(format_of(words), *to)) return false;
    *packing = is_10 ? TRW_PACKING_10p : is_12 ? TRW_PACKING_12p : TRW_PACKING_14p;
    settings->format = format_prefix + static_cast<uint32_t>(words);
    return true;
}

}  // namespace

ConvertDecision decide_convert(Handle source, uint32_t packing, Handle destination,
                               const TRW_Settings& given) {
    TRW_Settings settings = given;
    if (packing == 0 && !takes_packing_of_format(source, destination, &packing, &settings))
        return decide_words(source, destination, settings);
    ConvertDecision d{};
    d.unpack = decide_unpack(source, packing, destination);
    if (d.unpack.refusal == UnpackRefusal::other_samples)
        decide_both(Buffer(source), settings, &d);
    else if (d.unpack.refusal == UnpackRefusal::none)
        d.course = Course::unpack;
    else
        refuse(ConvertRefusal::unpacking, status_of(d.unpack.refusal), &d);
    return d;
}

}  // namespace trv::raw
