// Files that take their targets' places when they are whole.

#include "host/paths/paths.h"
#include "host/paths/replacement.h"

#include <cerrno>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <sstream>

#ifdef _WIN32
#include <windows.h>
#else
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

struct ReplacementTest : testing::Test {
    fs::path folder =
        fs::temp_directory_path() / PathOf("velmorant ünï replacement " + std::to_string(std::random_device()()));

    ReplacementTest() { fs::create_directories(folder); }
    ~ReplacementTest() override { fs::remove_all(folder); }

    std::string In(const std::string &name) const { return NameOf(folder / PathOf(name)); }
    void Put(const std::string &name, const std::string &bytes) const
    {
        std::ofstream(PathOf(In(name)), std::ios::binary) << bytes;
    }
    std::string BytesOf(const std::string &name) const
    {
        std::ostringstream bytes;
        bytes << std::ifstream(PathOf(In(name)), std::ios::binary).rdbuf();
        return bytes.str();
    }
    // How many names the folder has.
    int Names() const { return int(std::distance(fs::directory_iterator(folder), fs::directory_iterator())); }
};

static std::error_code Replace(const std::string &name, const char *bytes, std::vector<std::string> *notices = nullptr)
{
    Replacement replacement;
    if (const std::error_code failure = BeginReplacement(replacement, name)) return failure;
    fputs(bytes, replacement.file);
    const std::error_code failure = FinishReplacement(replacement);
    if (notices) *notices = replacement.notices;
    return failure;
}

TEST_F(ReplacementTest, TakesItsPlaceWhenItIsWhole)
{
    Put("a", "old");
    Replacement replacement;
    ASSERT_FALSE(BeginReplacement(replacement, In("a")));
    EXPECT_EQ(Names(), 2);
    fputs("new", replacement.file);
    EXPECT_EQ(BytesOf("a"), "old");
    EXPECT_FALSE(FinishReplacement(replacement));
    EXPECT_EQ(BytesOf("a"), "new");
    EXPECT_EQ(Names(), 1);
    EXPECT_TRUE(replacement.notices.empty());
}

TEST_F(ReplacementTest, LeavesNothingWhenItIsDropped)
{
    Put("a", "old");
    {
        Replacement replacement;
        ASSERT_FALSE(BeginReplacement(replacement, In("a")));
        fputs("new", replacement.file);
    }
    EXPECT_EQ(BytesOf("a"), "old");
    EXPECT_EQ(Names(), 1);
    EXPECT_TRUE(Replace(In("nowhere/a"), "new"));
}

TEST_F(ReplacementTest, SeveralAreUnderWayAtOnce)
{
    Replacement one, other, third;
    ASSERT_FALSE(BeginReplacement(one, In("1")) || BeginReplacement(other, In("2")) ||
                 BeginReplacement(third, In("3")));
    EXPECT_FALSE(FinishReplacement(other));
    DropReplacement(one);
    EXPECT_FALSE(FinishReplacement(third));
    EXPECT_EQ(Names(), 2);
}

TEST_F(ReplacementTest, ANameMayBeAsLongAsAFolderTakes)
{
    const std::string longest(255, 'n');
    EXPECT_FALSE(Replace(In(longest), "one"));
    EXPECT_FALSE(Replace(In(longest), "two"));
    EXPECT_EQ(BytesOf(longest), "two");
    EXPECT_EQ(Names(), 1);
}

TEST_F(ReplacementTest, OtherTemporaryFilesAreNoLeftovers)
{
    for (const char *name : {".velmorant-.tmp", ".velmorant-x-abcdefghijkl.tmp", "velmorant-1-abcdefghijkl.tmp",
                             ".velmorant-999999-abcdefghijk.tmp", ".velmorant-999999-abcdefghijkl.tm"})
        Put(name, "another's");
    EXPECT_FALSE(Replace(In("a"), "new"));
    EXPECT_EQ(Names(), 6);
}

#ifndef _WIN32

static mode_t ModeOf(const fs::path &file)
{
    struct stat status = {};
    return stat(file.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

TEST_F(ReplacementTest, HasTheModeOfItsTargetFromTheFirstByte)
{
    const mode_t before = umask(022);
    Put("a", "old");
    for (const mode_t mode : {0600, 0640, 0666, 0755}) {
        chmod(In("a").c_str(), mode);
        Replacement replacement;
        ASSERT_FALSE(BeginReplacement(replacement, In("a")));
        EXPECT_EQ(ModeOf(replacement.temporary), mode);
        EXPECT_FALSE(FinishReplacement(replacement));
        EXPECT_EQ(ModeOf(In("a")), mode);
    }
    umask(027);
    EXPECT_FALSE(Replace(In("b"), "new"));
    EXPECT_EQ(ModeOf(In("b")), 0640u) << "a new one is as any new file";
    umask(before);
}

TEST_F(ReplacementTest, FollowsLinksAlsoToWhatIsNotThereYet)
{
    fs::create_directory(folder / "sub");
    Put("sub/a", "old");
    fs::create_symlink("sub/a", folder / "link");
    fs::create_symlink("link", folder / "further");
    fs::create_symlink("sub/made", folder / "dangling");
    EXPECT_FALSE(Replace(In("further"), "new"));
    EXPECT_FALSE(Replace(In("dangling"), "made"));
    EXPECT_EQ(BytesOf("sub/a"), "new");
    EXPECT_EQ(BytesOf("sub/made"), "made");
    for (const char *link : {"link", "further", "dangling"}) EXPECT_TRUE(fs::is_symlink(folder / link)) << link;
    fs::create_symlink("circle", folder / "circle");
    EXPECT_TRUE(Replace(In("circle"), "new"));
}

// In a process of its own that is no longer root, whom no mode stops. The exit code tells.
static int AsSomebody(const std::function<int()> &act)
{
    const pid_t id = fork();
    if (id == 0) {
        const bool changed = geteuid() != 0 || (setgid(65534) == 0 && setuid(65534) == 0);
        _exit(changed ? act() : 99);
    }
    int status = 0;
    waitpid(id, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

TEST_F(ReplacementTest, AReadOnlyFileIsNotReplaced)
{
    Put("a", "old");
    chmod(In("a").c_str(), 0444);
    chmod(folder.c_str(), 0777);
    const std::string name = In("a");
    EXPECT_EQ(AsSomebody([&name] { return Replace(name, "new").value(); }), EACCES);
    EXPECT_EQ(BytesOf("a"), "old");
    EXPECT_EQ(Names(), 1);
}

TEST_F(ReplacementTest, OwnerAndGroupStayOrANoticeSaysSo)
{
    Put("a", "old");
    if (geteuid() == 0) {
        ASSERT_EQ(chown(In("a").c_str(), 65534, 12345), 0);
        std::vector<std::string> notices;
        EXPECT_FALSE(Replace(In("a"), "new", &notices));
        struct stat status = {};
        ASSERT_EQ(stat(In("a").c_str(), &status), 0);
        EXPECT_EQ(status.st_uid, 65534u);
        EXPECT_EQ(status.st_gid, 12345u);
        EXPECT_TRUE(notices.empty());
        ASSERT_EQ(chown(In("a").c_str(), 0, 12345), 0);
    } else {
        GTEST_SKIP() << "only root can give a file away";
    }
    chmod(In("a").c_str(), 0676);
    chmod(folder.c_str(), 0777);
    const std::string name = In("a");
    EXPECT_EQ(AsSomebody([&name] {
                  std::vector<std::string> notices;
                  return Replace(name, "new", &notices) ? 98 : int(notices.size());
              }),
              2);
    EXPECT_EQ(ModeOf(In("a")), 0666u) << "another group may do no more than everybody";
}

TEST_F(ReplacementTest, ExtendedAttributesStay)
{
    Put("a", "old");
    if (setxattr(In("a").c_str(), "user.origin", "camera", 6, 0) != 0) GTEST_SKIP() << "there are none here";
    std::vector<std::string> notices;
    EXPECT_FALSE(Replace(In("a"), "new", &notices));
    char value[16] = "";
    EXPECT_EQ(getxattr(In("a").c_str(), "user.origin", value, sizeof value), 6);
    EXPECT_STREQ(value, "camera");
    EXPECT_TRUE(notices.empty());
}

TEST_F(ReplacementTest, OtherNamesOfTheFileAreTold)
{
    Put("a", "old");
    fs::create_hard_link(folder / "a", folder / "b");
    std::vector<std::string> notices;
    EXPECT_FALSE(Replace(In("a"), "new", &notices));
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_NE(notices[0].find("hard links"), std::string::npos);
    EXPECT_EQ(BytesOf("b"), "old");
}

// Begins one in another process, which waits to be killed then.
static pid_t BeginElsewhere(const std::string &name)
{
    int ends[2];
    if (pipe(ends) != 0) abort();
    const pid_t id = fork();
    if (id == 0) {
        Replacement replacement;
        const bool begun = !BeginReplacement(replacement, name);
        if (write(ends[1], "", begun) != 1) _exit(1);
        for (;;) pause();
    }
    char byte;
    EXPECT_EQ(read(ends[0], &byte, 1), 1);
    close(ends[0]);
    close(ends[1]);
    return id;
}

static void Kill(pid_t id)
{
    kill(id, SIGKILL);
    waitpid(id, nullptr, 0);
}

// Its own folder's leftovers are looked for once in a process, so each look is another's.
static void LookFromElsewhere(const std::string &name)
{
    const pid_t id = fork();
    if (id == 0) _exit(Replace(name, "new") ? 1 : 0);
    int status = 0;
    waitpid(id, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(ReplacementTest, WhatAKillLeavesIsRemovedByTheNextButNotWhatIsBeingWritten)
{
    Put("a", "old");
    const pid_t killed = BeginElsewhere(In("a")), alive = BeginElsewhere(In("a"));
    Kill(killed);
    EXPECT_EQ(Names(), 3);
    LookFromElsewhere(In("b"));
    EXPECT_EQ(Names(), 3) << "a, b and the one that is being written";
    Kill(alive);
    LookFromElsewhere(In("b"));
    EXPECT_EQ(Names(), 2);
    EXPECT_EQ(BytesOf("a"), "old");
}

TEST_F(ReplacementTest, AllAreDroppedBeforeASuddenEnd)
{
    Put("a", "old");
    const std::string one = In("a"), other = In("b");
    const pid_t id = fork();
    if (id == 0) {
        Replacement first, second;
        const bool begun = !BeginReplacement(first, one) && !BeginReplacement(second, other);
        DropAllReplacements();
        _exit(begun ? 0 : 1);
    }
    int status = 0;
    waitpid(id, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(Names(), 1);
    EXPECT_EQ(BytesOf("a"), "old");
}

TEST_F(ReplacementTest, AFullDiskLeavesTheOldFile)
{
    Put("a", "old");
    const std::string name = In("a");
    const pid_t id = fork();
    if (id == 0) {
        const rlimit limit = {4, 4};
        setrlimit(RLIMIT_FSIZE, &limit);
        signal(SIGXFSZ, SIG_IGN);
        _exit(Replace(name, "new and longer").value());
    }
    int status = 0;
    waitpid(id, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), EFBIG);
    EXPECT_EQ(BytesOf("a"), "old");
    EXPECT_EQ(Names(), 1);
}

#else

static HANDLE Held(const fs::path &file, DWORD shared)
{
    return CreateFileW(file.c_str(), GENERIC_READ, shared, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
}

TEST_F(ReplacementTest, AReadOnlyFileIsNotReplaced)
{
    Put("a", "old");
    SetFileAttributesW(PathOf(In("a")).c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(Replace(In("a"), "new"));
    SetFileAttributesW(PathOf(In("a")).c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(BytesOf("a"), "old");
    EXPECT_EQ(Names(), 1);
}

// Whether the other program lets it be read, written or neither: what has no leave to go stays.
TEST_F(ReplacementTest, AFileThatAnotherProgramHoldsIsNotReplaced)
{
    for (const DWORD shared : {DWORD(0), DWORD(FILE_SHARE_READ), DWORD(FILE_SHARE_READ | FILE_SHARE_WRITE)}) {
        Put("a", "old");
        const HANDLE held = Held(PathOf(In("a")), shared);
        ASSERT_NE(held, INVALID_HANDLE_VALUE);
        EXPECT_TRUE(Replace(In("a"), "new")) << shared;
        CloseHandle(held);
        EXPECT_EQ(BytesOf("a"), "old") << shared;
        EXPECT_EQ(Names(), 1) << shared;
    }
    EXPECT_FALSE(Replace(In("a"), "new"));   // and when it is let go, it is
    EXPECT_EQ(BytesOf("a"), "new");
}

TEST_F(ReplacementTest, AFolderIsNotReplaced)
{
    fs::create_directory(folder / "a");
    EXPECT_TRUE(Replace(In("a"), "new"));
    EXPECT_TRUE(fs::is_directory(folder / "a"));
    EXPECT_EQ(Names(), 1);
}

// Devices, in every folder: a picture cannot be one, and none may be lost in one without a word.
TEST_F(ReplacementTest, ReservedNamesAreFilesOrFaults)
{
    for (const char *name : {"nul.png", "con.bmp", "aux.tif", "com1.jpg", "lpt9.gif", "NUL"}) {
        const std::error_code failure = Replace(In(name), "new");
        EXPECT_TRUE(failure || BytesOf(name) == "new") << name;
        std::error_code ignored;
        fs::remove(PathOf(In(name)), ignored);
    }
    EXPECT_EQ(Names(), 0);
}

TEST_F(ReplacementTest, APathMayBeLongerThan260Letters)
{
    fs::path deep = folder;
    for (int i = 0; i < 8; ++i) deep /= PathOf("ünï folder of a name that is rather long " + std::to_string(i));
    std::error_code failure;
    fs::create_directories(deep, failure);
    if (failure) GTEST_SKIP() << "this Windows has no such paths";
    const std::string name = NameOf(deep / "a.png");
    ASSERT_GT(name.size(), 260u);
    EXPECT_FALSE(Replace(name, "new"));
    EXPECT_FALSE(Replace(name, "newer"));
    std::ostringstream bytes;
    bytes << std::ifstream(PathOf(name), std::ios::binary).rdbuf();
    EXPECT_EQ(bytes.str(), "newer");
    // The C++ library goes through no folder of such a name, and so removes none with all that is in it.
    fs::remove(PathOf(name), failure);
    for (; deep != folder; deep = deep.parent_path()) EXPECT_TRUE(fs::remove(deep, failure)) << failure;
}

#endif
