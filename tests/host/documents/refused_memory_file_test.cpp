// Picture files where memory is refused: each allocation of a reader and a writer in turn, their libraries' among them,
// once and from then on. The picture is right, or a line says that it is not there and nothing has changed.

#include "host/api/host_api.h"
#include "tests/host/documents/refused_memory.h"
#include "tests/host/documents/sample_documents.h"
#include "tests/host/documents/test_files.h"

#include <csignal>
#include <exception>
#include <functional>
#include <new>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

// What became of one try.
struct Tried {
    bool done = false, escaped = false;   // done is with its result
    long allocations = 0;
    std::string error;
};

// The program would end where a picture's planes get no memory; one that must not end is left with an error.
struct RefusedMemoryFile : testing::Test {
    void SetUp() override
    {
        HostLetRunsBeLeft(TRUE);
        LetPicturesBeRefused();
    }
    void TearDown() override
    {
        HostLetRunsBeLeft(FALSE);
        EmptyFolder();
    }
};

}   // namespace

static Tried Try(long at, bool all, const std::function<bool(std::string &error)> &work)
{
    Tried tried;
    RefuseMemory(at, all);
    try {
        tried.done = work(tried.error);
    } catch (const std::bad_alloc &) {
        tried.escaped = true;
    }
    tried.allocations = GrantMemory();
    return tried;
}

typedef std::function<bool(std::string &error)> Work;
typedef std::function<void(const Tried &tried)> Settle;

static void TryAndSettle(long at, bool all, const Work &work, const Settle &settle)
{
    const Tried tried = Try(at, all, work);
    EXPECT_TRUE(tried.done || tried.escaped || !tried.error.empty());
    EXPECT_EQ(tried.error.find('\n'), std::string::npos) << tried.error;
    settle(tried);
}

// In a process of its own. A crash is none of ours: libwebp 1.2 frees what it never had where it gets no memory for its
// tables while it unpacks, and libtiff 4.5 looks at what it has not got where it reads a directory.
static void TryApart(long at, bool all, const Work &work, const Settle &settle)
{
    const pid_t child = fork();
    if (child == 0) {
        std::set_terminate([] { _exit(2); });   // ours, which is no crash of theirs
        TryAndSettle(at, all, work, settle);
        EndChild(testing::Test::HasFailure());
    }
    int state = 0;
    waitpid(child, &state, 0);
    const bool crashed = WIFSIGNALED(state) && (WTERMSIG(state) == SIGSEGV || WTERMSIG(state) == SIGABRT);
    EXPECT_TRUE(crashed || (WIFEXITED(state) && WEXITSTATUS(state) == 0)) << state;
}

// `settle` looks at what is there after each try and clears it away. `mayFall`: in its library.
static void RefuseEach(const std::string &what, bool mayFall, const Work &work, const Settle &settle)
{
    SCOPED_TRACE(what);
    const Tried whole = Try(0, false, work);
    ASSERT_TRUE(whole.done) << whole.error;
    settle(whole);
    EXPECT_GT(whole.allocations, 0);
    for (long at = 1; at <= whole.allocations && !testing::Test::HasFailure(); ++at) {
        for (const bool all : {false, true}) {
            SCOPED_TRACE("allocation " + std::to_string(at) + " of " + std::to_string(whole.allocations) +
                         (all ? " and all behind it" : ""));
            (mayFall ? TryApart : TryAndSettle)(at, all, work, settle);
        }
    }
}

static bool IsWebP(const Document &document) { return FormatOfName(document.name) == FileFormat::WEBP; }

static SaveOptions OptionsOf(const Document &document)
{
    SaveOptions options;
    options.further = &document.further;
    options.note = document.note;
    options.quality = document.quality;
    return options;
}

// Every writer, into memory: a disk would be waited for.
TEST_F(RefusedMemoryFile, AWriterMakesTheWholeFileOrNone)
{
    for (const Document &document : SampleDocuments()) {
        const SaveOptions options = OptionsOf(document);
        Bytes bytes, whole;
        RefuseEach(
            document.what, IsWebP(document),
            [&](std::string &error) {
                Notices notices;
                return WritePictureBytes(document.name, document.picture, FormatOfName(document.name), options, bytes,
                                         notices, error);
            },
            [&](const Tried &tried) {
                if (whole.empty()) whole = bytes;
                EXPECT_EQ(bytes, tried.done ? whole : Bytes()) << tried.error;
                bytes.clear();
            });
    }
}

TEST_F(RefusedMemoryFile, AFileIsTheNewOneOrTheOldOne)
{
    const std::vector<Document> documents = SampleDocuments();
    const Document &document = documents[0];
    const std::string name = NameInFolder(document.name);
    const Bytes old = {1, 2, 3};
    Bytes whole;
    PutFile(name, old);
    RefuseEach(
        document.what, false,
        [&](std::string &error) {
            Notices notices;
            return WritePicture(name, document.picture, FormatOfName(name), OptionsOf(document), notices, error);
        },
        [&](const Tried &tried) {
            const Bytes bytes = FileBytes(name);
            if (whole.empty()) whole = bytes;
            EXPECT_EQ(bytes, tried.done ? whole : old) << tried.error;
            EXPECT_EQ(NamesInFolder(), std::vector<std::string>{document.name});
            PutFile(name, old);
        });
}

TEST_F(RefusedMemoryFile, AReaderHasThePictureOrNone)
{
    for (const Document &document : SampleDocuments()) {
        const std::string name = NameInFolder(document.name);
        Notices notices;
        std::string error;
        ASSERT_TRUE(WritePicture(name, document.picture, FormatOfName(name), OptionsOf(document), notices, error))
            << error;
        Picture picture, whole;
        RefuseEach(
            document.what, IsWebP(document) || FormatOfName(document.name) == FileFormat::TIFF,
            [&](std::string &line) {
                FileFormat format;
                Notices told;
                std::vector<Picture> further;
                return ReadPicture(name, picture, format, told, line, {.further = &further});
            },
            [&](const Tried &tried) {
                if (!whole.pixels) whole = std::move(picture);
                else if (tried.done) EXPECT_TRUE(SameBytes(picture, whole));
                else EXPECT_FALSE(picture.pixels);
                picture = {};
            });
    }
}
