// Steps and picture files for `apply` and `batch`: makes the library's steps of the command line's words, reads and
// writes pictures through the library, and refuses outputs that would take the place of something still needed. Codes
// of the library become exit codes and lines here. Runs nothing, and knows no effect and no file format.

#include "host/cli/pictures.h"

#include "host/cli/report.h"
#include "host/paths/paths.h"

#include <new>

//---- Steps

RunPointer MakeRun(const CommandLine &line)
{
    RunPointer run(vlm_run_new());
    if (!run) throw std::bad_alloc();
    if (line.seeded) vlm_run_set_seed(run.get(), line.seed);
    return run;
}

static int ExitCodeOf(vlm_code code)
{
    if (code == VLM_OK) return EXIT_DONE;
    ReportLine(vlm_error_line());
    return code == VLM_NO_SUCH_EFFECT ? EXIT_USAGE : EXIT_FAILED;
}

static vlm_code GiveSettings(const CommandLine &line, vlm_steps *steps)
{
    if (const vlm_code code = vlm_steps_add(steps, line.effect.c_str())) return code;
    for (const GivenParameter &given : line.parameters) {
        if (const vlm_code code = vlm_steps_set(steps, 0, given.name.c_str(), given.value.c_str())) return code;
    }
    if (!line.area) return VLM_OK;
    return vlm_steps_set_area(steps, 0, line.area->left, line.area->top, line.area->width, line.area->height);
}

static bool AddObject(const NamedObject &named, const CommandLine &line, vlm_steps *steps)
{
    const PicturePointer object = Read(named.file, line.allowHuge);
    const std::vector<std::string> notices = Notices();
    if (!object) {
        ReportLine(vlm_error_line());
        return false;
    }
    if (vlm_steps_add_object(steps, 0, object.get(), named.x, named.y) != VLM_OK) {
        Report(InputName(named.file), vlm_error_line());
        return false;
    }
    if (!line.quiet) ReportAll(InputName(named.file), notices);
    return true;
}

// Settings are looked at before files are read; what is told of the whole comes last.
int MakeSteps(const CommandLine &line, StepsPointer &steps)
{
    steps.reset(vlm_steps_new());
    if (!steps) throw std::bad_alloc();
    int exitCode = ExitCodeOf(GiveSettings(line, steps.get()));
    if (exitCode == EXIT_DONE) exitCode = ExitCodeOf(vlm_steps_check(steps.get(), nullptr));
    if (exitCode != EXIT_DONE) return exitCode;
    for (const NamedObject &named : line.objects)
        if (!AddObject(named, line, steps.get())) return EXIT_FAILED;
    exitCode = ExitCodeOf(vlm_steps_check(steps.get(), nullptr));
    if (exitCode == EXIT_DONE && !line.quiet)
        for (const std::string &notice : Notices()) ReportLine(notice);
    return exitCode;
}

//---- Files

std::vector<std::string> Notices()
{
    std::vector<std::string> notices;
    notices.reserve(size_t(vlm_notice_count()));
    for (int i = 0; i < vlm_notice_count(); ++i) notices.push_back(vlm_notice(i));
    return notices;
}

PicturePointer Read(const std::string &file, bool allowHuge)
{
    vlm_picture *picture = nullptr;
    const vlm_reading reading = {sizeof reading, allowHuge};
    vlm_picture_read_with(file.c_str(), &reading, &picture);
    return PicturePointer(picture);
}

bool Write(const vlm_picture *picture, const vlm_picture *input, const std::string &output, int quality)
{
    vlm_writing writing = {};
    writing.size = sizeof writing;
    writing.quality = quality;
    const vlm_format *format = output == "-" ? vlm_picture_format(input) : nullptr;
    if (format) writing.format = format->name;
    return vlm_picture_write(picture, output.c_str(), &writing) == VLM_OK;
}

static bool Fail(const std::string &subject, const std::string &text)
{
    Report(subject, text);
    return false;
}

bool CheckOutput(const std::string &output)
{
    if (output == "-") return true;
    std::error_code ignored;
    const std::filesystem::path path = PathOf(output), folder = path.parent_path();
    if (std::filesystem::is_directory(path, ignored)) return Fail(output, "is a folder");
    if (!vlm_format_of_file(output.c_str())) {
        ReportLine(vlm_error_line());
        return false;
    }
    if (folder.empty() || std::filesystem::is_directory(folder, ignored)) return true;
    return Fail(output, "its folder does not exist");
}

static std::filesystem::path Resolved(const std::string &file)
{
    std::error_code failure;
    const std::filesystem::path path = std::filesystem::weakly_canonical(PathOf(file), failure);
    return failure ? PathOf(file) : path;
}

bool ObjectsSpareInput(const CommandLine &line, int readers)
{
    for (const NamedObject &object : line.objects) readers += object.file == "-";
    return readers <= 1 || Fail("--object", "standard input can only be read once");
}

static bool Writes(const CommandLine &line, const GivenParameter &given)
{
    const vlm_effect *effect = given.value.empty() ? nullptr : vlm_effect_named(line.effect.c_str());
    const vlm_setting *setting = effect ? vlm_effect_setting_named(effect, given.name.c_str()) : nullptr;
    return setting && setting->writes;
}

bool SaveSpares(const CommandLine &line, std::vector<std::string> files)
{
    for (const NamedObject &object : line.objects) files.push_back(object.file);
    for (const GivenParameter &given : line.parameters) {
        if (!Writes(line, given)) continue;
        for (const std::string &file : files) {
            if (file.empty() || Resolved(given.value) != Resolved(file)) continue;
            return Fail(given.value, "is a picture's file, and --" + given.name + " would write over it");
        }
    }
    return true;
}
