// All effects as procedures of GIMP, plug-in-velmorant-wave and so on, in Filters > Velmorant. GIMP starts this program
// for each run and survives whatever becomes of it; the image is written to once, at the end, when all has gone well.

#include <string.h>
#include <string>
#include <vector>

#include <door_table.h>
#include <libgimp/gimp.h>
#include <velmorant.h>

#include "doors/gimp/dialog.h"
#include "doors/gimp/layer.h"
#include "doors/gimp/values.h"

static const char PREFIX[] = "plug-in-velmorant-";

//---- What GIMP asks of a new plug-in

static std::string TypesOf(const DoorEffect &effect)
{
    std::string types;
    if (effect.types & 1u << VLM_RGB) types += "RGB*, ";
    if (effect.types & 1u << VLM_GREY) types += "GRAY*, ";
    if (effect.types & (1u << VLM_PALETTE | 1u << VLM_ONE_BIT)) types += "INDEXED*, ";
    if (!types.empty()) types.resize(types.size() - 2);
    return types;
}

static void Install(const DoorEffect &effect)
{
    std::vector<GimpParamDef> arguments = {
        {GIMP_PDB_INT32, const_cast<gchar *>("run-mode"),
         const_cast<gchar *>("The run mode { RUN-INTERACTIVE (0), RUN-NONINTERACTIVE (1), RUN-WITH-LAST-VALS (2) }")},
        {GIMP_PDB_IMAGE, const_cast<gchar *>("image"), const_cast<gchar *>("Input image")},
        {GIMP_PDB_DRAWABLE, const_cast<gchar *>("drawable"), const_cast<gchar *>("Input drawable")},
    };
    DeclareArguments(effect, arguments);
    const std::string name = std::string(PREFIX) + effect.name;
    const std::string label = std::string(effect.title) + "...";
    gimp_install_procedure(name.c_str(), effect.summary, effect.about, "the VLMEFF authors", "the VLMEFF authors",
                           vlm_version_text(), label.c_str(), TypesOf(effect).c_str(), GIMP_PLUGIN,
                           gint(arguments.size()), 0, arguments.data(), nullptr);
    gimp_plugin_menu_register(name.c_str(), "<Image>/Filters/Velmorant");
}

static void Query()
{
    for (int i = 0; i < doorEffectCount; ++i) Install(doorEffects[i]);
}

//---- A run

static int TellProgress(void *, int, int, int tenths)
{
    gimp_progress_update(tenths / 10.0);
    return 0;
}

// GIMP ends this process where a person cancels; nothing is written by then.
static bool Apply(const DoorEffect &effect, const Values &values, gint32 drawable, std::string &error)
{
    LayerPart part;
    if (!ReadLayer(drawable, effect.changesSize, 1, part, error)) return false;

    vlm_steps *steps = vlm_steps_new();
    vlm_run *run = vlm_run_new();
    vlm_picture *picture = nullptr;
    gimp_progress_init(effect.title);
    bool done =
        steps && run && WriteSteps(effect, values, steps) == VLM_OK && PictureOf(part, false, &picture) == VLM_OK;
    if (done) {
        vlm_run_set_restoring(run, 0);   // what fails is thrown away
        vlm_run_set_progress(run, TellProgress, nullptr);
        done = vlm_apply(steps, picture, run) == VLM_OK;
    }
    if (!done) error = vlm_error_line();
    done = done && WriteLayer(part, picture, effect.title, error);
    vlm_picture_free(picture);
    vlm_run_free(run);
    vlm_steps_free(steps);
    gimp_progress_end();
    return done;
}

static void TellPrecision(gint32 drawable)
{
    const GimpPrecision precision = gimp_image_get_precision(gimp_item_get_image(drawable));
    if (precision != GIMP_PRECISION_U8_GAMMA)
        g_message("The effects work with 8 bits a sample: within the selection the layer has no more than these now.");
}

static bool Run(const DoorEffect &effect, int count, const GimpParam *parameters, GimpPDBStatusType &status,
                std::string &error)
{
    const GimpRunMode mode = GimpRunMode(parameters[0].data.d_int32);
    const gint32 drawable = parameters[2].data.d_drawable;
    Values values = StandardValues(effect);
    if (mode == GIMP_RUN_NONINTERACTIVE) {
        status = GIMP_PDB_CALLING_ERROR;
        if (count != 3 + ArgumentCount(effect)) {
            error = std::string(effect.name) + " takes " + std::to_string(3 + ArgumentCount(effect)) + " arguments";
            return false;
        }
        if (!ReadArguments(effect, parameters + 3, values, error)) return false;
    } else {
        values = LastValues(effect);
    }
    if (mode == GIMP_RUN_INTERACTIVE && !AskForValues(effect, drawable, values, error)) {
        status = error.empty() ? GIMP_PDB_CANCEL : GIMP_PDB_EXECUTION_ERROR;
        return false;
    }
    status = GIMP_PDB_EXECUTION_ERROR;
    if (!Apply(effect, values, drawable, error)) return false;
    if (mode != GIMP_RUN_INTERACTIVE) TellPrecision(drawable);   // whose dialog has told
    if (mode == GIMP_RUN_INTERACTIVE) KeepLastValues(effect, values);
    if (mode != GIMP_RUN_NONINTERACTIVE) gimp_displays_flush();
    status = GIMP_PDB_SUCCESS;
    return true;
}

static void RunProcedure(const gchar *name, gint count, const GimpParam *parameters, gint *returned, GimpParam **values)
{
    static GimpParam answer[2];
    static std::string error;
    GimpPDBStatusType status = GIMP_PDB_CALLING_ERROR;
    const DoorEffect *effect = g_str_has_prefix(name, PREFIX) ? DoorEffectNamed(name + strlen(PREFIX)) : nullptr;
    error = effect && count >= 3 ? "" : "no such procedure";
    if (error.empty()) Run(*effect, count, parameters, status, error);
    answer[0].type = GIMP_PDB_STATUS;
    answer[0].data.d_status = status;
    answer[1].type = GIMP_PDB_STRING;
    answer[1].data.d_string = const_cast<gchar *>(error.c_str());
    *returned = error.empty() ? 1 : 2;
    *values = answer;
}

const GimpPlugInInfo PLUG_IN_INFO = {nullptr, nullptr, Query, RunProcedure};

MAIN()
