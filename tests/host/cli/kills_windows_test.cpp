// Kills at random moments on Windows, while pictures are written over: each picture is as it was or as it was to be, and
// what else is left goes with the next run in that folder. Other systems' kills are those of tests/faults.

#include "tests/host/cli/workplace.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <thread>

namespace fs = std::filesystem;

namespace
{

using Clock = std::chrono::steady_clock;

const char *const BATCH_RECORD = ".velmorant-batch";   // which a batch keeps beside its outputs

// A file that a command writes over.
struct Target {
    std::string name, before, after;
};

class Kills : public Workplace
{
protected:
    // What a kill has left in a folder: all else that may be there is a target.
    std::vector<std::string> LeftBehind(const std::string &in) const
    {
        std::vector<std::string> names;
        for (const auto &entry : fs::directory_iterator(PathOf(in))) {
            const std::string name = NameOf(entry.path().filename());
            if (name == BATCH_RECORD) continue;
            if (name.starts_with(".velmorant-")) names.push_back(name);
            else EXPECT_NE(FormatOfName(name), FileFormat::UNKNOWN) << name;
        }
        return names;
    }
    // Whether one of the targets is being written or has been.
    bool HasBegun(const std::string &in, const std::vector<Target> &targets, fs::file_time_type before) const
    {
        if (!LeftBehind(in).empty()) return true;
        for (const Target &target : targets) {
            std::error_code missing;   // it is being replaced
            const auto written = fs::last_write_time(PathOf(in + "/" + target.name), missing);
            if (missing || written > before) return true;
        }
        return false;
    }
    void KillAll(const std::vector<std::string> &command, const std::string &in, std::vector<Target> targets,
                 int kills);
};

}   // namespace

// How many; a night asks for more.
static int Number(int usual)
{
    const char *asked = getenv("VELMORANT_KILLS");
    return asked ? atoi(asked) : usual;
}

void Kills::KillAll(const std::vector<std::string> &command, const std::string &in, std::vector<Target> targets,
                    int kills)
{
    const std::string within = in == folder ? "" : NameOf(PathOf(in).filename()) + "/";
    for (Target &target : targets) target.before = BytesOf(in + "/" + target.name);
    const auto start = Clock::now();
    ASSERT_EQ(Velmorant(command).exitCode, 0);
    const auto takes = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
    for (Target &target : targets) {
        target.after = BytesOf(in + "/" + target.name);
        ASSERT_NE(target.before, target.after);
    }
    const uint32_t seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 generator(seed);
    int left = 0;
    for (int i = 0; i < kills && !HasFailure(); ++i) {
        SCOPED_TRACE("kill " + std::to_string(i));
        fs::file_time_type before = {};
        for (const Target &target : targets) {
            SaveText(within + target.name, target.before);
            before = std::max(before, fs::last_write_time(PathOf(in + "/" + target.name)));
        }
        RunningProcess process = StartAside(command);
        const auto deadline = Clock::now() + std::chrono::seconds(20);
        // Every other one as soon as a new file is begun, since writing takes a small part of a run.
        if (i % 2) {
            while (!HasBegun(in, targets, before) && Clock::now() < deadline)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            std::this_thread::sleep_for(std::chrono::microseconds(generator() % 3000));
        } else {
            std::this_thread::sleep_for(takes * int(generator() % 120) / 100);
        }
        Terminate(process);
        WaitForEnd(process);
        for (const Target &target : targets) {
            const std::string now = BytesOf(in + "/" + target.name);
            EXPECT_TRUE(now == target.before || now == target.after) << target.name;
        }
        left += !LeftBehind(in).empty();
        const std::string other = in + "/" + targets[0].name;
        EXPECT_EQ(Velmorant({"apply", "solarize", other, other, "--quiet"}).exitCode, 0);
        EXPECT_TRUE(LeftBehind(in).empty()) << LeftBehind(in)[0];
    }
    RecordProperty("left", left);
    printf("%d of %d kills have met a file that was being written\n", left, kills);
}

TEST_F(Kills, LeaveAPictureAsItWasOrAsItWasToBe)
{
    for (const char *name : {"pic.png", "pic.bmp", "Bild \u0141\u00d8\u65e5.tif", "pic.jpg"}) {
        SCOPED_TRACE(name);
        const std::string file = Save(name, Sample(RGB, 640, 480));
        KillAll({"apply", "noise", file, file, "--seed", "1", "--quiet"}, folder, {{name, {}, {}}}, Number(2));
        fs::remove(PathOf(file));
    }
}

TEST_F(Kills, LeaveEachPictureOfABatchAsItWasOrAsItWasToBe)
{
    const std::string out = In("out");
    fs::create_directory(PathOf(out));
    std::vector<Target> targets;
    std::vector<std::string> command = {"batch",  "noise", "--seed",          "1", "--quiet",
                                        "--jobs", "2",     "--output-folder", out};
    for (const char *name : {"a.png", "b.bmp", "c.tif", "d.jpg"}) {
        targets.push_back({name, {}, {}});
        command.push_back(Save(name, Sample(RGB, 320, 240)));
        fs::copy_file(PathOf(In(name)), PathOf(out + "/" + name));
    }
    KillAll(command, out, targets, Number(4));
}
