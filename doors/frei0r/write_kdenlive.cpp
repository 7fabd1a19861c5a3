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

static std::string Comment(const std::string &text)
{
    return text.empty() ? "" : "<comment>" + Escaped(text) + "</comment>";
}

// Kdenlive shows value * factor, with nothing to be added to it: what is missing to the real number stands behind it, as
// in "19 + 1 %". It keeps six digits of a value, and without decimals it would cut 18.99999 down to 18.
static std::string Number(int place, const DoorSetting &setting)
{
    const std::string span = std::to_string(setting.high - setting.low), unit = *setting.unit ? " " : "";
    const std::string low = std::to_string(setting.low < 0 ? -setting.low : setting.low);
    const std::string rest = setting.low == 0 ? "" : (setting.low < 0 ? " - " : " + ") + low;
    const std::string meaning =
        std::string(setting.meaning) + ": " + std::to_string(setting.low) + " to " + std::to_string(setting.high);
    return "<parameter type=\"animated\" name=\"" + std::to_string(place) + "\" default=\"" +
           Decimal(double(setting.standard - setting.low) / (setting.high - setting.low)) + "\" min=\"0\" max=\"" +
           span + "\" factor=\"" + span + "\" decimals=\"1\" suffix=\"" + Escaped(rest + unit + setting.unit) + "\">" +
           Name(setting.label) + Comment(meaning) + "</parameter>";
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
    case DOOR_NUMBER: return Number(place, setting);
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
        const DoorSetting seed = {"seed",  "Seed", "which random pattern", "", DOOR_NUMBER, 1, 10000, 1, "1",
                                  nullptr, 0};
        fprintf(file, "  %s\n", Number(effect.settingCount, seed).c_str());
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
