// Records that grow: the caller says how much of one it knows.
#pragma once

#include <cstdint>
#include <cstring>

namespace trv::raw {

// Every record begins with its size; this much of it must be there.
inline constexpr uint32_t least_record = 8;

template <typename Record>
bool is_record(const Record* record) {
    return record != nullptr && record->size >= least_record;
}

// Fills as much as both sides know.
template <typename Record>
void fill_record(Record full, Record* record) {
    full.size = record->size < sizeof full ? record->size : uint32_t{sizeof full};
    std::memcpy(record, &full, full.size);
}

}  // namespace trv::raw
