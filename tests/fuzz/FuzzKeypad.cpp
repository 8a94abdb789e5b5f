// The on-screen keypad: any keys in any order leave a number's text, and a unit's key leaves a
// number that can be shown in any unit. An entry may begin with any text, and the cursor be put
// anywhere.
#include "CKeypadManager.h"
#include "PulseConfigUnits.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace {

std::string shown;

void show(const char* text, bool /*isSelected*/) {
    shown = text;
}

/// Digits with at most one point and, in front, a sign.
bool isNumberBegun(std::string_view text) {
    if (text.starts_with('-')) {
        text.remove_prefix(1);
    }
    return std::count(text.begin(), text.end(), '.') <= 1 &&
           text.find_first_not_of("0123456789.") == std::string_view::npos;
}

void press(CKeypadManager_Instance* keypad, uint8_t key, uint8_t character) {
    CKeypadManager_HandleEvent(keypad,
                               {static_cast<enKeypadEvent>(key % 6), static_cast<char>(character)});
    if (shown != keypad->targetText || shown.size() >= keypadTextSize ||
        keypad->position > shown.size()) {
        abort();
    }
}

void typeNumber(const uint8_t* data, size_t size) {
    CKeypadManager_Instance keypad{};
    CKeypadManager_Create(&keypad, show, keypadNumber);
    for (size_t at = 0; at + 1 < size; at += 2) {
        // The key with the point is a key of its own.
        const uint8_t key = data[at + 1] == '.' ? uint8_t{evDecimal} : data[at];
        press(&keypad, key, data[at + 1]);
        if (!isNumberBegun(keypad.targetText)) {
            abort();
        }
    }
    UnitEntry entry{};
    entry.kind = static_cast<UnitKind>(size % 3);
    UnitEntry_set(&entry, 1.0, 0);
    if (std::isnan(UnitEntry_value(entry, keypad.targetText))) {
        abort();
    }
}

void editText(const uint8_t* data, size_t size) {
    const size_t length = std::min<size_t>(data[0] % 32, size - 1);
    const std::string text(reinterpret_cast<const char*>(data) + 1, length);
    CKeypadManager_Instance keypad{};
    const KeypadRules& rules = (data[0] & 0x40U) != 0 ? keypadAddress : keypadNumber;
    CKeypadManager_Create(&keypad, show, rules);
    CKeypadManager_HandleNextField(&keypad, text.c_str());
    if ((data[0] & 0x80U) != 0) {
        CKeypadManager_HandleEditedText(&keypad, text.c_str());
    }
    for (size_t at = 1 + length; at + 1 < size; at += 2) {
        if (data[at] % 7 == 6) {
            CKeypadManager_HandleCursor(&keypad, data[at + 1]);
        }
        press(&keypad, data[at], data[at + 1]);
    }
    UnitEntry entry{};
    entry.kind = static_cast<UnitKind>(size % 3);
    UnitEntry_set(&entry, 1.0, 0);
    for (uint32_t step = 0; step < 4; ++step) {
        UnitEntry_value(entry, text.c_str());
        UnitEntry_nextUnit(&entry, text.c_str());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) {
        return 0;
    }
    typeNumber(data, size);
    editText(data, size);
    return 0;
}
