// How calls of the library begin and end: exceptions by code, the interpreter's lock, one thread a picture, and the end
// of the interpreter while other threads are still in a call.

#include "doors/python/native/calls.h"

#include <chrono>
#include <set>
#include <thread>

//---- Errors

static PyObject *abortedError;
static PyObject *forkedError;
static PyObject *noThreadError;

static PyObject *ExceptionOf(vlm_code code)
{
    switch (code) {
    case VLM_BAD_FILE:
    case VLM_CANNOT_READ:
    case VLM_CANNOT_WRITE: return PyExc_OSError;
    case VLM_NO_MEMORY: return PyExc_MemoryError;
    case VLM_ABORTED: return abortedError;
    case VLM_FORKED: return forkedError;
    case VLM_NO_THREAD: return noThreadError;
    case VLM_NO_MODULE:
    case VLM_FAILED: return PyExc_RuntimeError;
    default: return PyExc_ValueError;
    }
}

void ThrowFailure(vlm_code code) { throw Failure{code, vlm_error_line()}; }

const char *Text(const std::string &text)
{
    if (text.find('\0') != std::string::npos) throw py::value_error("a text holds a zero byte");
    return text.c_str();
}

NativeSteps Own(vlm_steps *steps)
{
    if (!steps) ThrowFailure(vlm_error_code());
    return {StepsPointer(steps)};
}

std::string Taken(char *text)
{
    const std::unique_ptr<char, void (*)(void *)> owner(text, vlm_free);
    if (!text) ThrowFailure(vlm_error_code());
    return text;
}

py::list Notices()
{
    py::list lines;
    for (int i = 0; i < vlm_notice_count(); ++i) lines.append(py::str(vlm_notice(i)));
    return lines;
}

//---- The interpreter's lock

static int callsUnderWay;   // both under the interpreter's lock
static bool ending;
static std::set<vlm_run *> runs;

Unlocked::Unlocked()
{
    if (ending) throw std::runtime_error("the interpreter is about to end");
    ++callsUnderWay;
    released.emplace();
}

Unlocked::~Unlocked()
{
    released.reset();
    --callsUnderWay;
}

KnownRun::KnownRun(vlm_run *given) : run(given) { runs.insert(run); }
KnownRun::~KnownRun() { runs.erase(run); }

// Called when the interpreter is about to end: threads that nobody waits for are brought back from their calls, since
// one that asked for the lock afterwards would end the process with an error.
static void EndCalls()
{
    ending = true;
    for (vlm_run *run : runs) vlm_run_cancel(run);
    const py::gil_scoped_release others;
    for (;;) {
        {
            const py::gil_scoped_acquire lock;
            if (callsUnderWay == 0) return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

// The parent's other threads are not there in the child.
static void ForgetParent()
{
    callsUnderWay = 0;
    runs.clear();
}

//---- One thread a picture

InUse::InUse(NativePicture &given) : picture(given)
{
    while (picture.busy) {
        if (picture.process != getpid()) {
            throw Failure{VLM_FORKED, "another thread was at work on this picture when the process was forked"};
        }
        if (PyErr_CheckSignals()) throw py::error_already_set();
        const Unlocked others;
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    picture.busy = true;
    picture.process = getpid();
}

void DefineErrors(py::module_ &module)
{
    abortedError = PyErr_NewExceptionWithDoc(
        "velmorant.Aborted", "A progress callable answered False; nothing was changed.", PyExc_RuntimeError, nullptr);
    forkedError =
        PyErr_NewExceptionWithDoc("velmorant.Forked", "Another thread was within a call when this process was forked.",
                                  PyExc_RuntimeError, nullptr);
    noThreadError = PyErr_NewExceptionWithDoc(
        "velmorant.NoThread", "The system refuses a thread for now; nothing was changed.", PyExc_RuntimeError, nullptr);
    module.add_object("Aborted", abortedError);
    module.add_object("Forked", forkedError);
    module.add_object("NoThread", noThreadError);
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            if (thrown) std::rethrow_exception(thrown);
        } catch (const Failure &failure) {
            // File names need not be UTF-8.
            PyObject *line =
                PyUnicode_DecodeUTF8(failure.line.data(), Py_ssize_t(failure.line.size()), "surrogateescape");
            PyErr_SetObject(ExceptionOf(failure.code), line);
            Py_XDECREF(line);
        }
    });
    module.def("end_calls", EndCalls);
    module.def("forget_parent", ForgetParent);
}
