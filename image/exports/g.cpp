#include "image/file/byte_writer.h"
#include "trvil/til.h"

using trv::ByteOrder;
using trv::put_number;

uint32_t TIL_fput_ui8(FILE* stream, uint32_t value) {
    return put_number<fputc, 1, ByteOrder::most_first>(stream, value);
}

uint32_t TIL_fput_ui16m(FILE* stream, uint32_t value) {
    return put_number<fputc, 2, ByteOrder::most_first>(stream, value);
}

uint32_t TIL_fput_ui16i(FILE* stream, uint32_t value) {
    return put_number<fputc, 2, ByteOrder::least_first>(stream, value);
}

uint32_t TIL_fput_ui32m(FILE* stream, uint32_t value) {
    return put_number<fputc, 4, ByteOrder::most_first>(stream, value);
}

uint32_t TIL_fput_ui32i(FILE* stream, uint32_t value) {
    return put_number<fputc, 4, ByteOrder::least_first>(stream, value);
}
