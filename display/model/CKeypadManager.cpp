#include "CKeypadManager.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr size_t maxLength = keypadTextSize - 1;

bool isAccepted(char character) {
    return (character >= '0' && character <= '9') || character == '.';
}

/// The first key after a selection: it replaces the text, unless it only changes the sign.
void handleSelected(CKeypadManager_Instance* instance, const CKeypadManager_Event& event) {
    switch (event.eventID) {
    case evSign:
        CKeypadManager_HandleSign(instance);
        break;
    case evAddChar:
        if (isAccepted(event.data)) {
            CKeypadManager_HandleClear(instance);
            CKeypadManager_AddNumber(instance, event.data);
        }
        break;
    case evDecimal:
        CKeypadManager_HandleClear(instance);
        CKeypadManager_AddNumber(instance, '.');
        instance->state = keyPadFloat;
        break;
    default:
        CKeypadManager_HandleClear(instance);
        break;
    }
}

void handleInteger(CKeypadManager_Instance* instance, const CKeypadManager_Event& event) {
    switch (event.eventID) {
    case evSign:
        CKeypadManager_HandleSign(instance);
        break;
    case evAddChar:
        CKeypadManager_AddNumber(instance, event.data);
        break;
    case evDecimal:
        if (CKeypadManager_AddNumber(instance, '.')) {
            instance->state = keyPadFloat;
        }
        break;
    default:
        CKeypadManager_Backspace(instance);
        break;
    }
}

void handleFloat(CKeypadManager_Instance* instance, const CKeypadManager_Event& event) {
    switch (event.eventID) {
    case evSign:
        CKeypadManager_HandleSign(instance);
        break;
    case evAddChar:
        CKeypadManager_AddNumber(instance, event.data);
        break;
    case evDecimal:
        break; // one point only
    default:
        if (CKeypadManager_Backspace(instance) == '.') {
            instance->state = keyPadInteger;
        }
        break;
    }
}

void setText(CKeypadManager_Instance* instance, const char* text) {
    std::snprintf(instance->targetText, sizeof instance->targetText, "%s", text);
}

} // namespace

void CKeypadManager_Create(CKeypadManager_Instance* instance,
                           void (*updateTarget)(const char* text, bool isSelected)) {
    *instance = {keyPadSelected, "", updateTarget};
}

void CKeypadManager_HandleEvent(CKeypadManager_Instance* instance,
                                const CKeypadManager_Event& event) {
    if (event.eventID == evClear) {
        CKeypadManager_HandleClear(instance);
    } else if (instance->state == keyPadSelected) {
        handleSelected(instance, event);
    } else if (instance->state == keyPadInteger) {
        handleInteger(instance, event);
    } else {
        handleFloat(instance, event);
    }
    if (instance->pUpdateTarget != nullptr) {
        instance->pUpdateTarget(instance->targetText, instance->state == keyPadSelected);
    }
}

void CKeypadManager_HandleNextField(CKeypadManager_Instance* instance, const char* text) {
    setText(instance, text);
    instance->state = keyPadSelected;
}

void CKeypadManager_HandleEditedText(CKeypadManager_Instance* instance, const char* text) {
    setText(instance, text);
    instance->state =
        std::strchr(instance->targetText, '.') != nullptr ? keyPadFloat : keyPadInteger;
}

void CKeypadManager_HandleClear(CKeypadManager_Instance* instance) {
    instance->targetText[0] = '\0';
    instance->state = keyPadInteger;
}

void CKeypadManager_HandleSign(CKeypadManager_Instance* instance) {
    char* const text = instance->targetText;
    const size_t length = std::strlen(text);
    if (text[0] == '-') {
        std::memmove(text, text + 1, length);
    } else if (length < maxLength) {
        std::memmove(text + 1, text, length + 1);
        text[0] = '-';
    }
}

bool CKeypadManager_AddNumber(CKeypadManager_Instance* instance, char character) {
    const size_t length = std::strlen(instance->targetText);
    if (!isAccepted(character) || length >= maxLength) {
        return false;
    }
    instance->targetText[length] = character;
    instance->targetText[length + 1] = '\0';
    return true;
}

char CKeypadManager_Backspace(CKeypadManager_Instance* instance) {
    const size_t length = std::strlen(instance->targetText);
    if (length == 0) {
        return '\0';
    }
    const char removed = instance->targetText[length - 1];
    instance->targetText[length - 1] = '\0';
    return removed;
}
