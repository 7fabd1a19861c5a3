// Writes files beside their targets: names that tell leftovers from other files, the mode and the belongings of the file
// that is to be replaced, the list of those under way. What is written, and what is said of it, is the caller's.

#include "host/paths/replacement.h"

#include "host/paths/paths.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <string_view>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#else
#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#endif

namespace fs = std::filesystem;

static std::error_code Fault(int number) { return {number ? number : EIO, std::generic_category()}; }

//---- Those under way

static std::mutex lock;   // of the list, and of making and renaming its files
static Replacement *latest;

// The caller holds the lock.
static void TakeOffList(const Replacement &replacement)
{
    for (Replacement **place = &latest; *place; place = &(*place)->earlier) {
        if (*place != &replacement) continue;
        *place = replacement.earlier;
        return;
    }
}

static void RemoveFile(const fs::path &file)
{
#ifdef _WIN32
    DeleteFileW(file.c_str());
#else
    unlink(file.c_str());
#endif
}

void DropAllReplacements()
{
    lock.lock();
    for (const Replacement *one = latest; one; one = one->earlier) RemoveFile(one->temporary);
}

static void Close(Replacement &replacement)
{
    if (replacement.file) fclose(replacement.file);
    replacement.file = nullptr;
}

// Removed before it is closed: until then nobody else takes it for a leftover.
void DropReplacement(Replacement &replacement)
{
    if (replacement.temporary.empty()) return;
    const std::lock_guard hold(lock);
    TakeOffList(replacement);
    RemoveFile(replacement.temporary);
    Close(replacement);
    replacement.temporary.clear();
}

Replacement::~Replacement() { DropReplacement(*this); }

//---- Leftovers

static constexpr std::string_view START = ".velmorant-", END = ".tmp";

static long OwnNumber()
{
#ifdef _WIN32
    return long(GetCurrentProcessId());
#else
    return long(getpid());
#endif
}

// Short whatever the target is called: that may be as long as a name can be.
fs::path TemporaryBeside(const fs::path &target)
{
    static const char digits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
    std::random_device random;
    std::string name = std::string(START) + std::to_string(OwnNumber()) + "-";
    for (int i = 0; i < 12; ++i) name += digits[random() % 36];
    return target.parent_path() / name.append(END);
}

// The number of the process in such a name, 0 in any other.
static long ProcessInName(const std::string &name)
{
    if (!name.starts_with(START) || !name.ends_with(END)) return 0;
    long number = 0;
    size_t at = START.size();
    for (; at < name.size() && name[at] >= '0' && name[at] <= '9' && number < 100'000'000; ++at)
        number = 10 * number + (name[at] - '0');
    const bool sound = at > START.size() && name[at] == '-' && name.size() == at + 1 + 12 + END.size();
    return sound ? number : 0;
}

#ifdef _WIN32

static bool IsGone(long number)
{
    const HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, DWORD(number));
    if (!process) return GetLastError() == ERROR_INVALID_PARAMETER;
    DWORD code = STILL_ACTIVE;
    const bool known = GetExitCodeProcess(process, &code) != 0;
    CloseHandle(process);
    return known && code != STILL_ACTIVE;
}

static void RemoveIfLeft(const fs::path &file, long number)
{
    if (IsGone(number)) RemoveFile(file);
}

#else

static bool IsGone(long number) { return kill(pid_t(number), 0) != 0 && errno == ESRCH; }

// Whoever writes it holds a lock on it, on this machine or another: a process of that number tells nothing there.
static void RemoveIfLeft(const fs::path &file, long)
{
    const int descriptor = open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) return;
    struct stat status = {};
    const bool regular = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    if (regular && flock(descriptor, LOCK_EX | LOCK_NB) == 0) RemoveFile(file);
    close(descriptor);
}

#endif

#ifdef _WIN32

static std::vector<std::string> NamesIn(const fs::path &folder)
{
    std::vector<std::string> names;
    std::error_code failure;
    for (fs::directory_iterator entry(folder, failure), end; !failure && entry != end; entry.increment(failure))
        names.push_back(NameOf(entry->path().filename()));
    return names;
}

#else

// std::filesystem's iterator ends the program when there is no memory for it.
static std::vector<std::string> NamesIn(const fs::path &folder)
{
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR *)> entries(opendir(folder.c_str()), closedir);
    while (const dirent *entry = entries ? readdir(entries.get()) : nullptr) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") names.emplace_back(name);
    }
    return names;
}

#endif

// One that names were tried in holds nothing but empty folders.
static void RemoveFolderIfLeft(const fs::path &folder, long number)
{
    if (!IsGone(number)) return;
    std::error_code ignored;
    for (const std::string &name : NamesIn(folder)) fs::remove(folder / PathOf(name), ignored);
    fs::remove(folder, ignored);
}

static void RemoveLeftovers(const fs::path &folder)
{
    for (const std::string &name : NamesIn(folder)) {
        const long number = ProcessInName(name);
        if (!number || number == OwnNumber()) continue;
        std::error_code ignored;
        const fs::path file = folder / PathOf(name);
        const fs::file_status status = fs::symlink_status(file, ignored);
        if (fs::is_directory(status)) RemoveFolderIfLeft(file, number);
        else if (fs::is_regular_file(status)) RemoveIfLeft(file, number);
    }
}

// Once for each folder that this process writes into.
static void RemoveLeftoversOnce(const fs::path &folder)
{
    static auto &seen = *new std::set<fs::path>;
    {
        const std::lock_guard hold(lock);
        if (!seen.insert(folder).second) return;
    }
    RemoveLeftovers(folder.empty() ? fs::path(".") : folder);
}

//---- The new file

fs::path FollowLinks(fs::path path)
{
    std::error_code failure;
    for (int i = 0; i < 40 && fs::is_symlink(fs::symlink_status(path, failure)); ++i) {
        const fs::path next = fs::read_symlink(path, failure);
        if (failure) break;
        path = path.parent_path() / next;   // the latter alone where it says all of the way
    }
    return path;
}

// Makes the file and puts it on the list, as one.
static bool Enlist(Replacement &replacement, FILE *(*open)(const Replacement &))
{
    const std::lock_guard hold(lock);
    replacement.file = open(replacement);
    if (!replacement.file) return false;
    replacement.earlier = latest;
    latest = &replacement;
    return true;
}

#ifdef _WIN32

static constexpr bool CLOSED_FIRST = true;   // or it cannot be renamed

static int FaultOfTarget(const Replacement &replacement)
{
    const DWORD attributes = GetFileAttributesW(replacement.target.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) return 0;
    if (attributes & FILE_ATTRIBUTE_READONLY) return EACCES;
    FILE *existing = _wfopen(replacement.target.c_str(), L"rb+");
    if (!existing) return errno;
    fclose(existing);
    return 0;
}

// That others may delete it lets this program do so while it is open.
static FILE *OpenTemporary(const Replacement &replacement)
{
    const DWORD shared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE handle = CreateFileW(replacement.temporary.c_str(), GENERIC_WRITE, shared, nullptr, CREATE_NEW,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        errno = std::error_code(int(GetLastError()), std::system_category()).default_error_condition().value();
        return nullptr;
    }
    const int descriptor = _open_osfhandle(intptr_t(handle), _O_BINARY);
    FILE *file = descriptor < 0 ? nullptr : _fdopen(descriptor, "wb");
    if (file) return file;
    if (descriptor < 0) CloseHandle(handle);
    else _close(descriptor);
    RemoveFile(replacement.temporary);
    errno = ENOMEM;
    return nullptr;
}

static std::error_code Open(Replacement &replacement)
{
    errno = FaultOfTarget(replacement);
    if (!errno && Enlist(replacement, OpenTemporary)) return {};
    replacement.temporary.clear();
    return Fault(errno);
}

static bool ReachesDisk(FILE *file) { return _commit(_fileno(file)) == 0; }

#else

static constexpr bool CLOSED_FIRST = false;   // its lock lasts until it has its name

static int FaultOfTarget(const Replacement &replacement)
{
    const int descriptor = open(replacement.target.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor < 0) return errno == ENOENT ? 0 : errno;   // one that is not there yet is none
    close(descriptor);
    return 0;
}

#ifdef __EMSCRIPTEN__

static bool CopyAttributes(const char *, int) { return true; }   // files are in memory there and have none

#else

static const char ACCESS_LIST[] = "system.posix_acl_access";

static bool CopyAttribute(const char *target, int descriptor, const char *name)
{
    const ssize_t size = getxattr(target, name, nullptr, 0);
    if (size < 0) return false;
    std::string value(size_t(size), 0);
    return getxattr(target, name, value.data(), value.size()) == size &&
           fsetxattr(descriptor, name, value.data(), value.size(), 0) == 0;
}

// What the system itself keeps there is no loss to a person.
static bool CopyAttributes(const char *target, int descriptor)
{
    fremovexattr(descriptor, ACCESS_LIST);   // the folder's, for new files
    const ssize_t size = listxattr(target, nullptr, 0);
    if (size <= 0) return true;
    std::string names(size_t(size), 0);
    names.resize(size_t(std::max<ssize_t>(0, listxattr(target, names.data(), names.size()))));
    bool all = true;
    for (size_t at = 0; at < names.size(); at += names.find('\0', at) - at + 1) {
        const std::string name = names.c_str() + at;
        const bool copied = CopyAttribute(target, descriptor, name.c_str());
        if (name.starts_with("user.") || name == ACCESS_LIST) all = all && copied;
    }
    return all;
}

#endif

// What the group may do is its own: another is not let in.
static mode_t ModeFor(const struct stat &status, bool groupKept)
{
    const mode_t mode = status.st_mode & 07777;
    return groupKept ? mode : (mode & ~mode_t(S_IRWXG)) | (mode & S_IRWXG & (mode & S_IRWXO) << 3);
}

static void TakeAfter(Replacement &replacement, int descriptor, const struct stat &status)
{
    struct stat own = {};
    fstat(descriptor, &own);
    const bool group = own.st_gid == status.st_gid || fchown(descriptor, uid_t(-1), status.st_gid) == 0;
    const bool attributes = CopyAttributes(replacement.target.c_str(), descriptor);
    fchmod(descriptor, ModeFor(status, group));
    const bool owner = own.st_uid == status.st_uid || fchown(descriptor, status.st_uid, gid_t(-1)) == 0;
    if (!owner) replacement.notices.push_back("its owner could not be kept: it belongs to you now");
    if (!group) replacement.notices.push_back("its group could not be kept: it belongs to yours now");
    if (!attributes) replacement.notices.push_back("not all of its extended attributes could be kept");
    if (status.st_nlink > 1)
        replacement.notices.push_back("it had other names (hard links), which go on with the older contents");
}

// Nobody but its owner may look into it before it is decided who may look into the target.
static FILE *OpenTemporary(const Replacement &replacement)
{
    struct stat status = {};
    const bool there = stat(replacement.target.c_str(), &status) == 0;
    const mode_t mode = there ? status.st_mode & (S_IRUSR | S_IWUSR) : 0666;
    const int descriptor = open(replacement.temporary.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, mode);
    if (descriptor < 0) return nullptr;
    flock(descriptor, LOCK_EX | LOCK_NB);   // until it is closed; where there are no locks nobody takes it away either
    FILE *file = fdopen(descriptor, "wb");
    if (file) return file;
    RemoveFile(replacement.temporary);
    close(descriptor);
    errno = ENOMEM;
    return nullptr;
}

static std::error_code Open(Replacement &replacement)
{
    errno = FaultOfTarget(replacement);
    if (errno || !Enlist(replacement, OpenTemporary)) {
        replacement.temporary.clear();
        return Fault(errno);
    }
    struct stat status = {};
    if (stat(replacement.target.c_str(), &status) == 0) TakeAfter(replacement, fileno(replacement.file), status);
    return {};
}

// What is no file of a disk has none to reach.
static bool ReachesDisk(FILE *file) { return fsync(fileno(file)) == 0 || errno == EINVAL || errno == ENOTSUP; }

#endif

std::error_code BeginReplacement(Replacement &replacement, const std::string &name)
{
    replacement.target = FollowLinks(PathOf(name));
    RemoveLeftoversOnce(replacement.target.parent_path());
    replacement.temporary = TemporaryBeside(replacement.target);
    return Open(replacement);
}

std::error_code FinishReplacement(Replacement &replacement)
{
    errno = 0;
    const bool whole = fflush(replacement.file) == 0 && !ferror(replacement.file) && ReachesDisk(replacement.file);
    std::error_code failure = whole ? std::error_code() : Fault(errno);
    if (!failure) {
        const std::lock_guard hold(lock);
        if (CLOSED_FIRST) Close(replacement);
        fs::rename(replacement.temporary, replacement.target, failure);
        if (!failure) {
            TakeOffList(replacement);
            Close(replacement);
            replacement.temporary.clear();
        }
    }
    DropReplacement(replacement);
    return failure;
}
