#include <stdlib.h>
#include <string.h>

#include "trvil/obl.h"

uint32_t OBL_MemoryAlloc(void** ppBlock, uint64_t size) {
    if (ppBlock == nullptr) return TRV_STATUS_PARAMETER;
    *ppBlock = nullptr;
    if (size == 0) return TRV_STATUS_PARAMETER;
    *ppBlock = malloc(size);
    return *ppBlock == nullptr ? TRV_STATUS_MEMORY : TRV_STATUS_OK;
}

uint32_t OBL_MemoryDeAlloc(void** ppBlock) {
    if (ppBlock == nullptr) return TRV_STATUS_PARAMETER;
    free(*ppBlock);
    *ppBlock = nullptr;
    return TRV_STATUS_OK;
}

uint32_t OBL_StructAlloc(void** ppBlock, uint64_t size) {
    const uint32_t status = OBL_MemoryAlloc(ppBlock, size);
    if (status == TRV_STATUS_OK) memset(*ppBlock, 0, size);
    return status;
}

uint32_t OBL_StructDeAlloc(void** ppBlock) {
    return OBL_MemoryDeAlloc(ppBlock);
}
