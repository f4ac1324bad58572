#include "trvil/obl.h"

uint32_t OBL_SetDescription(char* field, const char* name) {
    constexpr uint64_t name_size = 128;  // the fields have one byte more
    if (field == nullptr) return TRV_STATUS_OK;
    return OBL_strncpy(field, name_size, name == nullptr ? "un-named" : name);
}
