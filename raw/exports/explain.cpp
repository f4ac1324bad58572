#include "raw/explain/explain.h"

#include "trvil/raw.h"

uint32_t TRW_Explain(uint64_t source, uint32_t packing, uint64_t destination, char* text,
                     uint64_t size) {
    trv::raw::Writer out(text, size);
    return trv::raw::explain(source, packing, destination, &out);
}
