#ifndef TESTS_FUZZ_FUZZ_TIME_H
#define TESTS_FUZZ_FUZZ_TIME_H

/// Time in the fuzz targets that link this module: it goes by only where the code under test waits
/// or asks for it, so that hours of time-outs cost nothing and every input runs the same way twice.

/// Begins again at the same moment. At the start of an input.
void FuzzTime_reset();

#endif
