/* Applies steps to a picture file, with nothing but velmorant.h and the library:
 *
 *     apply in.png out.png "wave --amplitude 20" "noise --amount 5 --seed 7"
 *
 * Without steps it lists the effects. */
#include <stdio.h>
#include <velmorant.h>

static int Fail(void)
{
    fprintf(stderr, "apply: %s\n", vlm_error_line());
    return 1;
}

static int ListEffects(void)
{
    int count = vlm_effect_count();
    if (count == 0) return Fail();
    for (int i = 0; i < count; ++i) printf("%-18s %s\n", vlm_effect_at(i)->name, vlm_effect_at(i)->summary);
    return 0;
}

/* Called on the thread that applies; an answer other than 0 would abort. */
static int ShowTenths(void *context, int step, int steps, int tenths)
{
    (void)context;
    fprintf(stderr, "\rstep %d of %d: %3d %%", step + 1, steps, 10 * tenths);
    return 0;
}

static int ApplySteps(vlm_steps *steps, vlm_run *run, char **arguments, int count)
{
    vlm_picture *picture = NULL;
    int failed = 0;
    for (int i = 3; i < count && !failed; ++i) failed = vlm_steps_add_line(steps, arguments[i]) != VLM_OK;
    failed = failed || vlm_steps_check(steps, NULL) != VLM_OK || vlm_picture_read(arguments[1], &picture) != VLM_OK;
    if (!failed) {
        vlm_run_set_progress(run, ShowTenths, NULL);
        failed = vlm_apply(steps, picture, run) != VLM_OK;
        fputc('\n', stderr);
    }
    failed = failed || vlm_picture_write(picture, arguments[2], NULL) != VLM_OK;
    vlm_picture_free(picture);
    return failed ? Fail() : 0;
}

int main(int count, char **arguments)
{
    if (count < 4) return ListEffects();
    vlm_steps *steps = vlm_steps_new();
    vlm_run *run = vlm_run_new();
    int exitCode = steps && run ? ApplySteps(steps, run, arguments, count) : Fail();
    vlm_run_free(run);
    vlm_steps_free(steps);
    return exitCode;
}
