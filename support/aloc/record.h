// Records of the library behind a caller's typed pointer.
#pragma once

#include "trvil/obl.h"

namespace trv::support {

template <class Record>
uint32_t NewRecord(Record** ppsRecord) {
    if (ppsRecord == nullptr) return TRV_STATUS_PARAMETER;
    void* block = nullptr;
    const uint32_t status = OBL_StructAlloc(&block, sizeof(Record));
    *ppsRecord = static_cast<Record*>(block);
    return status;
}

template <class Record>
void FreeRecord(Record** ppsRecord) {
    void* block = *ppsRecord;
    OBL_StructDeAlloc(&block);
    *ppsRecord = nullptr;
}

}  // namespace trv::support
