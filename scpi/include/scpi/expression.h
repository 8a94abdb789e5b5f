/*
 * Numeric lists (1,2:5) and channel lists (@1,2!3:4!5). Index 0 is the first entry.
 */
#ifndef SCPI_EXPRESSION_H
#define SCPI_EXPRESSION_H

#include "scpi/config.h"
#include "scpi/types.h"

#ifdef __cplusplus
extern "C" {
#endif

enum _scpi_expr_result_t {
    SCPI_EXPR_OK = 0, /* entry read */
    SCPI_EXPR_ERROR,  /* an error was pushed */
    SCPI_EXPR_NO_MORE /* the list is shorter */
};
typedef enum _scpi_expr_result_t scpi_expr_result_t;

scpi_expr_result_t SCPI_ExprNumericListEntry(scpi_t* context, scpi_parameter_t* param, int index,
                                             scpi_bool_t* isRange, scpi_parameter_t* valueFrom,
                                             scpi_parameter_t* valueTo);
scpi_expr_result_t SCPI_ExprNumericListEntryInt(scpi_t* context, scpi_parameter_t* param, int index,
                                                scpi_bool_t* isRange, int32_t* valueFrom,
                                                int32_t* valueTo);
scpi_expr_result_t SCPI_ExprNumericListEntryDouble(scpi_t* context, scpi_parameter_t* param,
                                                   int index, scpi_bool_t* isRange,
                                                   double* valueFrom, double* valueTo);
/* Stores at most `length` values of each tuple; *dimensions tells how many there are. */
scpi_expr_result_t SCPI_ExprChannelListEntry(scpi_t* context, scpi_parameter_t* param, int index,
                                             scpi_bool_t* isRange, int32_t* valuesFrom,
                                             int32_t* valuesTo, size_t length, size_t* dimensions);

#ifdef __cplusplus
}
#endif

#endif
