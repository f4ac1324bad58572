// The five helper conversions, which measure the destination by rules of their own.
#include "image/api/direct_run.h"

namespace trv {
namespace {

// Deliberate: all three rules ask for less than is written (but for the grey one). Callers have
// sized their buffers by them.
bool fits(const Job& job, const Format& source, const Format& destination) {
    const uint64_t pixels = uint64_t{job.source.width} * job.source.height;
    const uint64_t bytes = job.destination.bytes();
    if (source.family == Family::grey) return 4 * pixels <= bytes;
    return destination.code == Code::RGB24 ? pixels <= 3 * bytes : 8 * pixels <= 4 * bytes;
}

// Null when the conversion is done, otherwise why it was not even begun.
const char* run_helper(const Level& level, const Job& job, const Format& source,
                       const Format& destination) {
    if (!fits(job, source, destination)) return "Invalid destination buffer size";
    Job whole_words = job;
    // Lines are stepped in 16-bit units: an odd stride loses its last byte.
    whole_words.source.stride &= ~1u;
    convert_lines(level, whole_words, source, destination);
    return nullptr;
}

}  // namespace

uint32_t convert_by_helper(const Level& level, const Job& job, const Format& source,
                           const Format& destination) {
    const char* refusal = run_helper(level, job, source, destination);
    // Deliberate: from grey words to 4-byte pixels a refusal is not passed on.
    const bool ignored = source.family == Family::grey;
    return refusal == nullptr || ignored ? TRV_STATUS_OK : TRV_STATUS_PARAMETER;
}

}  // namespace trv
