#ifndef APP_CORE_NUMBERS_H
#define APP_CORE_NUMBERS_H

#include <clocale>

/// Numbers in files and protocols look the same on every desktop: these read and write them in the
/// "C" locale, whatever locale GTK has set up for the process.

/// Reads a decimal number as strtod does; `end`, unless null, receives the first character behind
/// it. Any thread.
double Numbers_toDouble(const char* text, char** end);

/// The same for a 32-bit float; what is beyond it gives an infinity. Any thread.
float Numbers_toFloat(const char* text, char** end);

/// Reads a decimal integer as far as it goes, leading white space skipped. Text that is no number
/// gives 0; a value beyond int gives the nearest int.
int Numbers_toInt(const char* text);

/// Printing in the calling thread uses the "C" locale for the length of a scope.
class ScopedNumberLocale {
public:
    ScopedNumberLocale();
    ~ScopedNumberLocale();
    ScopedNumberLocale(const ScopedNumberLocale&) = delete;
    ScopedNumberLocale& operator=(const ScopedNumberLocale&) = delete;

private:
    locale_t previous;
};

#endif
