// The report of the child process, and its last words: a handler of crashes and a thread that looks whether it still goes
// on write into the same file. Each system's own way of learning of a crash stands at the end.

#include "host/check/child.h"

#include "host/paths/paths.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <thread>

#ifdef _WIN32
#include <io.h>
#include <windows.h>
#else
#include <unistd.h>
#endif

static std::recursive_mutex guard;
static int report = -1;
static std::atomic<int> heartbeat{0};
static std::atomic<const char *> lastCall{nullptr};
static std::atomic<Rule> crashRule{Rule::CRASH}, hangRule{Rule::HANG};
static std::atomic<FaultExplainer> explainer{nullptr};

static struct {
    int level = 0;
    std::string name, effect, doing;
    std::map<Rule, Finding> found;
    int count = 0;
} current;

static void Write(const std::string &line)
{
    const std::string whole = line + "\n";
    for (size_t written = 0; written < whole.size();) {
        const auto count = write(report, whole.data() + written, unsigned(whole.size() - written));
        if (count <= 0) return;
        written += size_t(count);
    }
}

static Finding MakeFinding(Rule rule, const std::string &happened)
{
    const Contract &contract = ContractOf(rule);
    return {current.level,     current.name,  current.effect,
            contract.call,     current.doing, contract.sentence,
            PlaceOf(contract), happened,      0};
}

//---- Checks

void BeginCheck(int level, const std::string &name, const std::string &effect)
{
    const std::lock_guard hold(guard);
    current = {level, name, effect, "", {}, 0};
    lastCall = nullptr;
    ++heartbeat;
    Write(BEGIN_LINE + name);
}

static void WriteFindings()
{
    for (const auto &[rule, finding] : current.found) Write(FINDING_LINE + JsonOf(finding));
    current.found.clear();
}

void EndCheck()
{
    const std::lock_guard hold(guard);
    WriteFindings();
    Write(END_LINE + current.name);
    ++heartbeat;
}

void EndReporting()
{
    const std::lock_guard hold(guard);
    Write(DONE_LINE);
}

void Doing(const std::string &what)
{
    const std::lock_guard hold(guard);
    current.doing = what;
    ++heartbeat;
}

const std::string &BeingDone() { return current.doing; }

void Found(Rule rule, const std::string &happened)
{
    const std::lock_guard hold(guard);
    ++current.count;
    const auto known = current.found.find(rule);
    if (known != current.found.end()) ++known->second.again;
    else current.found.emplace(rule, MakeFinding(rule, happened));
}

bool Expect(bool holds, Rule rule, const std::string &happened)
{
    if (!holds) Found(rule, happened);
    return holds;
}

int FindingsOfCheck()
{
    const std::lock_guard hold(guard);
    return current.count;
}

void Note(const std::string &text)
{
    const std::lock_guard hold(guard);
    Write(NOTE_LINE + text);
}

void NameEffect(const std::string &word)
{
    const std::lock_guard hold(guard);
    Write(EFFECT_LINE + word);
}

void NoteCall(const char *call)
{
    lastCall.store(call, std::memory_order_relaxed);
    heartbeat.fetch_add(1, std::memory_order_relaxed);
}

void Blame(Rule crash, Rule hang)
{
    crashRule = crash;
    hangRule = hang;
}

void ExplainFaults(FaultExplainer routine) { explainer = routine; }

void Try(const std::string &service)
{
    const std::lock_guard hold(guard);
    Write(TRY_LINE + service);
}

//---- Last words

static std::string AfterLastCall()
{
    const char *call = lastCall;
    return call ? std::string("; the last call of the host was ") + call : "";
}

// Whoever comes second waits for the end that the first one brings.
static void TellOnce()
{
    static std::atomic<bool> told{false};
    if (told.exchange(true)) std::this_thread::sleep_for(std::chrono::hours(1));
}

void EndOfModule(Rule rule, const std::string &happened)
{
    TellOnce();
    // The thread that the fault came from may hold the lock; then what it was doing is read as it stands.
    const bool held = guard.try_lock();
    Write(FATAL_LINE + JsonOf(MakeFinding(rule, happened + AfterLastCall())));
    if (held) WriteFindings();
#ifdef _WIN32
    TerminateProcess(GetCurrentProcess(),
                     3);   // an orderly end would wait for the lock of a library that is being loaded
#endif
    std::_Exit(3);
}

static void OnTerminate()
{
    std::string what = "an exception left the module";
    try {
        if (const std::exception_ptr failure = std::current_exception()) std::rethrow_exception(failure);
        what = "a thread was left without an end";
    } catch (const std::exception &failure) {
        what += std::string(": ") + failure.what();
    } catch (...) {
    }
    EndOfModule(crashRule, what);
}

int Patience()
{
    const char *given = getenv("VELMORANT_CHECK_PATIENCE");
    const int seconds = given ? atoi(given) : 0;
    return seconds > 0 ? seconds : 60;
}

static void Watch(int patience)
{
    int seen = heartbeat, still = 0;
    for (;;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
        const int beats = heartbeat;
        still = beats == seen ? still + 1 : 0;
        seen = beats;
        if (still < 4 * patience) continue;
        EndOfModule(hangRule, "nothing has happened for " + std::to_string(patience) + " seconds");
    }
}

// Where a fault lies in memory that is watched, that tells more than its address.
[[noreturn]] static void EndOfFault(const std::string &fault, const void *address)
{
    const FaultExplainer explain = explainer;
    Rule rule = crashRule;
    std::string happened;
    if (!address || !explain || !explain(address, rule, happened)) EndOfModule(crashRule, fault);
    EndOfModule(rule, happened);
}

#ifdef _WIN32

static LONG WINAPI OnFault(EXCEPTION_POINTERS *fault)
{
    const EXCEPTION_RECORD &record = *fault->ExceptionRecord;
    const bool access = record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION && record.NumberParameters > 1;
    char text[80];
    snprintf(text, sizeof text, "the process ended with exception 0x%08lX", (unsigned long)record.ExceptionCode);
    EndOfFault(text, access ? reinterpret_cast<const void *>(record.ExceptionInformation[1]) : nullptr);
}

// Slots for what threads have of their own: a C++ library within a DLL takes one, seldom gives it back as the DLL goes, and
// calls abort when it gets none.
static void OnAbort(int)
{
    const bool noSlot = TlsAlloc() == TLS_OUT_OF_INDEXES;
    EndOfModule(crashRule, noSlot ? "the module called abort, and no slot is left for TlsAlloc: each time that it is "
                                    "loaded it takes one, which it has to give back by TlsFree as it goes"
                                  : "the module called abort");
}

static void WatchFaults()
{
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);   // nobody sees a box of its
    SetUnhandledExceptionFilter(OnFault);
    signal(SIGABRT, OnAbort);
}

static int OpenReport(const std::string &file)
{
    return _wopen(PathOf(file).c_str(), _O_WRONLY | _O_CREAT | _O_APPEND | _O_BINARY, 0666);
}

#else

static void OnSignal(int signal, siginfo_t *info, void *)
{
    const bool access = signal == SIGSEGV || signal == SIGBUS;
    EndOfFault(std::string("the process ended with signal ") + std::to_string(signal) + " (" + strsignal(signal) + ")",
               access ? info->si_addr : nullptr);
}

// A thread that has used up its stack has none left for the handler.
static void UseOtherStack()
{
    static char memory[1 << 16];
    stack_t stack = {};
    stack.ss_sp = memory;
    stack.ss_size = sizeof memory;
    sigaltstack(&stack, nullptr);
}

static void WatchFaults()
{
    UseOtherStack();
    struct sigaction action = {};
    action.sa_sigaction = OnSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) sigaction(signal, &action, nullptr);
}

static int OpenReport(const std::string &file)
{
    return open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
}

#endif

bool StartReporting(const std::string &reportFile)
{
    report = OpenReport(reportFile);
    if (report < 0) return false;
    std::set_terminate(OnTerminate);
    WatchFaults();
    std::thread(Watch, Patience()).detach();
    return true;
}
