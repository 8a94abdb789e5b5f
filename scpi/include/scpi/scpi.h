/*
 * The one header that a program includes: everything of the SCPI parser library.
 */
#ifndef SCPI_SCPI_H
#define SCPI_SCPI_H

#include "scpi/constants.h"
#include "scpi/error.h"
#include "scpi/expression.h"
#include "scpi/ieee488.h"
#include "scpi/minimal.h"
#include "scpi/options.h"
#include "scpi/parser.h"
#include "scpi/units.h"
#include "scpi/utils.h"

#endif
