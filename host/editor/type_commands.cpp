// A picture made into another type.

#include "host/editor/type_commands.h"

#include "host/editor/commands.h"
#include "host/editor/picture_runs.h"

static const char *LabelOfType(int32_t colourType)
{
    switch (colourType) {
    case ONE_BIT: return "Black and White";
    case GREY: return "Grey";
    case PALETTE: return "Palette";
    default: return "RGB";
    }
}

static int32_t TypeOfCommand(int command)
{
    switch (command) {
    case PICTURE_GREY: return GREY;
    case PICTURE_PALETTE: return PALETTE;
    case PICTURE_RGB: return RGB;
    default: return ONE_BIT;
    }
}

void ConvertPicture(Editor &editor, PictureWindow &picture, int command)
{
    const int32_t type = TypeOfCommand(command);
    const OneBitMethod method = command == PICTURE_ONE_BIT_DIFFUSED ? OneBitMethod::DIFFUSION : OneBitMethod::THRESHOLD;
    StartPictureRun(editor, picture, LabelOfType(type), Places::STAY,
                    [=](const Picture &from, const GoOn &goOn) { return Converted(from, type, method, goOn); });
}
