// Steps and picture files for `apply` and `batch`: makes the library's steps of the command line's words, reads and
// writes pictures through the library, and refuses outputs that would take the place of something still needed. Codes
// of the library become exit codes and lines here. Runs nothing, and knows no effect and no file format.

#include "host/cli/pictures.h"

#include "host/cli/report.h"
#include "host/paths/collisions.h"
#include "host/paths/paths.h"

#include <algorithm>
#include <cstring>
#include <new>

//---- Steps

RunPointer MakeRun(const CommandLine &line, uint32_t number)
{
    RunPointer run(vlm_run_new());
    if (!run) throw std::bad_alloc();
    vlm_run_set_threads(run.get(), line.threads);
    if (line.steps[0].seed) vlm_run_set_seed(run.get(), *line.steps[0].seed + number);
    return run;
}

StepsPointer WithSeedsFrom(const CommandLine &line, const vlm_steps *steps, uint32_t number)
{
    StepsPointer own;
    for (size_t i = 1; i < line.steps.size(); ++i) {   // the first step's is the run's
        if (!line.steps[i].seed) continue;
        vlm_steps *copy = nullptr;
        if (!own && vlm_steps_copy(steps, &copy) != VLM_OK) throw std::bad_alloc();
        if (!own) own.reset(copy);
        vlm_steps_set_seed(own.get(), int(i), *line.steps[i].seed + number);
    }
    return own;
}

// Of several steps the line tells which one is at fault.
static int ExitCodeOf(vlm_code code, const CommandLine &line, int step)
{
    if (code == VLM_OK) return EXIT_DONE;
    const bool told = line.steps.size() > 1 && step >= 0;
    const std::string which =
        told ? "step " + std::to_string(step + 1) + " (" + line.steps[size_t(step)].effect + "): " : "";
    ReportLine(which + vlm_error_line());
    return code == VLM_NO_SUCH_EFFECT ? EXIT_USAGE : EXIT_FAILED;
}

static vlm_code GiveSettings(const GivenStep &given, bool scale, vlm_steps *steps, int step)
{
    const char *const words[] = {given.effect.c_str(), "--area", given.area.c_str()};
    if (const vlm_code code = vlm_steps_add_words(steps, given.area.empty() ? 1 : 3, words)) return code;
    for (const GivenParameter &setting : given.parameters) {
        if (const vlm_code code = vlm_steps_set(steps, step, setting.name.c_str(), setting.value.c_str())) return code;
    }
    if (scale)
        if (const vlm_code code = vlm_steps_scale_defaults(steps, step)) return code;
    // The first step's is the run's.
    return given.seed && step > 0 ? vlm_steps_set_seed(steps, step, *given.seed) : VLM_OK;
}

static int Check(const CommandLine &line, const vlm_steps *steps)
{
    int step = -1;
    const vlm_code code = vlm_steps_check(steps, &step);
    return ExitCodeOf(code, line, step);
}

static bool AddObject(const NamedObject &named, const CommandLine &line, vlm_steps *steps, int step)
{
    const PicturePointer object = ReadFirst(named.file, line);
    const std::vector<std::string> notices = Notices();
    if (!object) {
        ReportLine(vlm_error_line());
        return false;
    }
    if (vlm_steps_add_object(steps, step, object.get(), named.x, named.y) != VLM_OK) {
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
    const int count = int(line.steps.size());
    int exitCode = EXIT_DONE;
    for (int i = 0; i < count && exitCode == EXIT_DONE; ++i)
        exitCode = ExitCodeOf(GiveSettings(line.steps[size_t(i)], line.scaleToPicture, steps.get(), i), line, i);
    if (exitCode == EXIT_DONE) exitCode = Check(line, steps.get());
    if (exitCode != EXIT_DONE) return exitCode;
    for (int i = 0; i < count; ++i)
        for (const NamedObject &named : line.steps[size_t(i)].objects)
            if (!AddObject(named, line, steps.get(), i)) return EXIT_FAILED;
    exitCode = Check(line, steps.get());
    if (exitCode == EXIT_DONE && !line.quiet)
        for (const std::string &notice : Notices()) ReportLine(notice);
    return exitCode;
}

const char NOTHING_CHANGED[] = "nothing has changed: with these settings the picture stays as it is";

//---- Files

std::vector<std::string> Notices()
{
    std::vector<std::string> notices;
    notices.reserve(size_t(vlm_notice_count()));
    for (int i = 0; i < vlm_notice_count(); ++i) notices.push_back(vlm_notice(i));
    return notices;
}

static PicturePointer ReadPage(const std::string &file, const CommandLine &line, int page)
{
    vlm_picture *picture = nullptr;
    vlm_reading reading = {};
    reading.size = sizeof reading;
    reading.allow_huge = line.allowHuge;
    reading.as_stored = line.asStored;
    reading.page = page;
    vlm_picture_read_with(file.c_str(), &reading, &picture);
    return PicturePointer(picture);
}

PicturePointer ReadAlone(const std::string &file, const CommandLine &line) { return ReadPage(file, line, line.page); }

PicturePointer ReadFirst(const std::string &file, const CommandLine &line) { return ReadPage(file, line, 1); }

// Has no ending that would tell a format.
static bool IsStream(const std::string &output)
{
    return output == "-" || output == "/dev/stdout" || output.starts_with("/dev/fd/");
}

// Null where only the input will tell.
static const vlm_format *FormatOfOutput(const std::string &output, const CommandLine &line)
{
    if (!line.format.empty()) return vlm_format_named(line.format.c_str());
    return IsStream(output) ? nullptr : vlm_format_of_file(output.c_str());
}

// A page goes back among the others, so that all are read; alone it is where its file or the output's holds one.
InputPicture Read(const std::string &file, const std::string &output, const CommandLine &line)
{
    InputPicture input;
    const vlm_format *format = FormatOfOutput(output, line);
    const bool alone = line.page == 0 || line.compare || (format && !format->holds_several);
    input.picture = ReadPage(file, line, alone ? line.page : 0);
    if (!input.picture) input.fault = vlm_error_line();
    const int pages = vlm_picture_pages(input.picture.get());
    if (alone || !input.picture || (pages == 1 && line.page == 1)) return input;
    input.whole = std::move(input.picture);
    vlm_picture *page = nullptr;
    if (line.page > pages)
        input.fault = InputName(file) + ": has " + std::to_string(pages) + (pages == 1 ? " page" : " pages") +
                      ", not " + std::to_string(line.page);
    else if (vlm_picture_page(input.whole.get(), line.page - 1, &page) != VLM_OK) input.fault = vlm_error_line();
    input.picture.reset(page);
    return input;
}

static vlm_writing WritingFor(const CommandLine &line)
{
    vlm_writing writing = {};
    writing.size = sizeof writing;
    writing.format = line.format.empty() ? nullptr : line.format.c_str();
    writing.quality = line.quality;
    writing.compression = line.compression;
    writing.subsampling = line.subsampling;
    writing.progressive = line.progressive;
    writing.strip = line.strip;
    writing.reduce_depth = line.reduceDepth;
    return writing;
}

bool Write(const vlm_picture *picture, const vlm_picture *input, const std::string &output, const CommandLine &line)
{
    vlm_writing writing = WritingFor(line);
    const vlm_format *format = IsStream(output) && line.format.empty() ? vlm_picture_format(input) : nullptr;
    if (format) writing.format = format->name;
    return vlm_picture_write(picture, output.c_str(), &writing) == VLM_OK;
}

bool WriteResult(InputPicture &input, const std::string &output, const CommandLine &line)
{
    const vlm_picture *result = input.picture.get();
    if (!input.whole) return Write(result, result, output, line);
    return vlm_picture_set_page(input.whole.get(), line.page - 1, result) == VLM_OK &&
           Write(input.whole.get(), input.whole.get(), output, line);
}

bool MayWrite(const InputPicture &input, const std::string &output, const CommandLine &line)
{
    const vlm_writing writing = WritingFor(line);
    const vlm_picture *all = input.whole ? input.whole.get() : input.picture.get();
    return vlm_picture_check_writing(all, output.c_str(), &writing) == VLM_OK;
}

// The picture is packed with a loss because it was so before.
static bool LosesOnceMore(const vlm_picture *picture, const std::string &output, const CommandLine &line)
{
    const vlm_format *from = vlm_picture_format(picture), *to = FormatOfOutput(output, line);
    return (!to || to == from) && vlm_picture_is_lossy(picture);
}

std::string NoticeOfFormat(const vlm_picture *input, const std::string &output, const CommandLine &line)
{
    const vlm_format *told = FormatOfOutput(output, line), *format = told ? told : vlm_picture_format(input);
    if (!format) return {};
    const std::string name = format->name;
    const std::string is = " outputs, and this is a " + name + " one";
    if (line.quality && !format->takes_quality) return "--quality is of JPEG and WebP" + is;
    if (line.compression && name != "png") return "--compression is of PNG" + is;
    if (line.subsampling && name != "jpeg") return "--subsampling is of JPEG" + is;
    return line.progressive && name != "jpeg" ? "--progressive is of JPEG" + is : "";
}

std::vector<std::string> NoticesOfWriting(const InputPicture &input, const std::string &output, const CommandLine &line)
{
    std::vector<std::string> notices = Notices();
    const vlm_picture *result = input.picture.get(), *all = input.whole ? input.whole.get() : result;
    const std::string page = std::to_string(line.page);
    const int pages = vlm_picture_file_pages(result);
    if (IsStream(output) && line.format.empty() && LosesOnceMore(all, output, line))
        notices.push_back(std::string("stored as ") + vlm_picture_format(all)->name +
                          " as the input is, which loses a little once more; --format png does not");
    else if (input.whole && LosesOnceMore(all, output, line))
        notices.push_back("the pages beside page " + page + " are packed anew, which loses a little once more");
    if (line.page && !input.whole && pages > 1)
        notices.push_back("only page " + page + " of " + std::to_string(pages) +
                          " is stored: such a file holds one picture");
    return notices;
}

static bool Fail(const std::string &subject, const std::string &text)
{
    Report(subject, text);
    return false;
}

bool CheckOutput(const std::string &output, const CommandLine &line)
{
    if (IsStream(output)) return true;
    std::error_code ignored;
    const std::filesystem::path path = PathOf(output), folder = path.parent_path();
    if (std::filesystem::is_directory(path, ignored)) return Fail(output, "is a folder");
    if (line.format.empty() && !vlm_format_of_file(output.c_str())) {
        ReportLine(vlm_error_line());
        return false;
    }
    if (folder.empty() || std::filesystem::is_directory(folder, ignored)) return true;
    return Fail(output, "its folder does not exist");
}

bool ObjectsSpareInput(const CommandLine &line, int readers)
{
    for (const GivenStep &step : line.steps)
        for (const NamedObject &object : step.objects) readers += object.file == "-";
    return readers <= 1 || Fail("--object", "standard input can only be read once");
}

static bool Writes(const GivenStep &step, const GivenParameter &given)
{
    const vlm_effect *effect = given.value.empty() ? nullptr : vlm_effect_named(step.effect.c_str());
    const vlm_setting *setting = effect ? vlm_effect_setting_named(effect, given.name.c_str()) : nullptr;
    return setting && setting->writes;
}

static bool SaveSpares(const GivenStep &step, const std::vector<std::string> &files)
{
    for (const GivenParameter &given : step.parameters) {
        if (!Writes(step, given)) continue;
        for (const std::string &file : files) {
            if (file.empty() || !AreOneFile(given.value, file)) continue;
            return Fail(given.value, "is a picture's file, and --" + given.name + " would write over it");
        }
    }
    return true;
}

bool SaveSpares(const CommandLine &line, std::vector<std::string> files)
{
    for (const GivenStep &step : line.steps)
        for (const NamedObject &object : step.objects) files.push_back(object.file);
    return std::all_of(line.steps.begin(), line.steps.end(),
                       [&files](const GivenStep &step) { return SaveSpares(step, files); });
}

bool RecipeSpares(const CommandLine &line, std::vector<std::string> files)
{
    if (line.saveRecipe.empty()) return true;
    if (line.saveRecipe == "-") return Fail("--save-recipe", "is a file, not standard output");
    std::error_code ignored;
    const std::filesystem::path path = PathOf(line.saveRecipe), folder = path.parent_path();
    if (std::filesystem::is_directory(path, ignored)) return Fail(line.saveRecipe, "is a folder");
    if (!folder.empty() && !std::filesystem::is_directory(folder, ignored))
        return Fail(line.saveRecipe, "its folder does not exist");
    for (const GivenStep &step : line.steps)
        for (const NamedObject &object : step.objects) files.push_back(object.file);
    for (const std::string &file : files)
        if (!file.empty() && AreOneFile(file, line.saveRecipe))
            return Fail(line.saveRecipe, "is a picture's file, and --save-recipe would write over it");
    return true;
}

bool KeepRecipe(const CommandLine &line, const vlm_steps *steps)
{
    const bool objects =
        std::any_of(line.steps.begin(), line.steps.end(), [](const GivenStep &step) { return !step.objects.empty(); });
    if ((objects || !line.mask.empty()) && !line.quiet)
        Report(line.saveRecipe, "a recipe names no files: objects and masks are not in it");
    vlm_steps *copy = nullptr;
    if (vlm_steps_copy(steps, &copy) != VLM_OK) throw std::bad_alloc();
    const StepsPointer owner(copy);
    if (line.steps[0].seed && !vlm_steps_seed(steps, 0, nullptr)) vlm_steps_set_seed(copy, 0, *line.steps[0].seed);
    if (vlm_recipe_write(copy, line.saveRecipe.c_str()) == VLM_OK) return true;
    ReportLine(vlm_error_line());
    return false;
}
