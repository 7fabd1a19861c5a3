#include "host/library/errors.h"

#include <atomic>
#include <stdio.h>
#include <stdlib.h>

static constexpr size_t LONGEST_LINE = 1000;   // bytes; a longer one is cut

// Plain memory, so that a thread's end has nothing to do.
static thread_local char ownLine[LONGEST_LINE + 1];
static thread_local vlm_code ownCode = VLM_OK;
static thread_local int callsDeep;

static std::atomic<int> within{0};
static std::atomic<bool> refusing{false};

//---- The error

// A file's name may hold anything; a line stays a line.
vlm_code Fail(vlm_code code, const std::string &line)
{
    size_t length = 0;
    for (const char c : line) {
        if (length == LONGEST_LINE) break;
        const bool control = static_cast<unsigned char>(c) < ' ' || c == 127;
        ownLine[length++] = !control ? c : c == '\n' ? ' ' : '?';
    }
    ownLine[length] = 0;
    return ownCode = code;
}

vlm_code Fail(vlm_code code, const std::string &subject, const std::string &text)
{
    return Fail(code, (subject.empty() ? "''" : subject) + ": " + text);
}

vlm_code FailArgument(const char *what)
{
    return Fail(VLM_BAD_ARGUMENT, std::string(what) + " is missing or makes no sense");
}

const char *vlm_error_line(void) { return ownLine; }
vlm_code vlm_error_code(void) { return ownCode; }

//---- Notices

static std::vector<std::string> &OwnNotices()
{
    static thread_local std::vector<std::string> notices;
    return notices;
}

void SetNotices(std::vector<std::string> notices) { OwnNotices() = std::move(notices); }

int vlm_notice_count(void) { return int(OwnNotices().size()); }

const char *vlm_notice(int index)
{
    const std::vector<std::string> &notices = OwnNotices();
    return index >= 0 && size_t(index) < notices.size() ? notices[size_t(index)].c_str() : nullptr;
}

//---- Calls

bool EnterCall()
{
    if (refusing) {
        Fail(VLM_FORKED, "the process was forked while another of its threads was using the effects");
        return false;
    }
    if (callsDeep++ == 0) ++within;
    return true;
}

void LeaveCall()
{
    if (--callsDeep == 0) --within;
}

int ThreadsWithinCalls() { return within; }
void RefuseCalls() { refusing = true; }
bool WithinCall() { return callsDeep > 0; }

//---- The library itself

void vlm_free(void *memory) { free(memory); }

int vlm_version(void) { return VLM_VERSION; }
const char *vlm_version_text(void) { return VELMORANT_VERSION; }
