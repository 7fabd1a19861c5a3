// Writes the tables of door_table.h as a C source, to standard output. Run while the doors are built; whatever is
// wrong ends with a line and exit code 1, so that a door is never built with half a list.

#include <stdio.h>
#include <string.h>
#include <string>
#include <velmorant.h>

static std::string Quoted(const char *text)
{
    std::string quoted = "\"";
    for (const char *c = text; *c; ++c) {
        if (*c == '"' || *c == '\\') quoted += '\\';
        quoted += *c == '\n' ? ' ' : *c;
    }
    return quoted + '"';
}

static const char *KindName(vlm_kind kind)
{
    switch (kind) {
    case VLM_NUMBER: return "DOOR_NUMBER";
    case VLM_CHOICE: return "DOOR_CHOICE";
    case VLM_SWITCH: return "DOOR_SWITCH";
    case VLM_COLOUR: return "DOOR_COLOUR";
    case VLM_KERNEL: return "DOOR_KERNEL";
    default: return nullptr;
    }
}

static int StandardOf(const vlm_setting *setting)
{
    if (setting->kind == VLM_SWITCH) return strcmp(setting->default_value, "on") == 0;
    for (int i = 0; i < setting->choice_count; ++i)
        if (strcmp(vlm_setting_choice(setting, i)->word, setting->default_value) == 0) return i;
    return setting->default_number;
}

static void WriteChoices(const std::string &name, const vlm_setting *setting)
{
    printf("static const struct DoorChoice %s[] = {\n", name.c_str());
    for (int i = 0; i < setting->choice_count; ++i) {
        const vlm_choice *choice = vlm_setting_choice(setting, i);
        printf("    {%s, %s, %s},\n", Quoted(choice->word).c_str(), Quoted(choice->label).c_str(),
               Quoted(choice->meaning).c_str());
    }
    printf("};\n");
}

static bool Offered(const vlm_setting *setting) { return KindName(setting->kind) && !setting->shared; }

static int WriteSettings(const vlm_effect *effect, int number)
{
    const std::string prefix = "choices_" + std::to_string(number) + "_";
    for (int i = 0; i < effect->setting_count; ++i) {
        const vlm_setting *setting = vlm_effect_setting(effect, i);
        if (Offered(setting) && setting->choice_count > 0) WriteChoices(prefix + std::to_string(i), setting);
    }
    int count = 0;
    std::string rows;
    for (int i = 0; i < effect->setting_count; ++i) {
        const vlm_setting *setting = vlm_effect_setting(effect, i);
        if (!Offered(setting)) continue;
        const std::string choices = setting->choice_count > 0 ? prefix + std::to_string(i) : "0";
        rows += "    {" + Quoted(setting->name) + ", " + Quoted(setting->label) + ", " + Quoted(setting->meaning) +
                ", " + Quoted(setting->unit) + ", " + KindName(setting->kind) + ", " + std::to_string(setting->low) +
                ", " + std::to_string(setting->high) + ", " + std::to_string(StandardOf(setting)) + ", " +
                Quoted(setting->default_value) + ", " + choices + ", " + std::to_string(setting->choice_count) + "},\n";
        ++count;
    }
    if (count > 0) printf("static const struct DoorSetting settings_%d[] = {\n%s};\n\n", number, rows.c_str());
    return count;
}

int main()
{
    const int count = vlm_effect_count();
    if (count == 0) {
        vlm_start();
        fprintf(stderr, "write_table: %s\n", vlm_error_line());
        return 1;
    }
    printf("/* Written by write_table. */\n#include \"door_table.h\"\n\n#include <string.h>\n\n");
    std::string rows;
    for (int i = 0; i < count; ++i) {
        const vlm_effect *effect = vlm_effect_at(i);
        const int settings = WriteSettings(effect, i);
        rows += "    {" + Quoted(effect->name) + ", " + Quoted(effect->title) + ", " + Quoted(effect->summary) + ", " +
                Quoted(effect->about) + ", " + std::to_string(effect->types) + ", " +
                std::to_string(effect->changes_size) + ", " + std::to_string(effect->draws) + ", " +
                (settings ? "settings_" + std::to_string(i) : "0") + ", " + std::to_string(settings) + "},\n";
    }
    printf("const struct DoorEffect doorEffects[] = {\n%s};\nconst int doorEffectCount = %d;\n\n", rows.c_str(), count);
    printf("const struct DoorEffect *DoorEffectNamed(const char *name)\n{\n"
           "    for (int i = 0; i < doorEffectCount; ++i)\n"
           "        if (strcmp(doorEffects[i].name, name) == 0) return doorEffects + i;\n    return 0;\n}\n");
    return 0;
}
