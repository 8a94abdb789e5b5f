#include "CKeypadManager.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string toldText;
bool toldSelected;
int toldCount;

void tell(const char* text, bool isSelected) {
    toldText = text;
    toldSelected = isSelected;
    ++toldCount;
}

constexpr char fullText[] = "12345678901234567890";

class Keypad : public testing::Test {
protected:
    CKeypadManager_Instance keypad;

    void SetUp() override {
        CKeypadManager_Create(&keypad, tell, keypadNumber);
        toldCount = 0;
    }
    void start(enKeypadState state, const char* text) {
        CKeypadManager_HandleNextField(&keypad, text);
        keypad.state = state;
    }
    /// Keys as characters: digits, '.', '-' for the sign, '<' for backspace, 'C' for clear.
    void press(const char* keys) {
        for (; *keys != '\0'; ++keys) {
            const enKeypadEvent event = *keys == '.'   ? evDecimal
                                        : *keys == '-' ? evSign
                                        : *keys == '<' ? evBackSp
                                        : *keys == 'C' ? evClear
                                                       : evAddChar;
            CKeypadManager_HandleEvent(&keypad, {event, *keys});
        }
    }
};

} // namespace

TEST_F(Keypad, EveryStateAnswersEveryEventAsTheTableSays) {
    struct {
        enKeypadState state;
        const char* text;
        CKeypadManager_Event event;
        const char* textAfter;
        enKeypadState stateAfter;
    } const cases[] = {
        {keyPadSelected, "100", {evClear, 0}, "", keyPadInteger},
        {keyPadInteger, "100", {evClear, 0}, "", keyPadInteger},
        {keyPadFloat, "1.5", {evClear, 0}, "", keyPadInteger},
        {keyPadSelected, "100", {evSign, 0}, "-100", keyPadSelected},
        {keyPadSelected, "-100", {evSign, 0}, "100", keyPadSelected},
        {keyPadSelected, "100", {evAddChar, '5'}, "5", keyPadInteger},
        {keyPadSelected, fullText, {evAddChar, '5'}, "5", keyPadInteger},
        {keyPadSelected, "100", {evAddChar, 'x'}, "100", keyPadSelected},
        {keyPadSelected, "100", {evDecimal, 0}, ".", keyPadFloat},
        {keyPadSelected, "100", {evBackSp, 0}, "", keyPadInteger},
        {keyPadInteger, "10", {evSign, 0}, "-10", keyPadInteger},
        {keyPadInteger, "-10", {evSign, 0}, "10", keyPadInteger},
        {keyPadInteger, "10", {evAddChar, '5'}, "105", keyPadInteger},
        {keyPadInteger, "10", {evAddChar, '+'}, "10", keyPadInteger},
        {keyPadInteger, fullText, {evAddChar, '5'}, fullText, keyPadInteger},
        {keyPadInteger, "10", {evDecimal, 0}, "10.", keyPadFloat},
        {keyPadInteger, fullText, {evDecimal, 0}, fullText, keyPadInteger},
        {keyPadInteger, "10", {evBackSp, 0}, "1", keyPadInteger},
        {keyPadInteger, "", {evBackSp, 0}, "", keyPadInteger},
        {keyPadFloat, "1.5", {evSign, 0}, "-1.5", keyPadFloat},
        {keyPadFloat, "-1.5", {evSign, 0}, "1.5", keyPadFloat},
        {keyPadFloat, "1.5", {evAddChar, '2'}, "1.52", keyPadFloat},
        {keyPadFloat, "1.5", {evDecimal, 0}, "1.5", keyPadFloat},
        {keyPadFloat, "1.5", {evBackSp, 0}, "1.", keyPadFloat},
        {keyPadFloat, "1.", {evBackSp, 0}, "1", keyPadInteger},
    };
    for (const auto& test : cases) {
        start(test.state, test.text);
        toldCount = 0;
        CKeypadManager_HandleEvent(&keypad, test.event);
        EXPECT_STREQ(keypad.targetText, test.textAfter)
            << test.text << " in " << test.state << " with " << test.event.eventID;
        EXPECT_EQ(keypad.state, test.stateAfter);
        EXPECT_EQ(toldCount, 1) << "every event passes the text on";
        EXPECT_EQ(toldText, test.textAfter);
        EXPECT_EQ(toldSelected, test.stateAfter == keyPadSelected);
    }
}

TEST_F(Keypad, TheFirstKeyReplacesTheTextOfAnEntry) {
    CKeypadManager_HandleNextField(&keypad, "100");
    press("5");
    EXPECT_EQ(toldText, "5");
    press("0");
    EXPECT_EQ(toldText, "50");
}

TEST_F(Keypad, ASecondPointIsIgnoredAndBackspaceReturnsToIntegers) {
    CKeypadManager_HandleNextField(&keypad, "100");
    press("..");
    EXPECT_EQ(toldText, ".");
    EXPECT_EQ(keypad.state, keyPadFloat);
    press("<");
    EXPECT_EQ(toldText, "");
    EXPECT_EQ(keypad.state, keyPadInteger);
}

TEST_F(Keypad, NeverHoldsMoreThanTwentyCharacters) {
    CKeypadManager_HandleNextField(&keypad, "123456789012345678901234567890");
    EXPECT_STREQ(keypad.targetText, fullText);
    CKeypadManager_HandleSign(&keypad);
    EXPECT_STREQ(keypad.targetText, fullText) << "no room for a sign";
    EXPECT_FALSE(CKeypadManager_AddNumber(&keypad, '1'));
    CKeypadManager_Backspace(&keypad);
    CKeypadManager_HandleSign(&keypad);
    EXPECT_STREQ(keypad.targetText, "-1234567890123456789");
}

TEST_F(Keypad, OnlyDigitsAndThePointAreAccepted) {
    for (int character = -128; character < 128; ++character) {
        CKeypadManager_HandleNextField(&keypad, "");
        const auto key = static_cast<char>(character);
        const bool isNumber = (key >= '0' && key <= '9') || key == '.';
        EXPECT_EQ(CKeypadManager_AddNumber(&keypad, key), isNumber) << character;
    }
}

TEST_F(Keypad, ATextEditedByOtherMeansIsContinued) {
    CKeypadManager_HandleEditedText(&keypad, "12");
    EXPECT_EQ(keypad.state, keyPadInteger);
    CKeypadManager_HandleEditedText(&keypad, "12.5");
    EXPECT_EQ(keypad.state, keyPadFloat);
    press("7");
    EXPECT_EQ(toldText, "12.57");
}

TEST_F(Keypad, WorksWithoutAListener) {
    CKeypadManager_Create(&keypad, nullptr, keypadNumber);
    press("12");
    EXPECT_STREQ(keypad.targetText, "12");
}

TEST_F(Keypad, AnAddressHasThreePointsAndFifteenCharacters) {
    CKeypadManager_Create(&keypad, tell, keypadAddress);
    press("1.2.3.4.5");
    EXPECT_EQ(toldText, "1.2.3.45");
    EXPECT_EQ(keypad.state, keyPadFloat);
    press("<<<.");
    EXPECT_EQ(toldText, "1.2.3.");
    press("<.<<7");
    EXPECT_EQ(toldText, "1.2.7");
    EXPECT_EQ(keypad.state, keyPadInteger);
    press("1234567890123");
    EXPECT_EQ(toldText, "1.2.71234567890");
    CKeypadManager_HandleNextField(&keypad, "192.168.1.40");
    press(".");
    EXPECT_EQ(toldText, ".");
    EXPECT_EQ(keypad.state, keyPadInteger);
}

TEST_F(Keypad, KeysWorkAtTheCursor) {
    CKeypadManager_Create(&keypad, tell, keypadAddress);
    CKeypadManager_HandleNextField(&keypad, "7.89");
    CKeypadManager_HandleCursor(&keypad, 1);
    press("65");
    EXPECT_EQ(toldText, "765.89");
    EXPECT_EQ(keypad.position, 3U);
    press("<");
    EXPECT_EQ(toldText, "76.89");
    CKeypadManager_HandleCursor(&keypad, 0);
    press("<");
    EXPECT_EQ(toldText, "76.89") << "there is nothing before the cursor";
    CKeypadManager_HandleSign(&keypad);
    EXPECT_EQ(keypad.position, 1U);
    CKeypadManager_HandleSign(&keypad);
    EXPECT_EQ(keypad.position, 0U);
    CKeypadManager_HandleSign(&keypad);
    CKeypadManager_HandleCursor(&keypad, 0);
    CKeypadManager_HandleSign(&keypad);
    EXPECT_EQ(keypad.position, 0U);
    CKeypadManager_HandleCursor(&keypad, 100);
    press("<");
    EXPECT_EQ(toldText, "76.8");
    press("C1");
    EXPECT_EQ(toldText, "1");
}

TEST_F(Keypad, KeysAreKnownByTheirNames) {
    struct {
        const char* name;
        enKeypadEvent event;
        char data;
    } const cases[] = {{"0", evAddChar, '0'},      {"9", evAddChar, '9'},
                       {"Period", evDecimal, '.'}, {"Clear", evClear, 0},
                       {"Backspace", evBackSp, 0}, {"PlusMinus", evSign, 0}};
    for (const auto& row : cases) {
        const auto event = CKeypadManager_keyEvent(row.name);
        ASSERT_TRUE(event) << row.name;
        EXPECT_EQ(event->eventID, row.event);
        EXPECT_EQ(event->data, row.data);
    }
    for (const char* name : {"", "Next", "x", "10"}) {
        EXPECT_FALSE(CKeypadManager_keyEvent(name)) << name;
    }
}
