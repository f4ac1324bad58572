// The five helper conversions. Their size rules are in size_rule.h.
#include "image/direct/run.h"

namespace trv {

void convert_by_helper(const Level& level, const Job& job, const Format& source,
                       const Format& destination) {
    Job whole_words = job;
    // Lines are stepped in 16-bit units: an odd stride loses its last byte.
    whole_words.source.stride &= ~1u;
    convert_lines(level, whole_words, source, destination);
}

}  // namespace trv
