#ifndef DISPLAY_MODEL_CKEYPAD_MANAGER_H
#define DISPLAY_MODEL_CKEYPAD_MANAGER_H

/// The on-screen numeric keypad: a small state machine that edits one number text. It knows no
/// widget; whoever owns the entry is told the text after every event. One thread.

enum enKeypadState : int {
    keyPadSelected = 0, ///< the whole text is selected: the first key replaces it
    keyPadInteger = 1,
    keyPadFloat = 2 ///< the text has its decimal point
};
enum enKeypadEvent : int { evClear = 0, evSign = 1, evAddChar = 2, evDecimal = 3, evBackSp = 4 };

constexpr int keypadTextSize = 21;

struct CKeypadManager_Instance {
    enKeypadState state;
    char targetText[keypadTextSize]; ///< the text being edited
    void (*pUpdateTarget)(const char* text, bool isSelected);
};

struct CKeypadManager_Event {
    enKeypadEvent eventID;
    char data; ///< the character of evAddChar
};

/// An empty text, selected. `updateTarget` may be null.
void CKeypadManager_Create(CKeypadManager_Instance* instance,
                           void (*updateTarget)(const char* text, bool isSelected));

/// Takes one event, then passes the text on.
void CKeypadManager_HandleEvent(CKeypadManager_Instance* instance,
                                const CKeypadManager_Event& event);

/// Turns to a newly focused entry with this text (cut at 20 characters), wholly selected.
void CKeypadManager_HandleNextField(CKeypadManager_Instance* instance, const char* text);

/// Goes on editing a text that was changed by other means: nothing of it is selected.
void CKeypadManager_HandleEditedText(CKeypadManager_Instance* instance, const char* text);

/// The operations on the text; none of them passes it on.
void CKeypadManager_HandleClear(CKeypadManager_Instance* instance);
/// Puts a "-" in front, or takes it away; a full text is left alone.
void CKeypadManager_HandleSign(CKeypadManager_Instance* instance);
/// Appends a decimal digit or "."; false for any other character and for a full text.
bool CKeypadManager_AddNumber(CKeypadManager_Instance* instance, char character);
/// Removes and returns the last character, '\0' when there is none.
char CKeypadManager_Backspace(CKeypadManager_Instance* instance);

#endif
