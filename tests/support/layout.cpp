#include <stddef.h>

#include "trvil/obl_drv.h"

#define RECORD(record, size) static_assert(sizeof(record) == (size));
#define MEMBER(record, member, offset, size) \
    static_assert(offsetof(record, member) == (offset) && sizeof(record::member) == (size));
#include "tests/support/layout.inc"
