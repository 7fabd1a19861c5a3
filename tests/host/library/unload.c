/* Loads the library as a plug-in's host does, uses it, and unloads it while its thread lives, again and again. With a
 * number, so many processes each end in the moment after, or in the midst of, a call. With "moved" it is loaded by a name
 * that is relative to a folder, and used in another. */
#define _POSIX_C_SOURCE 200809L
#include <dlfcn.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
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

static int UseElsewhere(char *file)
{
    char *name = strrchr(file, '/'), relative[256];
    void *library;
    if (!name || snprintf(relative, sizeof relative, ".%s", name) >= (int)sizeof relative) return 1;
    *name = 0;
    if (chdir(file) != 0) return 1;
    library = dlopen(relative, RTLD_NOW | RTLD_LOCAL);
    if (!library || chdir("/") != 0) return 1;
    *name = '/';
    return Use(file);
}

static void *UseForEver(void *file)
{
    while (Use(file) == 0) {}
    return NULL;
}

/* A process that has not used the library before forks one that ends at another moment each time. */
static int EndsWell(const char *file, int moment)
{
    struct timespec pause = {0, (moment % 20) * 500000L};
    int status = 1;
    pid_t child = fork();
    if (child == 0) {
        pthread_t other;
        alarm(60);
        if (moment % 2 && pthread_create(&other, NULL, UseForEver, (void *)file) != 0) exit(2);
        if (moment % 2) nanosleep(&pause, NULL);
        else if (Use(file) != 0) exit(3);
        exit(0);
    }
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

int main(int count, char **arguments)
{
    int ended = 0, wanted = count > 2 ? atoi(arguments[2]) : 0;
    if (count < 2) return 1;
    if (count > 2 && strcmp(arguments[2], "moved") == 0) {
        if (UseElsewhere(arguments[1])) return 1;
        puts("used elsewhere");
        return 0;
    }
    for (int i = 0; i < wanted; ++i) ended += EndsWell(arguments[1], i);
    if (wanted) return printf("%d of %d ended well\n", ended, wanted) < 0;
    for (int i = 0; i < 20; ++i)
        if (Use(arguments[1])) return 1;
    puts("unloaded 20 times");
    return 0;
}
