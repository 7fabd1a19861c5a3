// The heads of ELF and PE files, as far as they tell the processor that a library is for.

#include "host/check/library_file.h"

#include "host/paths/paths.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <vector>

static uint32_t NumberAt(const std::vector<uint8_t> &bytes, size_t place, int size)
{
    uint32_t number = 0;
    for (int i = size; i-- > 0;)
        number = number << 8 | (place + size_t(i) < bytes.size() ? bytes[place + size_t(i)] : 0);
    return number;
}

static std::vector<uint8_t> HeadOf(const std::string &file, bool &there)
{
    std::vector<uint8_t> head(4096);
    std::ifstream stream(PathOf(file), std::ios::binary);
    there = stream.is_open();
    stream.read(reinterpret_cast<char *>(head.data()), std::streamsize(head.size()));
    head.resize(size_t(stream.gcount()));
    return head;
}

#ifdef _WIN32

bool KindOfLibrary(const std::string &file, LibraryKind &kind, std::string &error)
{
    bool there;
    const std::vector<uint8_t> head = HeadOf(file, there);
    error = there ? "is no library of Windows" : "no such file";
    const uint32_t place = NumberAt(head, 0x3C, 4);
    if (NumberAt(head, 0, 2) != 0x5A4D || NumberAt(head, place, 4) != 0x4550) return false;
    const uint32_t machine = NumberAt(head, place + 4, 2), own = sizeof(void *) == 8 ? 0x8664 : 0x14C;
    kind = machine == own     ? LibraryKind::OF_THIS_SYSTEM
           : machine == 0x14C ? LibraryKind::OF_32_BITS
                              : LibraryKind::OTHER;
    if (kind == LibraryKind::OTHER) error = "is a library for another processor";
    return kind != LibraryKind::OTHER;
}

#else

bool KindOfLibrary(const std::string &file, LibraryKind &kind, std::string &error)
{
    bool there, ownThere;
    std::error_code failure;
    kind = LibraryKind::OTHER;
    if (std::filesystem::is_directory(PathOf(file), failure)) return error = "is a folder", false;
    if (!std::filesystem::exists(PathOf(file), failure)) return error = "no such file", false;
    // To open a pipe would be to wait for who writes to it.
    if (!std::filesystem::is_regular_file(PathOf(file), failure)) return error = "is no library", false;
    const std::vector<uint8_t> head = HeadOf(file, there), own = HeadOf("/proc/self/exe", ownThere);
    if (!there) return error = "cannot be read", false;
    if (head.empty()) return error = "is empty", false;
    if (NumberAt(head, 0, 2) == 0x5A4D) return error = "is a library of Windows: velmorant.exe checks it", false;
    if (NumberAt(head, 0, 4) != 0x464C457F) return error = "is no library", false;
    if (head[4] != own[4] || NumberAt(head, 18, 2) != NumberAt(own, 18, 2))
        return error = "is a library for another processor", false;
    if (NumberAt(head, 16, 2) != 3) return error = "is no shared library", false;
    kind = LibraryKind::OF_THIS_SYSTEM;
    return true;
}

#endif
