// Keeps the calling thread's error and notices, in plain memory that no thread's end has to clear up, and counts the
// calls under way which a fork must know of. What went wrong in a call is the caller's to say; the one error told
// from here is that of calls after such a fork.

#include "host/library/errors.h"

#include "host/documents/picture.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <stdlib.h>

static constexpr size_t LONGEST_LINE = 1000;   // bytes; a longer one is cut

// Plain memory, so that a thread's end has nothing to do: on Windows what belongs to a thread may be gone before its
// destructors run.
static thread_local char ownLine[LONGEST_LINE + 1];
static thread_local vlm_code ownCode = VLM_OK;
static thread_local int callsDeep;

static std::atomic<int> within{0};
static std::atomic<bool> refusing{false};

//---- The error

// A file's name may hold anything, and an effect's message several lines; a line stays a line.
static char InLine(char c)
{
    const bool control = static_cast<unsigned char>(c) < ' ' || c == 127;
    return !control ? c : c == '\n' ? ' ' : '?';
}

vlm_code Fail(vlm_code code, std::string_view line)
{
    size_t length = 0;
    for (const char c : line) {
        if (length == LONGEST_LINE) break;
        ownLine[length++] = InLine(c);
    }
    ownLine[length] = 0;
    return ownCode = code;
}

vlm_code Fail(vlm_code code, const std::string &subject, const std::string &text)
{
    return Fail(code, (subject.empty() ? "''" : subject) + ": " + text);
}

vlm_code FailMemory() { return Fail(VLM_NO_MEMORY, "there is not enough memory"); }

vlm_code FailArgument(const char *what)
{
    return Fail(VLM_BAD_ARGUMENT, std::string(what) + " is missing or makes no sense");
}

const char *vlm_error_line(void) { return ownLine; }
vlm_code vlm_error_code(void) { return ownCode; }

//---- Notices

// One after the other, each ended by a zero byte; what there is no room for is left out.
static thread_local char noticeTexts[8000];
static thread_local int noticeStarts[64], noticeCount;

void SetNotices(const std::vector<std::string> &notices)
{
    noticeCount = 0;
    size_t used = 0;
    for (const std::string &notice : notices) {
        const bool fits = used + notice.size() < sizeof noticeTexts && noticeCount < int(std::size(noticeStarts));
        if (!fits) return;
        std::transform(notice.begin(), notice.end(), noticeTexts + used, InLine);
        noticeTexts[used + notice.size()] = 0;
        noticeStarts[noticeCount++] = int(used);
        used += notice.size() + 1;
    }
}

int vlm_notice_count(void) { return noticeCount; }

const char *vlm_notice(int index)
{
    return index >= 0 && index < noticeCount ? noticeTexts + noticeStarts[index] : nullptr;
}

//---- Calls

bool EnterCall()
{
    if (refusing) {
        Fail(VLM_FORKED, "the process was forked while another of its threads was using the effects");
        return false;
    }
    LetPicturesBeRefused();   // also before the library's thread has begun, and after its end
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
