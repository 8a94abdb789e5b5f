/*
 * Numbers with units and the keywords that stand for numbers.
 */
#ifndef SCPI_UNITS_H
#define SCPI_UNITS_H

#include "scpi/types.h"

#ifdef __cplusplus
extern "C" {
#endif

extern const scpi_unit_def_t scpi_units_def[];
extern const scpi_choice_def_t scpi_special_numbers_def[];

/*
 * Reads a number, a number with a unit of the context's table, or a keyword of `special`. Unknown
 * unit: -131; unknown keyword: -224; quoted text, block or expression: FALSE without an error.
 */
scpi_bool_t SCPI_ParamNumber(scpi_t* context, const scpi_choice_def_t* special,
                             scpi_number_t* value, scpi_bool_t mandatory);

/* Declared for the sake of old programs; it has no definition. */
scpi_bool_t SCPI_ParamTranslateNumberVal(scpi_t* context, scpi_parameter_t* parameter);

/* Text of a number with its base unit, cut to len and always terminated; returns its length. */
size_t SCPI_NumberToStr(scpi_t* context, const scpi_choice_def_t* special, scpi_number_t* value,
                        char* str, size_t len);

#ifdef __cplusplus
}
#endif

#endif
