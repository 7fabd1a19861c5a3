/* The effects and their settings as constant tables, for programs that have to say what they offer before any effect
 * runs: plug-ins that are listed, menus, property sheets. The tables are written when the doors are built, by
 * write_table.cpp, from what the library tells; nothing here is kept by hand. Files that a run reads or writes, and the
 * settings that all effects share, are left out: such programs have their own files, selections and priorities. */

#ifndef DOORS_TABLE_DOOR_TABLE_H
#define DOORS_TABLE_DOOR_TABLE_H

#ifdef __cplusplus
extern "C" {
#endif

enum DoorKind { DOOR_NUMBER, DOOR_CHOICE, DOOR_SWITCH, DOOR_COLOUR, DOOR_KERNEL };

struct DoorChoice {
    const char *word, *label, *meaning;
};

struct DoorSetting {
    const char *name, *label, *meaning, *unit;
    enum DoorKind kind;
    int low, high, standard;   /* of a number; a choice's `standard` is its place, a switch's 0 or 1 */
    const char *standardValue; /* in the words that set it */
    const struct DoorChoice *choices;
    int choiceCount;
};

struct DoorEffect {
    const char *name, *title, *summary, *about;
    unsigned types; /* of pictures it works on, as vlm_effect's */
    int changesSize, draws;
    const struct DoorSetting *settings;
    int settingCount;
};

extern const struct DoorEffect doorEffects[];
extern const int doorEffectCount;

/* NULL when there is none. */
const struct DoorEffect *DoorEffectNamed(const char *name);

#ifdef __cplusplus
}
#endif

#endif
