#ifndef DISPLAY_MODEL_CKEYPAD_MANAGER_H
#define DISPLAY_MODEL_CKEYPAD_MANAGER_H

#include <cstddef>
#include <optional>
#include <string_view>

/// The on-screen numeric keypad: a small state machine that edits one text, a number or an address.
/// It knows no widget; whoever owns the entry is told the text after every event. One thread.

enum enKeypadState : int {
    keyPadSelected = 0, ///< the whole text is selected: the first key replaces it
    keyPadInteger = 1,
    keyPadFloat = 2 ///< the text has all the points that it may have
};
enum enKeypadEvent : int { evClear = 0, evSign = 1, evAddChar = 2, evDecimal = 3, evBackSp = 4 };

constexpr int keypadTextSize = 21;

/// What may be typed into an entry.
struct KeypadRules {
    size_t maxLength; ///< at most keypadTextSize - 1
    size_t maxPoints;
};
constexpr KeypadRules keypadNumber = {keypadTextSize - 1, 1};
constexpr KeypadRules keypadAddress = {15, 3}; ///< four numbers with dots between them

struct CKeypadManager_Instance {
    enKeypadState state;
    char targetText[keypadTextSize]; ///< the text being edited
    void (*pUpdateTarget)(const char* text, bool isSelected);
    KeypadRules rules;
    size_t position; ///< of the cursor: keys insert there, and remove before it
};

struct CKeypadManager_Event {
    enKeypadEvent eventID;
    char data; ///< the character of evAddChar
};

/// An empty text, selected. `updateTarget` may be null.
void CKeypadManager_Create(CKeypadManager_Instance* instance,
                           void (*updateTarget)(const char* text, bool isSelected),
                           const KeypadRules& rules);

/// The event of a key by its name: a digit, "Period", "Clear", "Backspace" or "PlusMinus".
std::optional<CKeypadManager_Event> CKeypadManager_keyEvent(std::string_view key);

/// Takes one event, then passes the text on.
void CKeypadManager_HandleEvent(CKeypadManager_Instance* instance,
                                const CKeypadManager_Event& event);

/// Turns to a newly focused entry with this text (cut at 20 characters), wholly selected.
void CKeypadManager_HandleNextField(CKeypadManager_Instance* instance, const char* text);

/// Goes on editing a text that was changed by other means, at its end: nothing of it is selected.
void CKeypadManager_HandleEditedText(CKeypadManager_Instance* instance, const char* text);

/// Goes on editing the text at a cursor that was set by other means: nothing is selected.
void CKeypadManager_HandleCursor(CKeypadManager_Instance* instance, size_t position);

/// The operations on the text; none of them passes it on.
void CKeypadManager_HandleClear(CKeypadManager_Instance* instance);
/// Puts a "-" in front, or takes it away; a full text is left alone.
void CKeypadManager_HandleSign(CKeypadManager_Instance* instance);
/// Inserts a decimal digit or "."; false for any other character and for a full text.
bool CKeypadManager_AddNumber(CKeypadManager_Instance* instance, char character);
/// Removes and returns the character before the cursor, '\0' when there is none.
char CKeypadManager_Backspace(CKeypadManager_Instance* instance);

#endif
