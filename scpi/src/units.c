/*
 * Numbers with units.
 */
#include "scpi/units.h"

#include "characters.h"
#include "lexer.h"
#include "scpi/error.h"
#include "scpi/parser.h"
#include "scpi/utils.h"

/* Only these names exist, there is no general rule for prefixes: MHZ is mega, MV is milli. */
/* clang-format off */
const scpi_unit_def_t scpi_units_def[] = {
#if USE_UNITS_PARTICLES
    {"GY", SCPI_UNIT_GRAY, 1.0},
    {"BQ", SCPI_UNIT_BECQUEREL, 1.0},
    {"MOL", SCPI_UNIT_MOLE, 1.0},
    {"NSV", SCPI_UNIT_SIEVERT, 1e-9},
    {"USV", SCPI_UNIT_SIEVERT, 1e-6},
    {"MSV", SCPI_UNIT_SIEVERT, 0.001},
    {"SV", SCPI_UNIT_SIEVERT, 1.0},
    {"KSV", SCPI_UNIT_SIEVERT, 1000.0},
    {"MASV", SCPI_UNIT_SIEVERT, 1e6},
    {"EV", SCPI_UNIT_ELECTRONVOLT, 1.0},
    {"KEV", SCPI_UNIT_ELECTRONVOLT, 1000.0},
    {"MAEV", SCPI_UNIT_ELECTRONVOLT, 1e6},
    {"GEV", SCPI_UNIT_ELECTRONVOLT, 1e9},
    {"TEV", SCPI_UNIT_ELECTRONVOLT, 1e+12},
    {"U", SCPI_UNIT_ATOMIC_MASS, 1.0},
#endif
#if USE_UNITS_ANGLE
    {"DEG", SCPI_UNIT_DEGREE, 1.0},
    {"GON", SCPI_UNIT_GRADE, 1.0},
    {"MNT", SCPI_UNIT_DEGREE, 1.0 / 60.0},
    {"RAD", SCPI_UNIT_RADIAN, 1.0},
    {"SEC", SCPI_UNIT_DEGREE, 1.0 / 3600.0},
    {"REV", SCPI_UNIT_REVOLUTION, 1.0},
    {"RS", SCPI_UNIT_STERADIAN, 1.0},
#endif
#if USE_UNITS_ELECTRIC
    {"PF", SCPI_UNIT_FARAD, 1e-12},
    {"NF", SCPI_UNIT_FARAD, 1e-9},
    {"UF", SCPI_UNIT_FARAD, 1e-6},
    {"MF", SCPI_UNIT_FARAD, 0.001},
    {"F", SCPI_UNIT_FARAD, 1.0},
    {"UA", SCPI_UNIT_AMPER, 1e-6},
    {"MA", SCPI_UNIT_AMPER, 0.001},
    {"A", SCPI_UNIT_AMPER, 1.0},
    {"KA", SCPI_UNIT_AMPER, 1000.0},
    {"UV", SCPI_UNIT_VOLT, 1e-6},
    {"MV", SCPI_UNIT_VOLT, 0.001},
    {"V", SCPI_UNIT_VOLT, 1.0},
    {"KV", SCPI_UNIT_VOLT, 1000.0},
    {"OHM", SCPI_UNIT_OHM, 1.0},
    {"KOHM", SCPI_UNIT_OHM, 1000.0},
    {"MOHM", SCPI_UNIT_OHM, 1e6},
    {"UH", SCPI_UNIT_HENRY, 1e-6},
    {"MH", SCPI_UNIT_HENRY, 0.001},
    {"H", SCPI_UNIT_HENRY, 1.0},
#endif
#if USE_UNITS_ELECTRIC_CHARGE_CONDUCTANCE
    {"C", SCPI_UNIT_COULOMB, 1.0},
    {"USIE", SCPI_UNIT_SIEMENS, 1e-6},
    {"MSIE", SCPI_UNIT_SIEMENS, 0.001},
    {"SIE", SCPI_UNIT_SIEMENS, 1.0},
#endif
#if USE_UNITS_ENERGY_FORCE_MASS
    {"J", SCPI_UNIT_JOULE, 1.0},
    {"KJ", SCPI_UNIT_JOULE, 1000.0},
    {"MAJ", SCPI_UNIT_JOULE, 1e6},
    {"N", SCPI_UNIT_NEWTON, 1.0},
    {"KN", SCPI_UNIT_NEWTON, 1000.0},
    {"ATM", SCPI_UNIT_ATMOSPHERE, 1.0},
    {"INHG", SCPI_UNIT_INCH_OF_MERCURY, 1.0},
    {"MMHG", SCPI_UNIT_MM_OF_MERCURY, 1.0},
    {"TORR", SCPI_UNIT_TORT, 1.0},
    {"BAR", SCPI_UNIT_BAR, 1.0},
    {"PAL", SCPI_UNIT_PASCAL, 1.0},
    {"KPAL", SCPI_UNIT_PASCAL, 1000.0},
    {"MAPAL", SCPI_UNIT_PASCAL, 1e6},
    {"ST", SCPI_UNIT_STROKES, 1.0},
    {"P", SCPI_UNIT_POISE, 1.0},
    {"L", SCPI_UNIT_LITER, 1.0},
    {"MG", SCPI_UNIT_KILOGRAM, 1e-6},
    {"G", SCPI_UNIT_KILOGRAM, 0.001},
    {"KG", SCPI_UNIT_KILOGRAM, 1.0},
    {"TNE", SCPI_UNIT_KILOGRAM, 1000.0},
#endif
#if USE_UNITS_FREQUENCY
    {"HZ", SCPI_UNIT_HERTZ, 1.0},
    {"KHZ", SCPI_UNIT_HERTZ, 1000.0},
    {"MHZ", SCPI_UNIT_HERTZ, 1e6},
    {"GHZ", SCPI_UNIT_HERTZ, 1e9},
#endif
#if USE_UNITS_DISTANCE
    {"ASU", SCPI_UNIT_ASTRONOMIC_UNIT, 1.0},
    {"PRS", SCPI_UNIT_PARSEC, 1.0},
#if USE_UNITS_IMPERIAL
    {"IN", SCPI_UNIT_INCH, 1.0},
    {"FT", SCPI_UNIT_FOOT, 1.0},
    {"MI", SCPI_UNIT_MILE, 1.0},
    {"NAMI", SCPI_UNIT_NAUTICAL_MILE, 1.0},
#endif
    {"NM", SCPI_UNIT_METER, 1e-9},
    {"UM", SCPI_UNIT_METER, 1e-6},
    {"MM", SCPI_UNIT_METER, 0.001},
    {"M", SCPI_UNIT_METER, 1.0},
    {"KM", SCPI_UNIT_METER, 1000.0},
#endif
#if USE_UNITS_LIGHT
    {"LX", SCPI_UNIT_LUX, 1.0},
    {"LM", SCPI_UNIT_LUMEN, 1.0},
    {"CD", SCPI_UNIT_CANDELA, 1.0},
#endif
#if USE_UNITS_MAGNETIC
    {"WB", SCPI_UNIT_WEBER, 1.0},
    {"NT", SCPI_UNIT_TESLA, 1e-9},
    {"UT", SCPI_UNIT_TESLA, 1e-6},
    {"MT", SCPI_UNIT_TESLA, 0.001},
    {"T", SCPI_UNIT_TESLA, 1.0},
#endif
#if USE_UNITS_POWER
    {"W", SCPI_UNIT_WATT, 1.0},
    {"DBM", SCPI_UNIT_DBM, 1.0},
    {"DBMW", SCPI_UNIT_DBM, 1.0},
#endif
#if USE_UNITS_RATIO
    {"DB", SCPI_UNIT_DECIBEL, 1.0},
    {"PCT", SCPI_UNIT_UNITLESS, 0.01},
    {"PPM", SCPI_UNIT_UNITLESS, 1e-6},
#endif
#if USE_UNITS_TEMPERATURE
    {"CEL", SCPI_UNIT_CELSIUS, 1.0},
#if USE_UNITS_IMPERIAL
    {"FAR", SCPI_UNIT_FAHRENHEIT, 1.0},
#endif
    {"K", SCPI_UNIT_KELVIN, 1.0},
#endif
#if USE_UNITS_TIME
    {"PS", SCPI_UNIT_SECOND, 1e-12},
    {"NS", SCPI_UNIT_SECOND, 1e-9},
    {"US", SCPI_UNIT_SECOND, 1e-6},
    {"MS", SCPI_UNIT_SECOND, 0.001},
    {"S", SCPI_UNIT_SECOND, 1.0},
    {"MIN", SCPI_UNIT_SECOND, 60.0},
    {"HR", SCPI_UNIT_SECOND, 3600.0},
    {"D", SCPI_UNIT_DAY, 1.0},
    {"ANN", SCPI_UNIT_YEAR, 1.0},
#endif
    SCPI_UNITS_LIST_END,
};
/* clang-format on */

const scpi_choice_def_t scpi_special_numbers_def[] = {
    {"MINimum", SCPI_NUM_MIN},  {"MAXimum", SCPI_NUM_MAX}, {"DEFault", SCPI_NUM_DEF},
    {"UP", SCPI_NUM_UP},        {"DOWN", SCPI_NUM_DOWN},   {"NAN", SCPI_NUM_NAN},
    {"INFinity", SCPI_NUM_INF}, {"NINF", SCPI_NUM_NINF},   {"AUTO", SCPI_NUM_AUTO},
    SCPI_CHOICE_LIST_END,
};

static scpi_bool_t isName(const char* name, const char* text, size_t len) {
    size_t i;
    for (i = 0; i < len && name[i]; i++) {
        if (scpiToUpper(name[i]) != scpiToUpper(text[i])) {
            return FALSE;
        }
    }
    return i == len && name[i] == '\0';
}

static const scpi_unit_def_t* findUnit(const scpi_unit_def_t* units, const char* suffix,
                                       size_t len) {
    for (; units && units->name; units++) {
        if (isName(units->name, suffix, len)) {
            return units;
        }
    }
    return NULL;
}

/* Where the suffix of a number begins: behind the number and the blanks that follow it. */
static size_t suffixStart(const scpi_parameter_t* parameter) {
    scpi_lexer_t lexer = scpiLexer(parameter->ptr, parameter->len, 0);
    (void)scpiLexDecimal(&lexer);
    (void)scpiLexBlanks(&lexer);
    return (size_t)(lexer.pos - parameter->ptr);
}

static scpi_bool_t scaleBySuffix(scpi_t* context, const scpi_parameter_t* parameter,
                                 scpi_number_t* value) {
    const size_t start = suffixStart(parameter);
    const scpi_unit_def_t* unit =
        findUnit(context->units, parameter->ptr + start, (size_t)parameter->len - start);

    if (!unit) {
        SCPI_ErrorPush(context, SCPI_ERROR_INVALID_SUFFIX);
        return FALSE;
    }
    value->content.value *= unit->mult;
    value->unit = unit->unit;
    return TRUE;
}

static scpi_bool_t readKeyword(scpi_t* context, scpi_parameter_t* parameter,
                               const scpi_choice_def_t* special, scpi_number_t* value) {
    value->special = TRUE;
    value->unit = SCPI_UNIT_NONE;
    value->base = 10;
    value->content.tag = 0;
    return SCPI_ParamToChoice(context, parameter, special, &value->content.tag);
}

static scpi_bool_t readNumber(scpi_t* context, scpi_parameter_t* parameter, scpi_number_t* value) {
    value->special = FALSE;
    value->unit = SCPI_UNIT_NONE;
    value->base = (int8_t)scpiNumberBase(parameter);
    (void)SCPI_ParamToDouble(context, parameter, &value->content.value);
    return parameter->type != SCPI_TOKEN_DECIMAL_NUMERIC_PROGRAM_DATA_WITH_SUFFIX ||
           scaleBySuffix(context, parameter, value);
}

scpi_bool_t SCPI_ParamNumber(scpi_t* context, const scpi_choice_def_t* special,
                             scpi_number_t* value, scpi_bool_t mandatory) {
    scpi_parameter_t parameter;

    if (!value) {
        SCPI_ErrorPush(context, SCPI_ERROR_SYSTEM_ERROR);
        return FALSE;
    }
    if (!SCPI_Parameter(context, &parameter, mandatory)) {
        return FALSE;
    }
    if (parameter.type == SCPI_TOKEN_PROGRAM_MNEMONIC) {
        return readKeyword(context, &parameter, special, value);
    }
    /* Other kinds are refused without an error: the caller knows the right one, and remote programs
     * rely on seeing no other (docs/compatibility.md: number-of-another-kind). */
    return SCPI_ParamIsNumber(&parameter, TRUE) && readNumber(context, &parameter, value);
}

/* Appends to the text of *used characters in str as far as len allows. */
static void append(char* str, size_t len, size_t* used, const char* text) {
    for (; *text && *used + 1 < len; text++) {
        str[(*used)++] = *text;
    }
    str[*used] = '\0';
}

static const char* baseUnitName(const scpi_unit_def_t* units, scpi_unit_t unit) {
    for (; units && units->name; units++) {
        if (units->unit == unit && units->mult == 1.0) {
            return units->name;
        }
    }
    return NULL;
}

size_t SCPI_NumberToStr(scpi_t* context, const scpi_choice_def_t* special, scpi_number_t* value,
                        char* str, size_t len) {
    const char* name = NULL;
    size_t used = 0;

    if (!value || !str || len == 0) {
        return 0;
    }
    str[0] = '\0';
    if (value->special) {
        if (special && SCPI_ChoiceToName(special, value->content.tag, &name)) {
            append(str, len, &used, name);
        }
        return used;
    }
    used = SCPI_DoubleToStr(value->content.value, str, len);
    name = baseUnitName(context->units, value->unit);
    if (name) {
        append(str, len, &used, " ");
        append(str, len, &used, name);
    }
    return used;
}
