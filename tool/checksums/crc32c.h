// CRC-32C, the checksum of iSCSI, ext4 and SCTP: 123456789 has e3069283.
#pragma once

#include <cstdint>
#include <string>

namespace trv::tool {

// Of these bytes, or where `before` is the sum of others, of those and these after them.
uint32_t crc32c(const void* bytes, uint64_t count, uint32_t before = 0);

// Eight hexadecimal digits.
std::string crc_text(uint32_t sum);

}  // namespace trv::tool
