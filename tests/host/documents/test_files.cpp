// Files for the tests of formats: written, read as pictures and compared as bytes, in a folder that goes with the
// process.

#include "tests/host/documents/test_files.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#ifndef _WIN32
#include <unistd.h>
#endif

namespace fs = std::filesystem;

struct TestFolder {
    fs::path path;
    TestFolder() : path(fs::temp_directory_path() / ("picture files " + std::to_string(std::random_device()())))
    {
        fs::create_directories(path);
    }
    ~TestFolder()
    {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
};

static const fs::path &Folder()
{
    static const TestFolder folder;
    return folder.path;
}

std::string NameInFolder(const std::string &name) { return (Folder() / name).string(); }

void PutFile(const std::string &name, const Bytes &bytes)
{
    std::ofstream file(name, std::ios::binary);
    file.write(reinterpret_cast<const char *>(bytes.data()), std::streamsize(bytes.size()));
}

Bytes FileBytes(const std::string &name)
{
    std::ifstream file(name, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

std::vector<std::string> NamesInFolder()
{
    std::vector<std::string> names;
    for (const auto &entry : fs::directory_iterator(Folder())) names.push_back(entry.path().filename().string());
    return names;
}

void EmptyFolder()
{
    for (const std::string &name : NamesInFolder()) fs::remove(NameInFolder(name));
}

ReadResult ReadFile(const std::string &name)
{
    ReadResult result;
    result.done = ReadPicture(name, result.picture, result.format, result.notices, result.error);
    return result;
}

ReadResult ReadBytes(const Bytes &bytes)
{
    const std::string name = NameInFolder("bytes");
    PutFile(name, bytes);
    ReadResult result = ReadFile(name);
    fs::remove(name);
    return result;
}

#ifndef _WIN32

extern "C" int __llvm_profile_write_file(void) __attribute__((weak));   // where clang counts

void EndChild(int exitCode)
{
    if (__llvm_profile_write_file) __llvm_profile_write_file();
    _exit(exitCode);
}

#endif

#ifdef __linux__

ReadResult ReadPiped(const Bytes &bytes)
{
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    EXPECT_EQ(write(ends[1], bytes.data(), bytes.size()), ssize_t(bytes.size()));
    close(ends[1]);
    ReadResult result = ReadFile("/dev/fd/" + std::to_string(ends[0]));
    close(ends[0]);
    return result;
}

void ExpectPipesToBreakOff(const Bytes &file)
{
    const ReadResult whole = ReadPiped(file), same = ReadBytes(file);
    ASSERT_TRUE(whole.done) << whole.error;
    EXPECT_TRUE(SameBytes(whole.picture, same.picture));
    for (size_t length = 0; length < file.size() && !testing::Test::HasFailure(); ++length) {
        const ReadResult result = ReadPiped(Bytes(file.begin(), file.begin() + ptrdiff_t(length)));
        SCOPED_TRACE(std::to_string(length) + " of " + std::to_string(file.size()) + " bytes");
        if (result.done) {
            EXPECT_TRUE(SameBytes(result.picture, whole.picture));
            continue;
        }
        EXPECT_FALSE(result.error.empty());
        EXPECT_EQ(result.error.find('\n'), std::string::npos) << result.error;
    }
}

#endif

WriteResult WriteFile(const std::string &name, const Picture &picture, int quality)
{
    WriteResult result;
    SaveOptions options;
    options.quality = quality;
    result.done = WritePicture(name, picture, FormatOfName(name), options, result.notices, result.error);
    return result;
}

Bytes BytesOf(const Picture &picture, const std::string &ending)
{
    const std::string name = NameInFolder("written." + ending);
    const WriteResult written = WriteFile(name, picture);
    EXPECT_TRUE(written.done) << written.error;
    const Bytes bytes = FileBytes(name);
    fs::remove(name);
    return bytes;
}

ReadResult ThereAndBack(const Picture &picture, const std::string &ending)
{
    ReadResult result = ReadBytes(BytesOf(picture, ending));
    EXPECT_TRUE(result.done) << ending << ": " << result.error;
    return result;
}

void Add16(Bytes &bytes, uint32_t value)
{
    bytes.push_back(uint8_t(value));
    bytes.push_back(uint8_t(value >> 8));
}

void Add32(Bytes &bytes, uint32_t value)
{
    Add16(bytes, value);
    Add16(bytes, value >> 16);
}

void AddText(Bytes &bytes, const std::string &text) { bytes.insert(bytes.end(), text.begin(), text.end()); }
