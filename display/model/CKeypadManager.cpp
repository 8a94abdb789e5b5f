#include "CKeypadManager.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

struct NamedKey {
    std::string_view name;
    CKeypadManager_Event event;
};

constexpr NamedKey namedKeys[] = {
    {"Period", {evDecimal, '.'}},
    {"Clear", {evClear, '\0'}},
    {"Backspace", {evBackSp, '\0'}},
    {"PlusMinus", {evSign, '\0'}},
};

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

bool isAccepted(char character) {
    return isDigit(character) || character == '.';
}

/// Integer as long as another point may come.
enKeypadState stateOf(const CKeypadManager_Instance& instance) {
    const std::string_view text = instance.targetText;
    const auto points = static_cast<size_t>(std::ranges::count(text, '.'));
    return points < instance.rules.maxPoints ? keyPadInteger : keyPadFloat;
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
        instance->state = stateOf(*instance);
        break;
    default:
        CKeypadManager_HandleClear(instance);
        break;
    }
}

void handleEditing(CKeypadManager_Instance* instance, const CKeypadManager_Event& event) {
    switch (event.eventID) {
    case evSign:
        CKeypadManager_HandleSign(instance);
        break;
    case evAddChar:
        CKeypadManager_AddNumber(instance, event.data);
        break;
    case evDecimal:
        if (instance->state == keyPadInteger && CKeypadManager_AddNumber(instance, '.')) {
            instance->state = stateOf(*instance);
        }
        break;
    default:
        if (CKeypadManager_Backspace(instance) == '.') {
            instance->state = keyPadInteger;
        }
        break;
    }
}

void setText(CKeypadManager_Instance* instance, const char* text) {
    std::snprintf(instance->targetText, sizeof instance->targetText, "%s", text);
    instance->position = std::strlen(instance->targetText);
}

} // namespace

void CKeypadManager_Create(CKeypadManager_Instance* instance,
                           void (*updateTarget)(const char* text, bool isSelected),
                           const KeypadRules& rules) {
    *instance = {keyPadSelected, "", updateTarget, rules, 0};
}

std::optional<CKeypadManager_Event> CKeypadManager_keyEvent(std::string_view key) {
    if (key.size() == 1 && isDigit(key[0])) {
        return CKeypadManager_Event{evAddChar, key[0]};
    }
    const auto* named = std::ranges::find(namedKeys, key, &NamedKey::name);
    return named != std::end(namedKeys) ? std::optional(named->event) : std::nullopt;
}

void CKeypadManager_HandleEvent(CKeypadManager_Instance* instance,
                                const CKeypadManager_Event& event) {
    if (event.eventID == evClear) {
        CKeypadManager_HandleClear(instance);
    } else if (instance->state == keyPadSelected) {
        handleSelected(instance, event);
    } else {
        handleEditing(instance, event);
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
    instance->state = stateOf(*instance);
}

void CKeypadManager_HandleCursor(CKeypadManager_Instance* instance, size_t position) {
    instance->position = std::min(position, std::strlen(instance->targetText));
    instance->state = stateOf(*instance);
}

void CKeypadManager_HandleClear(CKeypadManager_Instance* instance) {
    setText(instance, "");
    instance->state = keyPadInteger;
}

void CKeypadManager_HandleSign(CKeypadManager_Instance* instance) {
    char* const text = instance->targetText;
    const size_t length = std::strlen(text);
    if (text[0] == '-') {
        std::memmove(text, text + 1, length);
        instance->position -= instance->position > 0 ? 1 : 0;
    } else if (length < instance->rules.maxLength) {
        std::memmove(text + 1, text, length + 1);
        text[0] = '-';
        ++instance->position;
    }
}

bool CKeypadManager_AddNumber(CKeypadManager_Instance* instance, char character) {
    const size_t length = std::strlen(instance->targetText);
    if (!isAccepted(character) || length >= instance->rules.maxLength) {
        return false;
    }
    char* const place = instance->targetText + instance->position;
    std::memmove(place + 1, place, length - instance->position + 1);
    *place = character;
    ++instance->position;
    return true;
}

char CKeypadManager_Backspace(CKeypadManager_Instance* instance) {
    if (instance->position == 0) {
        return '\0';
    }
    char* const place = instance->targetText + instance->position;
    const char removed = place[-1];
    std::memmove(place - 1, place, std::strlen(place) + 1);
    --instance->position;
    return removed;
}
