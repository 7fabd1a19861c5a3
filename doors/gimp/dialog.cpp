// An effect's dialog, made from its row of the door's table: a control for each setting, the preview, and the buttons
// that GIMP's filters have. What the settings mean is told by tool tips and, together, by Help.

#include "doors/gimp/dialog.h"

#include <libgimp/gimpui.h>
#include <string>
#include <vector>

#include "doors/gimp/preview.h"

enum { RESPONSE_RESET = 1 };

static constexpr int SIDE = VLM_KERNEL_SIDE;
static constexpr int TALL = 6;   // settings

// The control of one setting: which of the widgets it has depends on the setting's kind.
struct Control {
    const DoorSetting *setting;
    GtkObject *number;               // an adjustment
    GtkWidget *widget;               // a choice's box, a switch, a colour's button, the kernels' list
    GtkWidget *cells[SIDE * SIDE];   // of a kernel
};

struct Dialog {
    const DoorEffect *effect;
    Values values;
    std::vector<Control> controls;
    guint32 seed = 0;
    gboolean randomSeed = FALSE;   // a new one for every run
    GtkWidget *window = nullptr, *seedBox = nullptr, *message = nullptr;
    GtkWidget *presets = nullptr;   // a box with the names of the effect's presets behind a first line
    int presetCount = 0;
    Preview *preview = nullptr;
    bool showing = false;   // controls are being set to values, and are not to be listened to
};

//---- Values in the controls

static std::string WordOf(const Control &control)
{
    switch (control.setting->kind) {
    case DOOR_NUMBER: return std::to_string(int(gtk_adjustment_get_value(GTK_ADJUSTMENT(control.number))));
    case DOOR_SWITCH: return gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(control.widget)) ? "on" : "off";
    case DOOR_CHOICE: {
        gint place = 0;
        gimp_int_combo_box_get_active(GIMP_INT_COMBO_BOX(control.widget), &place);
        return control.setting->choices[place].word;
    }
    case DOOR_COLOUR: {
        GimpRGB colour;
        gimp_color_button_get_color(GIMP_COLOR_BUTTON(control.widget), &colour);
        return ColourWord(colour);
    }
    case DOOR_KERNEL: break;
    }
    std::string word;
    for (GtkWidget *cell : control.cells)
        word += (word.empty() ? "" : " ") + std::to_string(gtk_spin_button_get_value_as_int(GTK_SPIN_BUTTON(cell)));
    return word;
}

static void ShowKernel(const Control &control, const std::string &word)
{
    const vlm_kernel *kernel = vlm_kernel_named(word.c_str());
    const char *next = word.c_str();
    for (int i = 0; i < SIDE * SIDE; ++i) {
        char *end = nullptr;
        const long element = kernel ? kernel->elements[i] : strtol(next, &end, 10);
        if (end) next = end;
        gtk_spin_button_set_value(GTK_SPIN_BUTTON(control.cells[i]), double(element));
    }
}

static void ShowWord(const Control &control, const std::string &word)
{
    const DoorSetting &setting = *control.setting;
    switch (setting.kind) {
    case DOOR_NUMBER: gtk_adjustment_set_value(GTK_ADJUSTMENT(control.number), atoi(word.c_str())); break;
    case DOOR_SWITCH: gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(control.widget), word == "on"); break;
    case DOOR_CHOICE:
        for (int i = 0; i < setting.choiceCount; ++i)
            if (word == setting.choices[i].word) gimp_int_combo_box_set_active(GIMP_INT_COMBO_BOX(control.widget), i);
        break;
    case DOOR_COLOUR: {
        const GimpRGB colour = ColourOf(word);
        gimp_color_button_set_color(GIMP_COLOR_BUTTON(control.widget), &colour);
        break;
    }
    case DOOR_KERNEL: ShowKernel(control, word); break;
    }
}

static void Told(void *context, const char *line)
{
    Dialog *dialog = static_cast<Dialog *>(context);
    gtk_label_set_text(GTK_LABEL(dialog->message), line);
}

// What the library says to the values as they stand; only good ones can be applied.
static void TakeValues(Dialog *dialog)
{
    if (dialog->showing) return;
    for (size_t i = 0; i < dialog->controls.size(); ++i) dialog->values.words[i] = WordOf(dialog->controls[i]);
    dialog->values.seed = dialog->seed;
    dialog->values.randomSeed = dialog->randomSeed;

    vlm_steps *steps = vlm_steps_new();
    const bool good =
        WriteSteps(*dialog->effect, dialog->values, steps) == VLM_OK && vlm_steps_check(steps, nullptr) == VLM_OK;
    vlm_steps_free(steps);
    Told(dialog, good ? "" : vlm_error_line());
    gtk_dialog_set_response_sensitive(GTK_DIALOG(dialog->window), GTK_RESPONSE_OK, good);
    if (good) ShowValues(dialog->preview, dialog->values);
}

static void ShowAll(Dialog *dialog, const Values &values)
{
    dialog->showing = true;
    for (size_t i = 0; i < dialog->controls.size(); ++i) ShowWord(dialog->controls[i], values.words[i]);
    if (dialog->seedBox) {
        gtk_adjustment_set_value(GIMP_RANDOM_SEED_SPINBUTTON_ADJ(dialog->seedBox), double(values.seed));
        gtk_toggle_button_set_active(GTK_TOGGLE_BUTTON(GIMP_RANDOM_SEED_TOGGLE(dialog->seedBox)), values.randomSeed);
    }
    dialog->showing = false;
    TakeValues(dialog);
}

//---- Making the controls

static void Listen(Dialog *dialog, gpointer widget, const char *signal)
{
    g_signal_connect_swapped(widget, signal, G_CALLBACK(TakeValues), dialog);
}

// A kernel from the list, with all that its name brings.
static void TakeListed(Dialog *dialog)
{
    for (const Control &control : dialog->controls) {
        if (control.setting->kind != DOOR_KERNEL) continue;
        gint place = 0;
        gimp_int_combo_box_get_active(GIMP_INT_COMBO_BOX(control.widget), &place);
        const vlm_kernel *kernel = vlm_kernel_at(place);
        if (!kernel || dialog->showing) return;
        Values values = dialog->values;
        const auto bring = [&](const char *name, const std::string &word) {
            const int setting = SettingNamed(*dialog->effect, name);
            if (setting >= 0) values.words[size_t(setting)] = word;
        };
        bring(control.setting->name, kernel->name);
        bring(KERNEL_DIVISOR, std::to_string(kernel->divisor));
        bring(KERNEL_BIAS, std::to_string(kernel->bias));
        bring(KERNEL_MODE, kernel->mode);
        ShowAll(dialog, values);
        return;
    }
}

static void MakeKernel(Dialog *dialog, Control &control, GtkTable *table, int row)
{
    control.widget = gimp_int_combo_box_new("Choose a kernel", -1, nullptr);
    for (int i = 0; i < vlm_kernel_count(); ++i)
        gimp_int_combo_box_append(GIMP_INT_COMBO_BOX(control.widget), GIMP_INT_STORE_VALUE, i, GIMP_INT_STORE_LABEL,
                                  vlm_kernel_at(i)->name, -1);
    gimp_int_combo_box_set_active(GIMP_INT_COMBO_BOX(control.widget), -1);
    g_signal_connect_swapped(control.widget, "changed", G_CALLBACK(TakeListed), dialog);

    GtkWidget *grid = gtk_table_new(SIDE, SIDE, TRUE);
    for (int i = 0; i < SIDE * SIDE; ++i) {
        GtkWidget *cell = gtk_spin_button_new_with_range(control.setting->low, control.setting->high, 1);
        gtk_entry_set_width_chars(GTK_ENTRY(cell), 3);
        gtk_entry_set_activates_default(GTK_ENTRY(cell), TRUE);
        gtk_table_attach_defaults(GTK_TABLE(grid), cell, guint(i % SIDE), guint(i % SIDE + 1), guint(i / SIDE),
                                  guint(i / SIDE + 1));
        Listen(dialog, cell, "value-changed");
        control.cells[i] = cell;
    }
    GtkWidget *box = gtk_vbox_new(FALSE, 6);
    gtk_box_pack_start(GTK_BOX(box), control.widget, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), grid, FALSE, FALSE, 0);
    gimp_table_attach_aligned(table, 0, row, "_Kernel:", 0, 0, box, 2, TRUE);
    gimp_help_set_help_data(grid, control.setting->meaning, nullptr);
}

static std::string Labelled(const DoorSetting &setting)
{
    return std::string("_") + setting.label + (*setting.unit ? std::string(" (") + setting.unit + ")" : "") + ":";
}

static void MakeControl(Dialog *dialog, Control &control, GtkTable *table, int row)
{
    const DoorSetting &setting = *control.setting;
    const std::string label = Labelled(setting);
    switch (setting.kind) {
    case DOOR_NUMBER:
        control.number = gimp_scale_entry_new(table, 0, row, label.c_str(), 120, 6, setting.standard, setting.low,
                                              setting.high, 1, 10, 0, TRUE, 0, 0, setting.meaning, nullptr);
        gtk_entry_set_activates_default(GTK_ENTRY(GIMP_SCALE_ENTRY_SPINBUTTON(control.number)), TRUE);
        Listen(dialog, control.number, "value-changed");
        return;
    case DOOR_KERNEL: MakeKernel(dialog, control, table, row); return;
    case DOOR_SWITCH:
        control.widget = gtk_check_button_new_with_mnemonic((std::string("_") + setting.label).c_str());
        gtk_table_attach_defaults(table, control.widget, 1, 3, guint(row), guint(row + 1));
        gimp_help_set_help_data(control.widget, setting.meaning, nullptr);
        Listen(dialog, control.widget, "toggled");
        return;
    case DOOR_CHOICE:
        control.widget = gimp_int_combo_box_new(setting.choices[0].label, 0, nullptr);
        for (int i = 1; i < setting.choiceCount; ++i)
            gimp_int_combo_box_append(GIMP_INT_COMBO_BOX(control.widget), GIMP_INT_STORE_VALUE, i, GIMP_INT_STORE_LABEL,
                                      setting.choices[i].label, -1);
        gimp_int_combo_box_set_active(GIMP_INT_COMBO_BOX(control.widget), setting.standard);
        Listen(dialog, control.widget, "changed");
        break;
    case DOOR_COLOUR: {
        const GimpRGB colour = ColourOf(setting.standardValue);
        control.widget = gimp_color_button_new(setting.label, 60, 24, &colour, GIMP_COLOR_AREA_FLAT);
        gimp_help_set_help_data(control.widget, setting.meaning, nullptr);
        Listen(dialog, control.widget, "color-changed");
    }
    }
    gimp_table_attach_aligned(table, 0, row, label.c_str(), 0, 0.5, control.widget, 2, TRUE);
}

static GtkWidget *MakeControls(Dialog *dialog)
{
    const DoorEffect &effect = *dialog->effect;
    GtkWidget *table = gtk_table_new(guint(effect.settingCount + 1), 3, FALSE);
    gtk_table_set_row_spacings(GTK_TABLE(table), 6);
    gtk_table_set_col_spacings(GTK_TABLE(table), 6);
    dialog->showing = true;
    dialog->controls.resize(size_t(effect.settingCount));
    for (int i = 0; i < effect.settingCount; ++i) {
        Control &control = dialog->controls[size_t(i)];
        control = {effect.settings + i, nullptr, nullptr, {}};
        MakeControl(dialog, control, GTK_TABLE(table), i);
    }
    if (effect.draws) {
        dialog->seedBox = gimp_random_seed_new(&dialog->seed, &dialog->randomSeed);
        GtkWidget *label = gimp_table_attach_aligned(GTK_TABLE(table), 0, effect.settingCount, "Random _seed:", 0, 0.5,
                                                     dialog->seedBox, 2, TRUE);
        gtk_label_set_mnemonic_widget(GTK_LABEL(label), GTK_WIDGET(GIMP_RANDOM_SEED_SPINBUTTON(dialog->seedBox)));
        gtk_entry_set_activates_default(GTK_ENTRY(GIMP_RANDOM_SEED_SPINBUTTON(dialog->seedBox)), TRUE);
        Listen(dialog, GIMP_RANDOM_SEED_SPINBUTTON_ADJ(dialog->seedBox), "value-changed");
        Listen(dialog, GIMP_RANDOM_SEED_TOGGLE(dialog->seedBox), "toggled");
    }
    dialog->showing = false;
    return table;
}

//---- Presets

static void ListPresets(Dialog *dialog)
{
    GtkComboBoxText *box = GTK_COMBO_BOX_TEXT(dialog->presets);
    dialog->showing = true;
    for (; dialog->presetCount > 0; --dialog->presetCount) gtk_combo_box_text_remove(box, dialog->presetCount);
    vlm_presets *presets = nullptr;
    if (vlm_presets_read(&presets) == VLM_OK) {
        for (int i = 0; i < vlm_presets_count(presets); ++i) {
            const vlm_preset *preset = vlm_presets_at(presets, i);
            if (preset->fault || std::string(preset->effect) != dialog->effect->name) continue;
            gtk_combo_box_text_append_text(box, preset->name);
            ++dialog->presetCount;
        }
    }
    vlm_presets_free(presets);
    gtk_combo_box_set_active(GTK_COMBO_BOX(box), 0);
    dialog->showing = false;
}

static void TakePreset(Dialog *dialog)
{
    if (dialog->showing || gtk_combo_box_get_active(GTK_COMBO_BOX(dialog->presets)) <= 0) return;
    gchar *name = gtk_combo_box_text_get_active_text(GTK_COMBO_BOX_TEXT(dialog->presets));
    Values values;
    std::string error;
    if (PresetValues(*dialog->effect, name, values, error)) ShowAll(dialog, values);
    else Told(dialog, error.c_str());
    g_free(name);
}

// Asks for a name; one that is taken already is told of, and nothing is written over.
static void SavePreset(Dialog *dialog)
{
    GtkWidget *window = gtk_dialog_new_with_buttons("Save Preset", GTK_WINDOW(dialog->window), GTK_DIALOG_MODAL,
                                                    "_Cancel", GTK_RESPONSE_CANCEL, "_Save", GTK_RESPONSE_OK, nullptr);
    gtk_dialog_set_default_response(GTK_DIALOG(window), GTK_RESPONSE_OK);
    GtkWidget *entry = gtk_entry_new();
    gtk_entry_set_activates_default(GTK_ENTRY(entry), TRUE);
    GtkWidget *content = gtk_dialog_get_content_area(GTK_DIALOG(window));
    gtk_box_pack_start(GTK_BOX(content), gtk_label_new("Name of the preset:"), FALSE, FALSE, 6);
    gtk_box_pack_start(GTK_BOX(content), entry, FALSE, FALSE, 6);
    gtk_widget_show_all(window);
    if (gtk_dialog_run(GTK_DIALOG(window)) == GTK_RESPONSE_OK) {
        vlm_steps *steps = vlm_steps_new();
        const bool saved = WriteSteps(*dialog->effect, dialog->values, steps) == VLM_OK &&
                           vlm_preset_save(gtk_entry_get_text(GTK_ENTRY(entry)), steps, nullptr, 0) == VLM_OK;
        vlm_steps_free(steps);
        if (saved) ListPresets(dialog);
        Told(dialog, saved ? "" : vlm_error_line());
    }
    gtk_widget_destroy(window);
}

static GtkWidget *MakePresets(Dialog *dialog)
{
    GtkWidget *row = gtk_hbox_new(FALSE, 6), *save = gtk_button_new_with_label("Save...");
    dialog->presets = gtk_combo_box_text_new();
    gtk_combo_box_text_append_text(GTK_COMBO_BOX_TEXT(dialog->presets), "Presets");
    ListPresets(dialog);
    g_signal_connect_swapped(dialog->presets, "changed", G_CALLBACK(TakePreset), dialog);
    g_signal_connect_swapped(save, "clicked", G_CALLBACK(SavePreset), dialog);
    gtk_box_pack_start(GTK_BOX(row), dialog->presets, TRUE, TRUE, 0);
    gtk_box_pack_start(GTK_BOX(row), save, FALSE, FALSE, 0);
    return row;
}

//---- The dialog

// Its texts are those of the table, so that help is there without GIMP's own help pages.
static void Help(const gchar *, gpointer data)
{
    const Dialog *dialog = static_cast<const Dialog *>(data);
    const DoorEffect &effect = *dialog->effect;
    std::string text = std::string(effect.about) + "\n";
    for (int i = 0; i < effect.settingCount; ++i) {
        const DoorSetting &setting = effect.settings[i];
        text += std::string("\n") + setting.label + (*setting.meaning ? std::string(": ") + setting.meaning : "");
        for (int k = 0; k < setting.choiceCount; ++k)
            text += std::string("\n    ") + setting.choices[k].label + ": " + setting.choices[k].meaning;
    }
    GtkWidget *window = gtk_message_dialog_new(GTK_WINDOW(dialog->window), GTK_DIALOG_DESTROY_WITH_PARENT,
                                               GTK_MESSAGE_INFO, GTK_BUTTONS_CLOSE, "%s", effect.title);
    gtk_window_set_title(GTK_WINDOW(window), (std::string(effect.title) + " Help").c_str());
    gtk_message_dialog_format_secondary_text(GTK_MESSAGE_DIALOG(window), "%s", text.c_str());
    g_signal_connect(window, "response", G_CALLBACK(gtk_widget_destroy), nullptr);
    gtk_widget_show_all(window);
}

static void MakeWindow(Dialog *dialog, gint32 drawable)
{
    const DoorEffect &effect = *dialog->effect;
    dialog->window = gimp_dialog_new((std::string("Velmorant ") + effect.title).c_str(), "velmorant", nullptr,
                                     GtkDialogFlags(0), nullptr, nullptr, nullptr);
    GtkDialog *window = GTK_DIALOG(dialog->window);
    gtk_dialog_add_buttons(window, "_Help", GTK_RESPONSE_HELP, "_Reset", RESPONSE_RESET, "_Cancel", GTK_RESPONSE_CANCEL,
                           "_OK", GTK_RESPONSE_OK, nullptr);
    gtk_dialog_set_default_response(window, GTK_RESPONSE_OK);
    gimp_window_set_transient(GTK_WINDOW(dialog->window));

    GtkWidget *box = gtk_vbox_new(FALSE, 12);
    gtk_container_set_border_width(GTK_CONTAINER(box), 12);
    gtk_box_pack_start(GTK_BOX(gtk_dialog_get_content_area(window)), box, TRUE, TRUE, 0);
    // Beside each other where the controls alone are as tall as a small screen takes.
    GtkWidget *main = effect.settingCount > TALL ? gtk_hbox_new(FALSE, 12) : gtk_vbox_new(FALSE, 12);
    gtk_box_pack_start(GTK_BOX(box), main, TRUE, TRUE, 0);
    gtk_box_pack_start(GTK_BOX(main), PreviewWidget(dialog->preview), TRUE, TRUE, 0);
    gtk_box_pack_start(GTK_BOX(main), MakeControls(dialog), FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), MakePresets(dialog), FALSE, FALSE, 0);

    std::string note = gimp_image_get_precision(gimp_item_get_image(drawable)) == GIMP_PRECISION_U8_GAMMA
                           ? ""
                           : "This image is brought to 8 bits a sample where the effect is applied.";
    if (IsReduced(dialog->preview))
        note += (note.empty() ? "" : "\n") +
                std::string("The preview is of a smaller copy: what is told in pixels looks too large in it.");
    if (!note.empty()) gtk_box_pack_start(GTK_BOX(box), gtk_label_new(note.c_str()), FALSE, FALSE, 0);
    dialog->message = gtk_label_new("");
    gtk_box_pack_start(GTK_BOX(box), dialog->message, FALSE, FALSE, 0);
    gtk_widget_show_all(dialog->window);
}

bool AskForValues(const DoorEffect &effect, gint32 drawable, Values &values, std::string &error)
{
    gimp_ui_init("velmorant", FALSE);
    Dialog dialog;
    dialog.effect = &effect;
    dialog.values = values;
    dialog.seed = values.seed;
    dialog.randomSeed = values.randomSeed;
    dialog.preview = OpenPreview(effect, drawable, Told, &dialog, error);
    if (!dialog.preview) return false;
    MakeWindow(&dialog, drawable);
    ShowAll(&dialog, values);

    int response;
    do {
        response = gimp_dialog_run(GIMP_DIALOG(dialog.window));
        if (response == RESPONSE_RESET) ShowAll(&dialog, StandardValues(effect));
        if (response == GTK_RESPONSE_HELP) Help(nullptr, &dialog);
    } while (response == RESPONSE_RESET || response == GTK_RESPONSE_HELP);

    ClosePreview(dialog.preview);
    gtk_widget_destroy(dialog.window);
    values = dialog.values;
    return response == GTK_RESPONSE_OK;
}
