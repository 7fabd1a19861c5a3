// Writes Kdenlive's description of each plug-in, one XML file each into the folder named: names and real units, where
// the plug-ins themselves only know numbers from 0 to 1.

#include <stdio.h>
#include <string>

#include <door_table.h>

static std::string Escaped(const std::string &text)
{
    std::string escaped;
    for (const char c : text) {
        switch (c) {
        case '&': escaped += "&amp;"; break;
        case '<': escaped += "&lt;"; break;
        case '>': escaped += "&gt;"; break;
        case '"': escaped += "&quot;"; break;
        default: escaped += c;
        }
    }
    return escaped;
}

static std::string Decimal(double number)
{
    char text[32];
    snprintf(text, sizeof text, "%.9g", number);
    return text;
}

static std::string Name(const std::string &label) { return "<name>" + Escaped(label) + "</name>"; }

// Kdenlive shows (value from 0 to 1) * factor + offset.
static std::string Number(int place, const char *label, const char *unit, int low, int high, int standard)
{
    const int span = high - low;
    return "<parameter type=\"animated\" name=\"" + std::to_string(place) + "\" default=\"" +
           Decimal(double(standard - low) / span) + "\" min=\"" + std::to_string(low) + "\" max=\"" +
           std::to_string(high) + "\" factor=\"" + std::to_string(span) + "\" offset=\"" + std::to_string(low) +
           "\" decimals=\"0\"" + (*unit ? " suffix=\" " + Escaped(unit) + "\"" : "") + ">" + Name(label) +
           "</parameter>";
}

static std::string Choice(int place, const DoorSetting &setting)
{
    std::string values, labels;
    for (int i = 0; i < setting.choiceCount; ++i) {
        values += (i ? ";" : "") + Decimal(double(i) / (setting.choiceCount - 1));
        labels += (i ? "," : "") + std::string(setting.choices[i].word);
    }
    return "<parameter type=\"list\" name=\"" + std::to_string(place) + "\" default=\"" +
           Decimal(double(setting.standard) / (setting.choiceCount - 1)) + "\" paramlist=\"" + values +
           "\"><paramlistdisplay>" + Escaped(labels) + "</paramlistdisplay>" + Name(setting.label) + "</parameter>";
}

static std::string Simple(int place, const char *type, const std::string &standard, const char *label)
{
    return std::string("<parameter type=\"") + type + "\" name=\"" + std::to_string(place) + "\" default=\"" +
           Escaped(standard) + "\">" + Name(label) + "</parameter>";
}

static std::string Parameter(int place, const DoorSetting &setting)
{
    switch (setting.kind) {
    case DOOR_NUMBER: return Number(place, setting.label, setting.unit, setting.low, setting.high, setting.standard);
    case DOOR_CHOICE: return Choice(place, setting);
    case DOOR_SWITCH: return Simple(place, "bool", std::to_string(setting.standard), setting.label);
    case DOOR_COLOUR:
        return Simple(place, "color", std::string("0x") + (setting.standardValue + 1) + "ff", setting.label);
    case DOOR_KERNEL: return Simple(place, "keywords", "", setting.label);
    }
    return "";
}

static bool Write(const std::string &folder, const DoorEffect &effect)
{
    std::string id = "velmorant_" + std::string(effect.name);
    for (char &c : id)
        if (c == '-') c = '_';
    FILE *file = fopen((folder + "/" + id + ".xml").c_str(), "w");
    if (!file) return false;
    fprintf(file,
            "<?xml version=\"1.0\"?>\n<!DOCTYPE kpartgui>\n<effect tag=\"frei0r.%s\" id=\"frei0r.%s\">\n"
            "  <name>Velmorant %s</name>\n  <description>%s</description>\n  <author>the VLMEFF authors</author>\n",
            id.c_str(), id.c_str(), Escaped(effect.title).c_str(), Escaped(effect.about).c_str());
    for (int i = 0; i < effect.settingCount; ++i) fprintf(file, "  %s\n", Parameter(i, effect.settings[i]).c_str());
    if (effect.draws) {
        fprintf(file, "  %s\n", Number(effect.settingCount, "Seed", "", 1, 10000, 1).c_str());
        fprintf(file, "  %s\n", Simple(effect.settingCount + 1, "bool", "0", "Moves from frame to frame").c_str());
    }
    fprintf(file, "</effect>\n");
    return fclose(file) == 0;
}

int main(int count, char **arguments)
{
    if (count != 2) {
        fprintf(stderr, "usage: write_kdenlive FOLDER\n");
        return 2;
    }
    for (int i = 0; i < doorEffectCount; ++i) {
        if (doorEffects[i].changesSize) continue;
        if (!Write(arguments[1], doorEffects[i])) {
            fprintf(stderr, "write_kdenlive: %s: cannot be written\n", arguments[1]);
            return 1;
        }
    }
    return 0;
}
