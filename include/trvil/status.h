/* Status codes of every trvil call, and the macros that mark an exported function. */
#ifndef TRVIL_STATUS_H
#define TRVIL_STATUS_H

#include <stdint.h>

#ifdef __cplusplus
#define TRV_EXTERN_C_BEGIN extern "C" {
#define TRV_EXTERN_C_END }
#else
#define TRV_EXTERN_C_BEGIN
#define TRV_EXTERN_C_END
#endif

/* Put in front of a declaration: the function is visible outside its library. */
#define TRV_API __attribute__((visibility("default")))

/* Success. */
#define TRV_STATUS_OK UINT32_C(0)
/* No kernel for the Bayer method (parameter 9) and phase (parameter 10) of the source: the caller
   sets them to a pair that exists. */
#define TRV_STATUS_BAYER_SETTING UINT32_C(3)
/* The output file could not be opened; errno tells why. */
#define TRV_STATUS_FILE_OPEN UINT32_C(5)
/* A handle, a required buffer parameter or a required argument is missing or zero,
   a destination is too small, or (support library) an argument is misused. */
#define TRV_STATUS_PARAMETER UINT32_C(8)
/* The format pair, the method or the file type is not supported. */
#define TRV_STATUS_UNSUPPORTED UINT32_C(10)
/* The pixel format cannot be written as TIFF. */
#define TRV_STATUS_TIFF_FORMAT UINT32_C(12)
/* Memory could not be allocated. */
#define TRV_STATUS_MEMORY UINT32_C(14)
/* A raw file write was short; in the support library, an operating-system call failed. */
#define TRV_STATUS_SYSTEM UINT32_C(15)
/* Closing an output file failed. */
#define TRV_STATUS_FILE_CLOSE UINT32_C(17)
/* A named mutex is being destroyed; also a failed thread-priority query. */
#define TRV_STATUS_BUSY UINT32_C(26)
/* A mutex or semaphore wait ran into its timeout; an expected outcome, never reported. */
#define TRV_STATUS_TIMEOUT UINT32_C(0x8000)
/* OBL_strncpy and OBL_strncat failed. */
#define TRV_STATUS_TEXT UINT32_C(0xFFFFFFFF)

#endif
