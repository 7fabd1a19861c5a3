/* Runs several GEGL graphs at once, a thread each, ten times, as a program with two pictures open does:
 *
 *     gegl_graphs IN WIDTH HEIGHT OUT OPERATION...
 *
 * IN has rows of red, green and blue; OUT.0, OUT.1, ... have what the operations made of it the last time. Ends with 1 where
 * two times differ. */
#include <gegl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct Graph {
    const char *operation;
    GeglBuffer *source;
    size_t count;
    unsigned char *pixels;
    int alike;
} Graph;

static void Process(const Graph *graph, unsigned char *pixels)
{
    GeglBuffer *made = NULL;
    GeglNode *whole = gegl_node_new();
    GeglNode *source = gegl_node_new_child(whole, "operation", "gegl:buffer-source", "buffer", graph->source, NULL);
    GeglNode *effect = gegl_node_new_child(whole, "operation", graph->operation, NULL);
    GeglNode *sink = gegl_node_new_child(whole, "operation", "gegl:buffer-sink", "buffer", &made, NULL);
    gegl_node_link_many(source, effect, sink, NULL);
    gegl_node_process(sink);
    gegl_buffer_get(made, gegl_buffer_get_extent(graph->source), 1.0, babl_format("R'G'B' u8"), pixels,
                    GEGL_AUTO_ROWSTRIDE, GEGL_ABYSS_NONE);
    g_object_unref(made);
    g_object_unref(whole);
}

static gpointer Repeat(gpointer data)
{
    Graph *graph = data;
    unsigned char *pixels = malloc(graph->count);
    Process(graph, graph->pixels);
    graph->alike = pixels != NULL;
    for (int i = 1; i < 10 && graph->alike; ++i) {
        Process(graph, pixels);
        graph->alike = memcmp(pixels, graph->pixels, graph->count) == 0;
    }
    free(pixels);
    return NULL;
}

int main(int count, char **words)
{
    if (count < 6) return 2;
    gegl_init(NULL, NULL);
    const int width = atoi(words[2]), height = atoi(words[3]), graphs = count - 5;
    const size_t bytes = (size_t)width * (size_t)height * 3;
    unsigned char *pixels = malloc(bytes);
    FILE *file = fopen(words[1], "rb");
    if (!file || fread(pixels, 1, bytes, file) != bytes) return 2;
    fclose(file);
    GeglBuffer *source = gegl_buffer_new(GEGL_RECTANGLE(0, 0, width, height), babl_format("R'G'B' u8"));
    gegl_buffer_set(source, NULL, 0, NULL, pixels, GEGL_AUTO_ROWSTRIDE);

    Graph *all = calloc((size_t)graphs, sizeof *all);
    GThread **threads = calloc((size_t)graphs, sizeof *threads);
    for (int i = 0; i < graphs; ++i) {
        all[i] = (Graph){words[5 + i], source, bytes, malloc(bytes), 0};
        threads[i] = g_thread_new(words[5 + i], Repeat, &all[i]);
    }
    int status = 0;
    for (int i = 0; i < graphs; ++i) {
        char name[4096];
        g_thread_join(threads[i]);
        snprintf(name, sizeof name, "%s.%d", words[4], i);
        file = fopen(name, "wb");
        if (!file || fwrite(all[i].pixels, 1, bytes, file) != bytes || fclose(file) != 0) return 2;
        if (!all[i].alike) status = 1;
        free(all[i].pixels);
    }
    free(threads);
    free(all);
    free(pixels);
    g_object_unref(source);
    gegl_exit();
    return status;
}
