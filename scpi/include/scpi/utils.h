/*
 * Numbers to text. All return the number of characters without the NUL. The integer functions add
 * the NUL only if there is room for it.
 */
#ifndef SCPI_UTILS_H
#define SCPI_UTILS_H

#include "scpi/types.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Bases 2, 8 and 16 without a prefix; any other base is 10. */
size_t SCPI_UInt32ToStrBase(uint32_t val, char* str, size_t len, int8_t base);
size_t SCPI_Int32ToStr(int32_t val, char* str, size_t len);
size_t SCPI_UInt64ToStrBase(uint64_t val, char* str, size_t len, int8_t base);
size_t SCPI_Int64ToStr(int64_t val, char* str, size_t len);
size_t SCPI_FloatToStr(float val, char* str, size_t len);
size_t SCPI_DoubleToStr(double val, char* str, size_t len);

#define SCPI_LongToStr(val, str, len, base) SCPI_Int32ToStr((val), (str), (len), (base), TRUE)

#ifdef __cplusplus
}
#endif

#endif
