/* Stands for the kit's own buffer library: same file name, another answer. */
#include "trvil/tbl.h"

uint32_t TBL_BufferParameterGet(uint64_t handle, uint32_t id, void* out) {
    if (id == TBL_PARAMETER_PRESENT) *(uint64_t*)out = 1;
    if (id == TBL_PARAMETER_FORMAT) *(uint32_t*)out = handle == 1 ? 0x4D : 0x4E;
    if (id == TBL_PARAMETER_ADDRESS) *(uint64_t*)out = 1;
    return 0;
}
