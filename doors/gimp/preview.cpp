// The preview of a dialog; see the header. A run works on the whole box that the effect would be applied to, on a thread
// of its own that calls the library alone; all that has to do with GIMP and GTK stays on the dialog's thread. A change
// that comes during a run cancels it, and the next one begins when it has ended.

#include "doors/gimp/preview.h"

#include <algorithm>
#include <math.h>
#include <string.h>
#include <vector>

#include "doors/gimp/layer.h"

// Beyond so many pixels rows and columns are left out.
static constexpr double MOST_PIXELS = 4e6;

struct Preview {
    const DoorEffect *effect;
    gint32 drawable;
    LayerPart part;
    GtkWidget *widget;
    void (*told)(void *context, const char *line);
    void *context;

    Values values;
    bool stale = true;               // the values have changed since the last run began
    vlm_picture *result = nullptr;   // of the last run that went well
    std::vector<guchar> pixels;      // its pixels, as the widget draws them
    int width = 0, height = 0;

    GThread *thread = nullptr;   // of the run that is under way
    vlm_run *run = nullptr;
    vlm_steps *steps = nullptr;
    vlm_picture *picture = nullptr;
    vlm_code code = VLM_OK;
    std::string line;
    bool closing = false;
};

//---- Drawing

// Where a pixel of the result stands in the box that is shown. A result of another size is made to fit.
static double ScaleOf(const Preview &preview)
{
    if (preview.width == ColumnsOf(preview.part) && preview.height == RowsOf(preview.part)) return preview.part.apart;
    return std::min(double(preview.part.width) / preview.width, double(preview.part.height) / preview.height);
}

// Over what GIMP itself draws: the layer.
static void Draw(Preview *preview)
{
    gint columns = 0, rows = 0, bytes = 0;
    guchar *drawn = gimp_zoom_preview_get_source(GIMP_ZOOM_PREVIEW(preview->widget), &columns, &rows, &bytes);
    if (!drawn) return;
    if (!preview->pixels.empty() && columns > 0 && rows > 0) {
        GimpPreview *base = GIMP_PREVIEW(preview->widget);
        gint left, top, right, bottom;
        gimp_preview_untransform(base, 0, 0, &left, &top);
        gimp_preview_untransform(base, columns, rows, &right, &bottom);
        const LayerPart &part = preview->part;
        const double scale = ScaleOf(*preview);
        const bool resized = preview->width != ColumnsOf(part) || preview->height != RowsOf(part);
        for (int row = 0; row < rows; ++row) {
            const double y = top + (row + 0.5) * (bottom - top) / rows - part.y;
            const int from = int(floor(y / scale));
            for (int column = 0; column < columns; ++column) {
                const double x = left + (column + 0.5) * (right - left) / columns - part.x;
                const int across = int(floor(x / scale));
                guchar *pixel = drawn + (size_t(row) * size_t(columns) + size_t(column)) * size_t(bytes);
                if (from >= 0 && from < preview->height && across >= 0 && across < preview->width)
                    memcpy(pixel,
                           preview->pixels.data() +
                               (size_t(from) * size_t(preview->width) + size_t(across)) * size_t(bytes),
                           size_t(bytes));
                else if (resized) memset(pixel, 0, size_t(bytes));
            }
        }
        gimp_preview_draw_buffer(base, drawn, columns * bytes);
    }
    g_free(drawn);
}

//---- Runs

static gpointer Work(gpointer data);

static void Begin(Preview *preview)
{
    preview->stale = false;
    preview->steps = vlm_steps_new();
    preview->run = vlm_run_new();
    preview->picture = nullptr;
    if (!preview->steps || !preview->run) preview->code = VLM_NO_MEMORY;
    else preview->code = WriteSteps(*preview->effect, preview->values, preview->steps);
    if (preview->code == VLM_OK) preview->code = PictureOf(preview->part, true, &preview->picture);
    if (preview->code == VLM_OK) vlm_run_set_restoring(preview->run, 0);
    preview->thread = g_thread_new("preview", Work, preview);
}

static void TakeResult(Preview *preview)
{
    std::vector<guchar> transparency;
    if (!PixelsOf(preview->picture, preview->part, preview->pixels, transparency)) return;
    BackToGimp(preview->part, preview->pixels, transparency);
    preview->width = vlm_picture_width(preview->picture);
    preview->height = vlm_picture_height(preview->picture);
}

static void LetGo(Preview *preview)
{
    g_thread_join(preview->thread);
    preview->thread = nullptr;
    vlm_steps_free(preview->steps);
    vlm_run_free(preview->run);
    preview->steps = nullptr;
    preview->run = nullptr;
}

static gboolean Finish(gpointer data)
{
    Preview *preview = static_cast<Preview *>(data);
    LetGo(preview);
    if (preview->code == VLM_OK) TakeResult(preview);
    vlm_picture_free(preview->picture);
    preview->picture = nullptr;
    if (preview->closing) return FALSE;
    if (preview->stale) {
        Begin(preview);
        return FALSE;
    }
    preview->told(preview->context, preview->code == VLM_OK ? "" : preview->line.c_str());
    if (preview->code == VLM_OK && gimp_preview_get_update(GIMP_PREVIEW(preview->widget))) Draw(preview);
    return FALSE;
}

static gpointer Work(gpointer data)
{
    Preview *preview = static_cast<Preview *>(data);
    if (preview->code == VLM_OK) preview->code = vlm_apply(preview->steps, preview->picture, preview->run);
    if (preview->code != VLM_OK) preview->line = vlm_error_line();
    g_idle_add(Finish, preview);
    return nullptr;
}

// GIMP wants its preview drawn: it was moved, zoomed or switched on, or the values have changed.
static void Invalidated(Preview *preview)
{
    Draw(preview);
    if (!preview->stale) return;
    if (!preview->thread) Begin(preview);
    else vlm_run_cancel(preview->run);
}

//---- For the dialog

Preview *OpenPreview(const DoorEffect &effect, gint32 drawable, void (*told)(void *, const char *), void *context,
                     std::string &error)
{
    const double pixels = double(gimp_drawable_width(drawable)) * gimp_drawable_height(drawable);
    const int apart = std::max(1, int(ceil(sqrt(pixels / MOST_PIXELS))));
    Preview *preview = new Preview;
    if (!ReadLayer(drawable, effect.changesSize, apart, preview->part, error)) {
        delete preview;
        return nullptr;
    }
    preview->effect = &effect;
    preview->drawable = drawable;
    preview->told = told;
    preview->context = context;
    preview->widget = gimp_zoom_preview_new_from_drawable_id(drawable);
    g_signal_connect_swapped(preview->widget, "invalidated", G_CALLBACK(Invalidated), preview);
    return preview;
}

GtkWidget *PreviewWidget(Preview *preview) { return preview->widget; }
bool IsReduced(const Preview *preview) { return preview->part.apart > 1; }

void ShowValues(Preview *preview, const Values &values)
{
    preview->values = values;
    preview->stale = true;
    gimp_preview_invalidate(GIMP_PREVIEW(preview->widget));
}

void ClosePreview(Preview *preview)
{
    preview->closing = true;
    g_signal_handlers_disconnect_by_data(preview->widget, preview);
    if (preview->thread) {
        vlm_run_cancel(preview->run);
        while (preview->thread) g_main_context_iteration(nullptr, TRUE);   // until Finish
    }
    delete preview;
}
