/*
 * The one header that a program includes: everything of the SCPI parser library.
 */
#ifndef SCPI_SCPI_H
#define SCPI_SCPI_H

/* clang-format off */
#include "scpi/parser.h"
#include "scpi/ieee488.h"
#include "scpi/error.h"
#include "scpi/constants.h"
#include "scpi/minimal.h"
#include "scpi/units.h"
#include "scpi/utils.h"
#include "scpi/expression.h"
#include "scpi/options.h"
/* clang-format on */

#endif
