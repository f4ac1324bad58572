#include "trvil/obl_drv.h"

#include <stddef.h>

/* C99 has no static assertion: an array of negative size is an error everywhere. */
#define HOLDS(name, condition) typedef char name[(condition) ? 1 : -1];
#define RECORD(record, size) HOLDS(size_of_##record, sizeof(record) == (size))
#define MEMBER(record, member, offset, size) \
    HOLDS(record##_##member,                 \
          offsetof(record, member) == (offset) && sizeof(((record*)0)->member) == (size))
#include "tests/support/layout.inc"
