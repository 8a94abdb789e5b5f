#ifndef TESTS_SUPPORT_USB_IDENTIFICATION_H
#define TESTS_SUPPORT_USB_IDENTIFICATION_H

#include <string>
#include <vector>

/// What a USB sensor is told from its reset to the first block of its plug-and-play file.
inline const std::vector<std::string> usbIdentification = {
    "*RST",
    "*STB?",
    "*CLS",
    "SYST:IDEN:MOD?",
    "SYST:IDEN:SN?",
    "SYST:IDEN:FWR?",
    "PNP:AVA?",
    "PNP:ITR",
    "PNP:FILE:SIZE?",
    "PNP:FILE:BLOC:TOT?",
    "PNP:FILE:BLOC:NUMB 1",
    "PNP:FILE:BLOC:DATA?",
};

#endif
