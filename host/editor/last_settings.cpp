// Kept beside the presets, as recipes of one step: whoever reads the one reads the other. A file that cannot be written
// is no reason to disturb a person at work.

#include "host/editor/last_settings.h"

#include "host/acting/preset_files.h"
#include "host/paths/paths.h"
#include "host/paths/user_folder.h"

static std::string FileFor(const DialogTemplate &effect)
{
    const std::string folder = UserFolder();
    return folder.empty() ? "" : NameOf(PathOf(folder) / "last" / PathOf(std::string(effect.effect) + ".recipe"));
}

void RememberSettings(PictureWindow &picture, const DialogTemplate &effect, const Settings &settings)
{
    picture.lastSettings[effect.effect] = settings;
    std::string ignored;
    const std::string file = FileFor(effect);
    if (!file.empty()) WriteStepLines(file, {StepLine(effect, settings)}, ignored);
}

Settings LastSettings(const PictureWindow *picture, const DialogTemplate &effect)
{
    if (picture) {
        const auto own = picture->lastSettings.find(effect.effect);
        if (own != picture->lastSettings.end()) return own->second;
    }
    std::string line, comment, name;
    Settings settings;
    const std::string file = FileFor(effect);
    const bool read = !file.empty() && ReadStepLine(file, line, comment) && ReadStep(line, name, settings);
    return read && name == effect.effect ? settings : Settings{};
}
