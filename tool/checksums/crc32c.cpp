#include "tool/checksums/crc32c.h"

#include <isa-l/crc.h>

#include <algorithm>
#include <cstdio>

namespace trv::tool {

uint32_t crc32c(const void* bytes, uint64_t count, uint32_t before) {
    constexpr uint64_t most = 1 << 30;  // the library counts in an int
    auto* from = static_cast<unsigned char*>(const_cast<void*>(bytes));  // and only reads
    uint32_t register_ = ~before;
    while (count != 0) {
        const auto part = static_cast<int>(std::min(count, most));
        register_ = crc32_iscsi(from, part, register_);
        from += part;
        count -= static_cast<uint64_t>(part);
    }
    return ~register_;
}

std::string crc_text(uint32_t sum) {
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08x", sum);
    return digits;
}

}  // namespace trv::tool
