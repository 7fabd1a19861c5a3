#include "host/check/threads_of_process.h"

#include <chrono>
#include <thread>

#ifdef _WIN32

#include <windows.h>

#include <tlhelp32.h>

int ThreadsOfProcess()
{
    const HANDLE shot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    int count = 0;
    for (BOOL more = Thread32First(shot, &entry); more; more = Thread32Next(shot, &entry))
        count += entry.th32OwnerProcessID == GetCurrentProcessId();
    CloseHandle(shot);
    return count;
}

#else

#include <filesystem>
#include <iterator>

int ThreadsOfProcess()
{
    std::error_code failure;
    const std::filesystem::directory_iterator tasks("/proc/self/task", failure);
    return failure ? 0 : int(std::distance(begin(tasks), end(tasks)));
}

#endif

bool AtMostThreads(int threads)
{
    for (int tries = 0; tries < 500; ++tries) {
        if (ThreadsOfProcess() <= threads) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}
