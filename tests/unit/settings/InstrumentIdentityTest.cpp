#include "InstrumentIdentity.h"

#include "World.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr const char* identityFile = "/etc/QuorvelPowerMeterApp/QuorvelIdentity.conf";

TEST(InstrumentIdentity, MissingFileGivesTheStandardIdentity) {
    World_removeFile(identityFile);
    InstrumentIdentity_read();
    EXPECT_STREQ(InstrumentIdentity_get().modelNumber, "8830K");
    EXPECT_STREQ(InstrumentIdentity_get().serialNumber, "00000000");
}

TEST(InstrumentIdentity, FileGivesModelAndSerialNumber) {
    struct Case {
        const char* legend;
        std::string content;
        const char* model;
        const char* serial;
    };
    const Case cases[] = {
        {"both", "modelNumber 8830K8\nserialNumber 12345678\n", "8830K8", "12345678"},
        {"other order, no line end", "serialNumber 1\nmodelNumber 2", "2", "1"},
        {"carriage returns", "modelNumber A\r\nserialNumber B\r\n", "A", "B"},
        {"model only", "modelNumber 8830KX\n", "8830KX", "00000000"},
        {"serial number only", "serialNumber 42\n", "8830K", "42"},
        {"fifteen characters", "serialNumber 123456789012345\n", "8830K", "123456789012345"},
        {"more than fifteen", "serialNumber 1234567890123456789\n", "8830K", "123456789012345"},
        {"keys without values", "modelNumber\nserialNumber \n", "8830K", "00000000"},
        {"value with a blank", "modelNumber 8830K 8\n", "8830K 8", "00000000"},
        {"longer keys", "modelNumberX 1\nserialNumbers 2\n", "8830K", "00000000"},
        {"other lines", "# comment\n\ncolour blue\nmodelNumber 7\n", "7", "00000000"},
        {"empty", "", "8830K", "00000000"},
    };
    for (const Case& row : cases) {
        World_writeFile(identityFile, row.content);
        InstrumentIdentity_read();
        EXPECT_STREQ(InstrumentIdentity_get().modelNumber, row.model) << row.legend;
        EXPECT_STREQ(InstrumentIdentity_get().serialNumber, row.serial) << row.legend;
    }
    World_removeFile(identityFile);
}

} // namespace
