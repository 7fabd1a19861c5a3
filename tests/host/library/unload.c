/* Loads the library as a plug-in's host does, uses it, and unloads it while its thread lives, again and again. */
#include <dlfcn.h>
#include <stdio.h>
#include <velmorant.h>

static int Use(const char *file)
{
    void *library = dlopen(file, RTLD_NOW | RTLD_LOCAL);
    vlm_code (*start)(void);
    if (!library) return fprintf(stderr, "%s\n", dlerror()), 1;
    *(void **)&start = dlsym(library, "vlm_start");
    if (!start || start() != VLM_OK) return fputs("not started\n", stderr), 1;
    return dlclose(library);
}

int main(int count, char **arguments)
{
    for (int i = 0; i < 20; ++i)
        if (count < 2 || Use(arguments[1])) return 1;
    puts("unloaded 20 times");
    return 0;
}
