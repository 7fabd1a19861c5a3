// What the door tells of a call: the calling thread's error and notices, and the frame that every call of it stands in,
// through which no exception leaves, and in which no picture that finds no memory ends the program. It knows nothing else of
// effects and pictures.

#pragma once

#include "host/library/velmorant.h"

#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// Notes the error of this thread and returns its code. What might break the line is replaced. A line that is there
// already needs no memory.
vlm_code Fail(vlm_code code, std::string_view line);
vlm_code Fail(vlm_code code, const std::string &subject, const std::string &text);
vlm_code FailMemory();
vlm_code FailArgument(const char *what);   // "`what` is missing or makes no sense"

// Replaces this thread's notices by copies, each of which stays a line.
void SetNotices(const std::vector<std::string> &notices);

// Counts the threads that are within a call, for the fork that would leave one behind. False, with the error noted,
// where the process is such a fork's child.
bool EnterCall();
void LeaveCall();
int ThreadsWithinCalls();
// The child of a fork in which another thread was within a call: nothing can be relied on.
void RefuseCalls();
// True while the thread is within a call: it may leave by std::bad_alloc when memory has run out.
bool WithinCall();

// Runs a call's work, which answers a vlm_code.
template <typename Work> vlm_code Guarded(Work work) noexcept
{
    if (!EnterCall()) return VLM_FORKED;
    vlm_code code = VLM_FAILED;
    try {
        code = work();
    } catch (const std::bad_alloc &) {
        code = FailMemory();
    } catch (const std::length_error &) {   // more than any memory holds
        code = FailMemory();
    } catch (const std::exception &failure) {
        code = Fail(VLM_FAILED, failure.what());
    } catch (...) {
        code = Fail(VLM_FAILED, "something unforeseen happened");
    }
    LeaveCall();
    return code;
}
