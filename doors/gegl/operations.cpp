// The effects as GEGL operations: velmorant:wave and so on, one class made from each row of the door's table. Effects
// that change the size of a picture are left out: an operation's place in a graph is that of its input.
//
// An effect sees the whole picture in one call: none of them can be cut into tiles. Grey stays grey and alpha stays; it
// is the effect's mask. Values are those of a file, in the space that the source is in, so that nothing is converted.
// GEGL has no way to stop an operation, and a program's window waits while it previews one.

#include <gegl-plugin.h>
#include <string.h>
#include <string>
#include <vector>

#include <door_table.h>
#include <velmorant.h>

static constexpr int MOST_PROPERTIES = 16;

struct Property {
    int number;          // of a number, a choice (its place), a switch; the seed
    GeglColor *colour;   // owned; null for other kinds
    char *text;          // owned; of a kernel
};

struct Operation {
    GeglOperationFilter parent;
    Property properties[MOST_PROPERTIES];   // by id, from 1
};

struct OperationClass {
    GeglOperationFilterClass parent;
    const DoorEffect *effect;
};

static gpointer parentClass;

static Operation *Of(gpointer object) { return static_cast<Operation *>(object); }
static const DoorEffect &EffectOf(gpointer object)
{
    return *reinterpret_cast<OperationClass *>(G_OBJECT_GET_CLASS(object))->effect;
}
static int SeedId(const DoorEffect &effect) { return effect.settingCount + 1; }

//---- Properties

static void SetProperty(GObject *object, guint id, const GValue *value, GParamSpec *declared)
{
    Property &property = Of(object)->properties[id];
    if (G_VALUE_HOLDS_INT(value)) property.number = g_value_get_int(value);
    else if (G_VALUE_HOLDS_UINT(value)) property.number = int(g_value_get_uint(value));
    else if (G_VALUE_HOLDS_BOOLEAN(value)) property.number = g_value_get_boolean(value);
    else if (G_VALUE_HOLDS_ENUM(value)) property.number = g_value_get_enum(value);
    else if (G_VALUE_HOLDS_STRING(value)) {
        g_free(property.text);
        property.text = g_value_dup_string(value);
    } else if (G_VALUE_HOLDS(value, GEGL_TYPE_COLOR)) {
        g_clear_object(&property.colour);
        property.colour = static_cast<GeglColor *>(g_value_dup_object(value));
    } else {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, declared);
    }
}

static void GetProperty(GObject *object, guint id, GValue *value, GParamSpec *declared)
{
    const Property &property = Of(object)->properties[id];
    if (G_VALUE_HOLDS_INT(value)) g_value_set_int(value, property.number);
    else if (G_VALUE_HOLDS_UINT(value)) g_value_set_uint(value, guint(property.number));
    else if (G_VALUE_HOLDS_BOOLEAN(value)) g_value_set_boolean(value, property.number);
    else if (G_VALUE_HOLDS_ENUM(value)) g_value_set_enum(value, property.number);
    else if (G_VALUE_HOLDS_STRING(value)) g_value_set_string(value, property.text);
    else if (G_VALUE_HOLDS(value, GEGL_TYPE_COLOR)) g_value_set_object(value, property.colour);
    else G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, declared);
}

static void Finalise(GObject *object)
{
    for (Property &property : Of(object)->properties) {
        g_clear_object(&property.colour);
        g_free(property.text);
    }
    G_OBJECT_CLASS(parentClass)->finalize(object);
}

// An enumeration of GLib's for a choice: its values live as long as the process.
static GType ChoiceType(const DoorEffect &effect, const DoorSetting &setting)
{
    const std::string name = "velmorant_" + std::string(effect.name) + "_" + setting.name;
    if (const GType type = g_type_from_name(name.c_str())) return type;
    GEnumValue *values = g_new0(GEnumValue, gsize(setting.choiceCount) + 1);
    for (int i = 0; i < setting.choiceCount; ++i)
        values[i] = {i, *setting.choices[i].label ? setting.choices[i].label : setting.choices[i].word,
                     setting.choices[i].word};
    return g_enum_register_static(name.c_str(), values);   // NOLINT(clang-analyzer-*): which keeps them
}

static GParamSpec *SpecOf(const DoorEffect &effect, const DoorSetting &setting)
{
    const GParamFlags flags = GParamFlags(G_PARAM_READWRITE | G_PARAM_CONSTRUCT | GEGL_PARAM_PAD_INPUT);
    const char *meaning = setting.meaning;
    switch (setting.kind) {
    case DOOR_NUMBER:
        return gegl_param_spec_int(setting.name, setting.label, meaning, setting.low, setting.high, setting.standard,
                                   setting.low, setting.high, 1.0, flags);
    case DOOR_CHOICE:
        return gegl_param_spec_enum(setting.name, setting.label, meaning, ChoiceType(effect, setting), setting.standard,
                                    flags);
    case DOOR_SWITCH: return g_param_spec_boolean(setting.name, setting.label, meaning, setting.standard, flags);
    case DOOR_COLOUR:
        return gegl_param_spec_color_from_string(setting.name, setting.label, meaning, setting.standardValue, flags);
    case DOOR_KERNEL: return g_param_spec_string(setting.name, setting.label, meaning, "", flags);
    }
    return nullptr;
}

static void InstallProperties(GObjectClass *objects, const DoorEffect &effect)
{
    g_assert(SeedId(effect) < MOST_PROPERTIES);
    guint id = 1;
    for (int i = 0; i < effect.settingCount; ++i)
        g_object_class_install_property(objects, id++, SpecOf(effect, effect.settings[i]));
    if (effect.draws) {
        g_object_class_install_property(
            objects, id,
            gegl_param_spec_seed("seed", "Seed", "which of the random patterns",
                                 GParamFlags(G_PARAM_READWRITE | G_PARAM_CONSTRUCT | GEGL_PARAM_PAD_INPUT)));
    }
}

//---- Steps

// The parts as a file has them: a colour's own values are linear or not as it was made.
static std::string ColourText(GeglColor *colour, const Babl *space)
{
    guint8 parts[3] = {};
    gegl_color_get_pixel(colour, babl_format_with_space("R'G'B' u8", space), parts);
    char text[8];
    g_snprintf(text, sizeof text, "#%02X%02X%02X", parts[0], parts[1], parts[2]);
    return text;
}

static vlm_code SetStep(vlm_steps *steps, const DoorSetting &setting, const Property &property, const Babl *space)
{
    switch (setting.kind) {
    case DOOR_NUMBER: return vlm_steps_set_number(steps, 0, setting.name, property.number);
    case DOOR_CHOICE: return vlm_steps_set(steps, 0, setting.name, setting.choices[property.number].word);
    case DOOR_SWITCH: return vlm_steps_set(steps, 0, setting.name, property.number ? "on" : "off");
    case DOOR_COLOUR: return vlm_steps_set(steps, 0, setting.name, ColourText(property.colour, space).c_str());
    case DOOR_KERNEL:
        return vlm_steps_set(steps, 0, setting.name, property.text && *property.text ? property.text : nullptr);
    }
    return VLM_BAD_ARGUMENT;
}

static vlm_code WriteSteps(vlm_steps *steps, GeglOperation *operation, const Babl *space)
{
    const DoorEffect &effect = EffectOf(operation);
    vlm_code code = vlm_steps_add(steps, effect.name);
    for (int i = 0; i < effect.settingCount && code == VLM_OK; ++i)
        code = SetStep(steps, effect.settings[i], Of(operation)->properties[i + 1], space);
    if (code == VLM_OK && effect.draws)
        code = vlm_steps_set_seed(steps, 0, uint32_t(Of(operation)->properties[SeedId(effect)].number));
    return code;
}

//---- Pixels

struct Layout {
    const char *format;
    vlm_layout layout;
    int bytes;
};

// Grey and alpha are kept; all else is colour.
static Layout LayoutOf(const Babl *source)
{
    const bool alpha = source && babl_format_has_alpha(source);
    const bool grey = source && babl_get_model_flags(babl_format_get_model(source)) & BABL_MODEL_FLAG_GRAY;
    if (grey) return alpha ? Layout{"Y'A u8", VLM_LAYOUT_GREY_ALPHA, 2} : Layout{"Y' u8", VLM_LAYOUT_GREY, 1};
    return alpha ? Layout{"R'G'B'A u8", VLM_LAYOUT_RGBA, 4} : Layout{"R'G'B' u8", VLM_LAYOUT_RGB, 3};
}

static void Prepare(GeglOperation *operation)
{
    const Babl *source = gegl_operation_get_source_format(operation, "input");
    const Babl *space = gegl_operation_get_source_space(operation, "input");
    const Babl *format = babl_format_with_space(LayoutOf(source).format, space);
    gegl_operation_set_format(operation, "input", format);
    gegl_operation_set_format(operation, "output", format);
}

static GeglRectangle Whole(GeglOperation *operation, const GeglRectangle *wanted)
{
    const GeglRectangle *input = gegl_operation_source_get_bounding_box(operation, "input");
    return input && !gegl_rectangle_is_infinite_plane(input) ? *input : *wanted;
}

static GeglRectangle RequiredForOutput(GeglOperation *operation, const gchar *, const GeglRectangle *wanted)
{
    return Whole(operation, wanted);
}

static GeglRectangle CachedRegion(GeglOperation *operation, const GeglRectangle *wanted)
{
    return Whole(operation, wanted);
}

// GEGL's message stays as it was handed over until the last one, which ends a program's progress bar.
static int TellProgress(void *operation, int, int, int tenths)
{
    if (tenths < 10)
        gegl_operation_progress(static_cast<GeglOperation *>(operation), tenths / 10.0, const_cast<char *>(""));
    return 0;
}

static bool WorkOn(GeglOperation *operation, const vlm_planes &planes, const Babl *space)
{
    vlm_steps *steps = vlm_steps_new();
    vlm_run *run = vlm_run_new();
    vlm_picture *picture = nullptr;
    bool done = steps && run && WriteSteps(steps, operation, space) == VLM_OK &&
                vlm_picture_from_planes(&planes, &picture) == VLM_OK;
    if (done) {
        vlm_run_set_restoring(run, 0);   // what fails is thrown away
        vlm_run_set_progress(run, TellProgress, operation);
        done = vlm_apply(steps, picture, run) == VLM_OK && vlm_picture_to_planes(picture, &planes) == VLM_OK;
    }
    vlm_picture_free(picture);
    vlm_run_free(run);
    vlm_steps_free(steps);
    return done;
}

static gboolean Process(GeglOperation *operation, GeglBuffer *input, GeglBuffer *output, const GeglRectangle *roi, gint)
{
    if (roi->width < 1 || roi->height < 1) return TRUE;
    const Babl *format = gegl_operation_get_format(operation, "output");
    const Babl *space = babl_format_get_space(format);
    const Layout layout = LayoutOf(format);
    const size_t stride = size_t(roi->width) * size_t(layout.bytes);
    guchar *pixels = static_cast<guchar *>(g_try_malloc_n(gsize(roi->height), stride));
    if (!pixels) {
        g_warning("%s: out of memory", EffectOf(operation).title);
        return FALSE;
    }
    gegl_buffer_get(input, roi, 1.0, format, pixels, GEGL_AUTO_ROWSTRIDE, GEGL_ABYSS_NONE);

    vlm_planes planes = {};
    planes.size = sizeof planes;
    planes.width = roi->width;
    planes.height = roi->height;
    planes.layout = layout.layout;
    planes.pixels = pixels;
    planes.flags = VLM_PLANES_DROP_OPAQUE;
    const bool done = WorkOn(operation, planes, space);
    if (done) gegl_buffer_set(output, roi, 0, format, pixels, GEGL_AUTO_ROWSTRIDE);
    else g_warning("%s: %s", EffectOf(operation).title, vlm_error_line());
    g_free(pixels);
    gegl_operation_progress(operation, 1.0, const_cast<char *>(""));
    return done;
}

//---- Classes

static std::string DescriptionOf(const DoorEffect &effect)
{
    std::string text = effect.about;
    for (const char *slow : {"melt", "oil-painting", "median"}) {
        if (strcmp(effect.name, slow) == 0)
            text += " On large pictures this takes a while, and the window waits for the preview: switch Preview off "
                    "while you choose.";
    }
    return text;
}

static void InitialiseClass(gpointer klass, gpointer data)
{
    const DoorEffect &effect = *static_cast<const DoorEffect *>(data);
    static_cast<OperationClass *>(klass)->effect = &effect;
    parentClass = g_type_class_peek_parent(klass);

    GObjectClass *objects = G_OBJECT_CLASS(klass);
    objects->set_property = SetProperty;
    objects->get_property = GetProperty;
    objects->finalize = Finalise;
    InstallProperties(objects, effect);

    GeglOperationClass *operations = GEGL_OPERATION_CLASS(klass);
    operations->prepare = Prepare;
    operations->get_required_for_output = RequiredForOutput;
    operations->get_cached_region = CachedRegion;
    operations->threaded = FALSE;
    GEGL_OPERATION_FILTER_CLASS(klass)->process = Process;

    const std::string name = "velmorant:" + std::string(effect.name), title = "Velmorant " + std::string(effect.title);
    const std::string description = DescriptionOf(effect);
    gegl_operation_class_set_keys(operations, "name", name.c_str(), "title", title.c_str(), "categories", "artistic",
                                  "description", description.c_str(), nullptr);
}

extern "C" {

G_MODULE_EXPORT const GeglModuleInfo *gegl_module_query(GTypeModule *);
G_MODULE_EXPORT gboolean gegl_module_register(GTypeModule *module);

const GeglModuleInfo *gegl_module_query(GTypeModule *)
{
    static const GeglModuleInfo info = {GEGL_MODULE_ABI_VERSION};
    return &info;
}

gboolean gegl_module_register(GTypeModule *module)
{
    for (int i = 0; i < doorEffectCount; ++i) {
        const DoorEffect &effect = doorEffects[i];
        if (effect.changesSize) continue;
        GTypeInfo info = {};
        info.class_size = sizeof(OperationClass);
        info.class_init = InitialiseClass;
        info.class_data = &effect;
        info.instance_size = sizeof(Operation);
        const std::string name = "velmorant_" + std::string(effect.name);
        g_type_module_register_type(module, GEGL_TYPE_OPERATION_FILTER, name.c_str(), &info, GTypeFlags(0));
    }
    return TRUE;
}
}
