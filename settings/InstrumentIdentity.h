#ifndef SETTINGS_INSTRUMENT_IDENTITY_H
#define SETTINGS_INSTRUMENT_IDENTITY_H

/// Model and serial number of this instrument, provisioned in a small file beside the settings
/// (`identityFileName`): lines of key, blank, value, with the keys "modelNumber" and
/// "serialNumber".

struct InstrumentIdentity {
    char modelNumber[16];  ///< "8830K" unless the file names another
    char serialNumber[16]; ///< "00000000" unless the file names another
};

/// Reads the file. What it does not hold keeps its default; a longer value is cut at 15 characters.
/// Main thread, before any other thread exists.
void InstrumentIdentity_read();

/// The identity that was read, the defaults before. Any thread.
const InstrumentIdentity& InstrumentIdentity_get();

#endif
